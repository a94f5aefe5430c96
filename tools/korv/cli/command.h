#pragma once
// What the tool knows of each of its commands.
#include "tools/korv/cli/console.h"

namespace CLI {
class App;
}

namespace korv {

// What a command is about. Help lists them group by group, each group by name.
enum class CommandGroup {
    Draw,     // pictures of scenes and models
    Describe, // what a chip can do
    Make,     // models and images to draw with
    Play,     // the driver's calls and words one by one
};

struct Command {
    const char* name; // as on the command line
    CommandGroup group;
    const char* synopsis; // one line
    // Gives `app` the command's options, its help, and a callback that runs it. The callback throws
    // UserError for bad input. `console` outlives `app`.
    void (*setUp)(CLI::App& app, Console& console);
};

} // namespace korv
