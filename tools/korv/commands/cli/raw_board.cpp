#include "tools/korv/commands/cli/raw_board.h"

#include "chip/registers.h"
#include "host/display/display.h"
#include "stream/player.h"
#include "tools/korv/chips/chips.h"

namespace korv {

board::Config BoardFor(const std::string& chip) {
    const ChipChoice& choice = ChipByName(chip);
    const DeviceRow& device = *FindDevice(choice.deviceId);
    board::Config config;
    config.chip = device.model;
    config.setupUnit = choice.setupUnit || device.setupUnit;
    config.localBufferBytes = device.HasLocalBuffer() ? config.localBufferBytes : 0;
    return config;
}

stream::SurfaceLayout SetUpScreen(stream::Player& player, const std::string& chip, uint32_t width,
                                  uint32_t height, uint32_t bits, uint32_t base) {
    const uint32_t pitch = host::ScreenPitchPixels(ChipByName(chip).deviceId, width);
    if (DeviceOf(player.From().Board().chip).IsGlint()) {
        const uint32_t code = bits == 8 ? 2 : bits == 16 ? 1 : 0;
        player.Board().PlayWrite(reg::FBModeSel, field::FBModeSel_Depth.Put(0, code));
    }
    auto layout = stream::ScreenLayout(width, height, bits, pitch * bits / 8);
    layout.offset = base;
    return layout;
}

} // namespace korv
