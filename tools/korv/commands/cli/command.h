#pragma once
// What the tool knows of each of its commands. A file each in commands/, NAME.cpp, has a row
// `kNameCommand`; the build gathers the rows by the names of the files.
#include "tools/korv/commands/cli/console.h"

#include <span>

namespace CLI {
class App;
}

namespace korv {

// What a command is about. Help lists them group by group, each group by name.
enum class CommandGroup {
    Draw,  // pictures of scenes and models, and what they are drawn with
    Look,  // what a chip can do, what is in a stream
    Check, // what is wrong with a stream, and where two differ
    Serve, // for other programs
};

// The group as help names it.
const char* TitleOf(CommandGroup group);

struct Command {
    const char* name; // as on the command line
    CommandGroup group;
    const char* synopsis; // one line
    // Gives `app` the command's options, its help, and a callback that runs it. The callback throws
    // UserError for bad input. `console` outlives `app`.
    void (*setUp)(CLI::App& app, Console& console);
};

// All of them, as help lists them.
std::span<const Command* const> Commands();

} // namespace korv
