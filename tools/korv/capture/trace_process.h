#pragma once
// The process that is traced, and the signals that end a trace.
#include <functional>
#include <optional>
#include <sys/types.h>

namespace korv::trace {

// While it lives, SIGINT, SIGTERM, SIGHUP and SIGPIPE are noted instead of ending this process. One
// at a time.
class SignalWatch {
  public:
    SignalWatch();
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    // The signal that has come, or 0.
    static int Caught();
    // Back to what was before, for a forked process.
    static void Restore();
};

// A forked process that runs `program` and ends with its result. It is ended if it still runs when
// this object goes, and killed if it does not end within a second.
class ChildProcess {
  public:
    // UserError if there can be no more processes.
    explicit ChildProcess(const std::function<int()>& program);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool Ended();
    // Once ended: the exit code; with a signal 128 and its number, as shells have it.
    int ExitCode() const;
    // Once ended: the signal that ended it, or 0.
    int Signal() const;

  private:
    pid_t pid_;
    std::optional<int> status_;
};

} // namespace korv::trace
