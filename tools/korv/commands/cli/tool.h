#pragma once
#include "tools/korv/commands/cli/console.h"

#include <memory>

namespace CLI {
class App;
}

namespace korv {

// The command line of the tool with all its commands. `console` outlives it.
std::unique_ptr<CLI::App> MakeTool(Console& console);

} // namespace korv
