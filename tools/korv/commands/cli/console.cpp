#include "tools/korv/commands/cli/console.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <sstream>

namespace korv {

void WarnOfFaults(Console& console, const std::string& where, const std::string& faults) {
    std::istringstream lines(faults);
    for (std::string line; std::getline(lines, line);) {
        fmt::print(console.err, "korv: warning: {}: {}\n", where, line);
    }
}

} // namespace korv
