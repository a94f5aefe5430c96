#pragma once
// What goes wrong on the user's side, and the exit codes of the tool.
#include <stdexcept>
#include <string>

namespace korv {

inline constexpr int kExitOk = 0;
inline constexpr int kExitUnexpected = 1;
inline constexpr int kExitBadInput = 2;

// A request that cannot be met as given: `what()` is one line for the user.
struct UserError : std::runtime_error {
    explicit UserError(const std::string& line) : std::runtime_error(line) {}
};

// A command line that cannot be taken as it is: the line that is told ends by naming the help.
struct UsageError : UserError {
    using UserError::UserError;
};

// A script's expectation that did not hold: `what()` is one line for each.
struct UnexpectedError : std::runtime_error {
    explicit UnexpectedError(const std::string& lines) : std::runtime_error(lines) {}
};

// As shells tell of a command that SIGPIPE has ended: whoever read its output has what it wants.
inline constexpr int kExitReaderLeft = 128 + 13;

// Ends the tool with this exit code and no further word.
struct ExitStatus {
    int code;
};

} // namespace korv
