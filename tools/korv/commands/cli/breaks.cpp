#include "tools/korv/commands/cli/breaks.h"

#include "tools/korv/base/errors.h"
#include "tools/korv/base/text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ostream.h>

#include <vector>

namespace korv {

void AddBreakOption(CLI::App& command, std::string& name, const std::string& about) {
    command
        .add_option("--break", name, about + ", to see that others notice; 'list' tells the ways")
        ->type_name("NAME");
}

board::Break BreakByName(const std::string& name) {
    if (name.empty()) {
        return board::Break::None;
    }
    if (const board::BreakRow* row = board::FindBreak(name)) {
        return row->what;
    }
    std::vector<std::string> names;
    for (const board::BreakRow& row : board::Breaks()) {
        names.emplace_back(row.name);
    }
    throw UsageError(
        fmt::format("unknown break '{}': the nearest is '{}'", name, Nearest(name, names)));
}

void ListBreaks(Console& console) {
    for (const board::BreakRow& row : board::Breaks()) {
        fmt::print(console.out, "{:18} {}\n{:18} seen by: {}\n", row.name, row.about, "",
                   row.units);
    }
}

} // namespace korv
