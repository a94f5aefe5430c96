#pragma once
// Where a command writes to.
#include <ostream>
#include <string>

namespace korv {

struct Console {
    std::ostream& out; // results
    std::ostream& err; // complaints and progress

    // For a line that tells what was done: `out`, but `err` when standard output is an output file.
    std::ostream& Report();
};

// One line on `err`, control characters made visible.
void Warn(Console& console, const std::string& text);

// Tells of faults on the board, one line each; `where` says which board.
void WarnOfFaults(Console& console, const std::string& where, const std::string& faults);

} // namespace korv
