#include "tools/korv/base/crash_note.h"

#include "tools/korv/base/errors.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <unistd.h>

namespace korv {

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

std::string note;
struct sigaction before[std::size(kSignals)];

const char* KindOf(int signal) {
    switch (signal) {
    case SIGFPE:
        return "division by zero";
    case SIGILL:
        return "invalid instruction";
    default:
        return "access violation";
    }
}

// The program's state is not to be trusted any more: the line goes out in one plain call.
void OnCrash(int signal, siginfo_t* info, void*) {
    char line[1024];
    const int bytes = std::snprintf(line, sizeof line, "korv: %s: %s at %p\n", note.c_str(),
                                    KindOf(signal), info->si_addr);
    const size_t length = bytes < 0 ? 0 : std::min<size_t>(bytes, sizeof line - 1);
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line, length);
    _exit(kExitUnexpected);
}

} // namespace

CrashNote::CrashNote() {
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        struct sigaction action {};
        action.sa_sigaction = OnCrash;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        sigaction(kSignals[i], &action, &before[i]);
    }
}

CrashNote::~CrashNote() {
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        sigaction(kSignals[i], &before[i], nullptr);
    }
    note.clear();
}

const std::string& CrashNote::Text() {
    return note;
}

void CrashNote::Set(const std::string& text) {
    note = text;
}

} // namespace korv
