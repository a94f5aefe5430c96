#include "tools/korv/commands/cli/raw_screen.h"

#include "tools/korv/commands/cli/draw_options.h"
#include "tools/korv/commands/cli/raw_board.h"
#include "tools/korv/commands/cli/values.h"

#include <CLI/CLI.hpp>

#include <limits>

namespace korv {

void AddRawScreenArguments(CLI::App& command, RawScreen& screen) {
    command
        .add_option("--size", screen.size,
                    "Raw words: size of the screen in pixels (default 640x480)")
        ->type_name("WxH");
    AddRawDepthArgument(command, screen);
    AddNumber(command, "--base", screen.base, 0, std::numeric_limits<int>::max(),
              "Raw words: where it begins in the frame buffer, in bytes (default 0)")
        ->type_name("BYTES");
}

void AddRawDepthArgument(CLI::App& command, RawScreen& screen) {
    AddChoice(command, "--depth", screen.depth, {"8", "16", "32"},
              "Raw words: bits per pixel of the screen (default 16)");
}

stream::SurfaceLayout SetUpRawScreen(stream::Player& player, const RawScreen& screen,
                                     const std::string& chip) {
    const Extent size = ParseSize(screen.size);
    return SetUpScreen(
        player, chip, static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height),
        static_cast<uint32_t>(std::stoi(screen.depth)), static_cast<uint32_t>(screen.base));
}

} // namespace korv
