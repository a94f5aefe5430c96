#pragma once
// What goes wrong on the user's side, and the exit codes of the tool.
#include <stdexcept>
#include <string>

namespace korv {

inline constexpr int kExitOk = 0;
inline constexpr int kExitBadInput = 2;

// A request that cannot be met as given: `what()` is one line for the user.
struct UserError : std::runtime_error {
    explicit UserError(const std::string& line) : std::runtime_error(line) {}
};

} // namespace korv
