#pragma once
// What every command that draws can be told.
#include "host/remote/board_program.h"
#include "tools/korv/capture/recording.h"
#include "tools/korv/painting/canvas.h"

#include <string>

namespace CLI {
class App;
}

namespace korv {

// Whose board it is.
struct BoardArguments {
    std::string exec; // empty: our own
    std::string memory = "mapped";
    double timeout = 20; // seconds

    host::BoardProgram Program() const;
};

struct DrawArguments {
    std::string size = "640x480";
    std::string depth = "16";
    bool fifo = false;
    int subBuffers = 0;
    BoardArguments board;
    RecordPaths record;

    // UserError for a size that is none.
    Settings ToSettings() const;
};

void AddDrawArguments(CLI::App& command, DrawArguments& arguments);

// --board-exec and what belongs to it.
void AddBoardOptions(CLI::App& command, BoardArguments& arguments);

// --capture `type`, told as `help`; `path` outlives the command line. Excludes
// --board-exec, where that has been added before.
void AddCaptureOption(CLI::App& command, std::filesystem::path& path, const std::string& type,
                      const std::string& help);

// "WIDTHxHEIGHT" in pixels. UserError for anything else, and for a size that no board has.
Extent ParseSize(const std::string& text);

} // namespace korv
