#include "tools/korv/capture/trace_process.h"

#include "tools/korv/base/errors.h"

#include <fmt/format.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <iterator>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korv::trace {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

struct sigaction before[std::size(kSignals)];
volatile std::sig_atomic_t caught;

void Note(int signal) {
    caught = signal;
}

} // namespace

SignalWatch::SignalWatch() {
    caught = 0;
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        struct sigaction action {};
        action.sa_handler = Note; // and no SA_RESTART: waits end
        sigemptyset(&action.sa_mask);
        sigaction(kSignals[i], &action, &before[i]);
    }
}

SignalWatch::~SignalWatch() {
    Restore();
}

int SignalWatch::Caught() {
    return caught;
}

void SignalWatch::Restore() {
    for (size_t i = 0; i < std::size(kSignals); ++i) {
        sigaction(kSignals[i], &before[i], nullptr);
    }
}

ChildProcess::ChildProcess(const std::function<int()>& program) {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    // A parent that ignores it would leave no exit code behind.
    std::signal(SIGCHLD, SIG_DFL);
    pid_ = fork();
    if (pid_ < 0) {
        throw UserError(fmt::format("cannot start a process: {}", std::strerror(errno)));
    }
    if (pid_ == 0) {
        SignalWatch::Restore();
        int code = kExitBadInput;
        try {
            code = program();
        } catch (const std::exception& error) {
            std::cerr << "korv: " << error.what() << '\n';
        }
        std::cerr.flush();
        // Everything else that is to be cleaned up here is the parent's.
        _exit(code);
    }
}

ChildProcess::~ChildProcess() {
    // Time to remove its temporary files.
    constexpr int kTries = 100, kMilliseconds = 10;
    for (int i = 0; i < kTries && !Ended(); ++i) {
        if (i == 0) {
            kill(pid_, SIGTERM);
        }
        poll(nullptr, 0, kMilliseconds);
    }
    if (!Ended()) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

bool ChildProcess::Ended() {
    int status;
    if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_) {
        status_ = status;
    }
    return status_.has_value();
}

int ChildProcess::ExitCode() const {
    return WIFSIGNALED(*status_) ? 128 + WTERMSIG(*status_) : WEXITSTATUS(*status_);
}

int ChildProcess::Signal() const {
    return WIFSIGNALED(*status_) ? WTERMSIG(*status_) : 0;
}

} // namespace korv::trace
