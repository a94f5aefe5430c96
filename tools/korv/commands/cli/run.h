#pragma once
#include <ostream>

namespace korv {

// Runs the tool with the arguments of main: results go to `out`, complaints and progress to `err`.
// Returns the exit code: 0, 1 when a script's expectation did not hold, 2 for bad input, after
// one line on `err` for each complaint, or that of a command that was traced.
int Run(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

} // namespace korv
