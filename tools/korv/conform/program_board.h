#pragma once
// The board of another program under the kit, by the board protocol.
#include "tools/korv/conform/subject.h"

#include <chrono>
#include <memory>

namespace remote {
class Client;
}

namespace korv::conform {

class ProgramBoard final : public Subject {
  public:
    using Subject::Run;
    // `program` is a command line of the shell. An answer may take up to `timeout`, in real time.
    ProgramBoard(std::string program, std::chrono::milliseconds timeout);
    ~ProgramBoard() override;

    // Starts the program if it is not running: one that crashed, hung or sent nonsense in a case is
    // started anew for the next.
    Outcome Run(const Case& one, size_t steps) override;
    // What the program says that it lacks for a case, in a line; empty: nothing. Starts it, and
    // throws SubjectError if it does not start.
    std::string LackFor(const Case& one);
    // Who the program says it is.
    std::string Name();

  private:
    remote::Client& Running();
    Outcome Play(const Case& one, size_t steps);

    const std::string program_;
    const std::chrono::milliseconds timeout_;
    std::unique_ptr<remote::Client> client_;
};

} // namespace korv::conform
