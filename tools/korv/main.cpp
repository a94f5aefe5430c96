#include "tools/korv/base/errors.h"
#include "tools/korv/base/fd_buffer.h"
#include "tools/korv/base/output_file.h"
#include "tools/korv/commands/cli/run.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <unistd.h>

// Some rooms are compiled without optimisation, and a program has the code of each template's
// function once: from the file that the linker meets first, which is this one. Listings are made of
// strings.
template class std::basic_string<char>;

namespace {

// No file of ours may get the number of a standard stream that is closed: it would be written into.
// What stands there instead cannot be written.
void HoldStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1) {
            open("/dev/null", O_RDONLY);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    HoldStandardStreams();
    // A reader that leaves ends a command no earlier than any other error, so that temporary files
    // go away.
    std::signal(SIGPIPE, SIG_IGN);
    korv::FdBuffer buffer(STDOUT_FILENO);
    std::ostream out(&buffer);
    const int code = korv::Run(argc, argv, out, std::cerr);
    out.flush();
    if (buffer.Error() == EPIPE || code == korv::kExitReaderLeft) {
        // The reader has what it wants: end as whoever does not hold SIGPIPE off.
        std::signal(SIGPIPE, SIG_DFL);
        std::raise(SIGPIPE);
    }
    if (buffer.Error() == 0 || code != korv::kExitOk) {
        return code;
    }
    std::cerr << "korv: cannot write standard output: " << korv::ReasonOf(buffer.Error()) << '\n';
    return korv::kExitBadInput;
}
