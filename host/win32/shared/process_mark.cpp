#include "host/win32/shared/process_mark.h"

#include <fcntl.h>
#include <sstream>
#include <string>
#include <unistd.h>

namespace host {

namespace {

struct Status {
    char state = 'X';
    uint64_t start = 0;
};

// The start of a short file; empty if there is none. A process may end between the two calls.
std::string ReadAtOnce(const std::string& path) {
    char buffer[1024];
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return {};
    }
    const ssize_t bytes = read(file, buffer, sizeof buffer);
    close(file);
    return {buffer, bytes > 0 ? static_cast<size_t>(bytes) : 0};
}

Status StatusOf(int32_t pid) {
    const std::string text = ReadAtOnce("/proc/" + std::to_string(pid) + "/stat");
    // The program's name comes second, in brackets, and may hold blanks and brackets itself.
    const size_t name = text.rfind(')');
    Status status;
    if (name == std::string::npos) {
        return status;
    }
    std::istringstream fields(text.substr(name + 1));
    fields >> status.state;
    constexpr int kBetween = 18; // fields from the state to the start
    std::string skipped;
    for (int i = 0; i < kBetween; ++i) {
        fields >> skipped;
    }
    fields >> status.start;
    return status;
}

} // namespace

ProcessMark ThisProcess() {
    const int32_t pid = getpid();
    return {pid, 0, StatusOf(pid).start};
}

bool IsRunning(const ProcessMark& process) {
    const Status status = StatusOf(process.pid);
    return status.state != 'X' && status.state != 'Z' && status.start == process.start;
}

} // namespace host
