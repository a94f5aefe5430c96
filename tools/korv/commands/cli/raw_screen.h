#pragma once
// The screen of raw words, which say nothing of theirs.
#include "stream/surfaces.h"

#include <string>

namespace CLI {
class App;
}
namespace stream {
class Player;
}

namespace korv {

struct RawScreen {
    std::string size = "640x480", depth = "16";
    int base = 0; // bytes
};

// --size, --depth and --base.
void AddRawScreenArguments(CLI::App& command, RawScreen& screen);

// --depth alone, for whoever looks at no picture.
void AddRawDepthArgument(CLI::App& command, RawScreen& screen);

// Sets the board up as the display's own driver does at a mode change, before the first word, and
// tells where the screen lies. `chip` is what --chip says.
stream::SurfaceLayout SetUpRawScreen(stream::Player& player, const RawScreen& screen,
                                     const std::string& chip);

} // namespace korv
