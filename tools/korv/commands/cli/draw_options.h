#pragma once
// What every command that draws can be told.
#include "tools/korv/capture/recording.h"
#include "tools/korv/painting/canvas.h"

#include <string>

namespace CLI {
class App;
}

namespace korv {

struct DrawArguments {
    std::string size = "640x480";
    std::string depth = "16";
    bool fifo = false;
    int subBuffers = 0;
    RecordPaths record;

    // UserError for a size that is none.
    Settings ToSettings() const;
};

void AddDrawArguments(CLI::App& command, DrawArguments& arguments);

// --capture `type`, told as `help`; `path` outlives the command line.
void AddCaptureOption(CLI::App& command, std::filesystem::path& path, const std::string& type,
                      const std::string& help);

// "WIDTHxHEIGHT" in pixels. UserError for anything else, and for a size that no board has.
Extent ParseSize(const std::string& text);

} // namespace korv
