#include "tools/korv/commands/cli/raw_screen.h"

#include "chip/registers.h"
#include "host/display/display.h"
#include "stream/player.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/commands/cli/draw_options.h"
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
    const ChipChoice& choice = ChipByName(chip);
    const Extent size = ParseSize(screen.size);
    const auto bits = static_cast<uint32_t>(std::stoi(screen.depth));
    const auto width = static_cast<uint32_t>(size.width);
    const uint32_t pitch = host::ScreenPitchPixels(choice.deviceId, width);
    if (DeviceOf(player.From().Board().chip).IsGlint()) {
        const uint32_t code = bits == 8 ? 2 : bits == 16 ? 1 : 0;
        player.Board().PlayWrite(reg::FBModeSel, field::FBModeSel_Depth.Put(0, code));
    }
    auto layout =
        stream::ScreenLayout(width, static_cast<uint32_t>(size.height), bits, pitch * bits / 8);
    layout.offset = static_cast<uint32_t>(screen.base);
    return layout;
}

} // namespace korv
