#pragma once
// Boards that are wrong on purpose, as commands are told of them.
#include "board/breaks.h"
#include "tools/korv/commands/cli/console.h"

#include <string>

namespace CLI {
class App;
}

namespace korv {

// In a name's place: tell all of them.
inline constexpr const char* kListBreaks = "list";

// --break, told as `about` and that the list can be had; `name` keeps what it holds unless it is
// given.
void AddBreakOption(CLI::App& command, std::string& name, const std::string& about);

// None for no name. UsageError for an unknown one.
board::Break BreakByName(const std::string& name);

// All of them, one a line: name, units of the kit that see it, what is wrong.
void ListBreaks(Console& console);

} // namespace korv
