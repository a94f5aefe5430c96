#pragma once
// A program that has been started, and a socket that is its standard input and output.
#include <chrono>
#include <string>
#include <sys/types.h>

namespace remote {

class Program {
  public:
    // Runs `command`, a command line of the shell: a program and its arguments. Throws
    // std::system_error if the system can start nothing.
    explicit Program(const std::string& command);
    // A program that somebody else has started and ends: this is the other end of its socket, and
    // is closed in the end.
    explicit Program(int socket) : socket_(socket), ended_(true) {}
    // Ends it, if need be by force.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    int Socket() const { return socket_; }
    // Closes the socket and waits up to `time` for the program to end by itself.
    void Close(std::chrono::milliseconds time);
    // Ends it by force, unless it has ended, or does within `time`.
    void Stop(std::chrono::milliseconds time);
    // How it has ended: "it ended with exit code 3". It must have.
    std::string Ending() const;
    // Its exit code; -1 if a signal ended it. It must have ended.
    int ExitCode() const;

  private:
    bool Ended(std::chrono::milliseconds within);

    pid_t pid_ = -1;
    int socket_ = -1;
    bool ended_ = false, forced_ = false;
    int status_ = 0;
};

} // namespace remote
