#pragma once
// Where a command writes to.
#include <ostream>
#include <string>

namespace korv {

struct Console {
    std::ostream& out; // results
    std::ostream& err; // complaints and progress
};

// Tells of faults on the board, one line each; `where` says which board.
void WarnOfFaults(Console& console, const std::string& where, const std::string& faults);

} // namespace korv
