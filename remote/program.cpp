#include "remote/program.h"

#include <fmt/format.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace remote {

namespace {

[[noreturn]] void CannotStart(int error) {
    throw std::system_error(error, std::generic_category(), "cannot start a program");
}

} // namespace

Program::Program(const std::string& command) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        CannotStart(errno);
    }
    socket_ = ends[0];
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, ends[1], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, ends[1], STDOUT_FILENO);
    // Signals are as a shell would hand them over.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t usual, none;
    sigemptyset(&none);
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setsigmask(&attributes, &none);
    // What it starts goes with it.
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK |
                                              POSIX_SPAWN_SETPGROUP);
    const std::string line = "exec " + command;
    const char* const arguments[] = {"sh", "-c", line.c_str(), nullptr};
    const int error = posix_spawn(&pid_, "/bin/sh", &files, &attributes,
                                  const_cast<char* const*>(arguments), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    close(ends[1]);
    if (error != 0) {
        close(socket_);
        CannotStart(error);
    }
}

Program::~Program() {
    Stop(std::chrono::milliseconds(0));
    if (socket_ >= 0) {
        close(socket_);
    }
}

bool Program::Ended(std::chrono::milliseconds within) {
    const auto start = std::chrono::steady_clock::now();
    while (!ended_) {
        const pid_t got = waitpid(pid_, &status_, WNOHANG);
        ended_ = got == pid_ || (got < 0 && errno == ECHILD);
        if (!ended_) {
            if (std::chrono::steady_clock::now() - start >= within) {
                return false;
            }
            poll(nullptr, 0, 1);
        }
    }
    return true;
}

void Program::Close(std::chrono::milliseconds time) {
    shutdown(socket_, SHUT_WR);
    Ended(time);
}

void Program::Stop(std::chrono::milliseconds time) {
    if (!Ended(time)) {
        forced_ = true;
        kill(-pid_, SIGKILL);
        while (waitpid(pid_, &status_, 0) < 0 && errno == EINTR) {
        }
        ended_ = true;
    }
}

std::string Program::Ending() const {
    if (forced_) {
        return "it was ended by force";
    }
    if (WIFSIGNALED(status_)) {
        const int signal = WTERMSIG(status_);
        return fmt::format("it was ended by signal {} ({})", signal, strsignal(signal));
    }
    return fmt::format("it ended with exit code {}", WEXITSTATUS(status_));
}

int Program::ExitCode() const {
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
}

} // namespace remote
