#pragma once
// The commands of the tool. Each Add... puts a command with its options and help under `app`; it
// runs when the command line is parsed and throws UserError for bad input.
#include "tools/korv/painting/canvas.h"

#include <ostream>
#include <string>

namespace CLI {
class App;
}

namespace korv {

struct Console {
    std::ostream& out;
    std::ostream& err;
};

void AddDemo(CLI::App& app, Console& console);
void AddRender(CLI::App& app, Console& console);
void AddInfo(CLI::App& app, Console& console);
void AddModel(CLI::App& app, Console& console);
void AddTexture(CLI::App& app, Console& console);
void AddReplay(CLI::App& app, Console& console);
void AddTrace(CLI::App& app, Console& console);

// What every command that draws can be told.
struct DrawArguments {
    std::string size = "640x480";
    int depth = 16;
    bool fifo = false;
    int subBuffers = 0;
    RecordPaths record;

    // UserError for a size that is none.
    Settings ToSettings() const;
};

void AddDrawArguments(CLI::App& command, DrawArguments& arguments);

// "WIDTHxHEIGHT" in pixels. UserError for anything else, and for a size that no board has.
Extent ParseSize(const std::string& text);

// Tells of faults on the board, one line each.
void WarnOfFaults(Console& console, const std::string& where, const std::string& faults);

} // namespace korv
