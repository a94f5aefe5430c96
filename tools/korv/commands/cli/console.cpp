#include "tools/korv/commands/cli/console.h"

#include "tools/korv/base/claims.h"
#include "tools/korv/base/text.h"

#include <fmt/format.h>
#include <fmt/ostream.h>

#include <sstream>

namespace korv {

std::ostream& Console::Report() {
    return StandardOutputTaken() ? err : out;
}

void Warn(Console& console, const std::string& text) {
    fmt::print(console.err, "korv: warning: {}\n", Printable(text));
}

void WarnOfFaults(Console& console, const std::string& where, const std::string& faults) {
    std::istringstream lines(faults);
    for (std::string line; std::getline(lines, line);) {
        Warn(console, where + ": " + line);
    }
}

} // namespace korv
