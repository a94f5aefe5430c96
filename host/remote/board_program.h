#pragma once
// A program in whose place a board of our own would stand.
#include <chrono>
#include <functional>
#include <string>

namespace host {

struct BoardProgram {
    std::string command; // a command line of the shell; empty: the board is our own
    bool maps = true;    // memories are shared with it, if it is able to
    std::chrono::milliseconds timeout{20'000}; // for each of its answers, in real time

    bool IsThere() const { return !command.empty(); }
};

// Told in one line that a board program has been lost while the driver or the host was using it.
// Called in the middle of the driver, in a signal handler too, so it must end the program.
using LostBoardHook = std::function<void(const std::string& line)>;

// No hook: the loss is thrown (remote::Error), which the driver cannot pass on.
void SetLostBoardHook(LostBoardHook hook);

} // namespace host
