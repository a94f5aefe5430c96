#pragma once
// The board and the screen of raw words, which say nothing of theirs.
#include "board/config.h"
#include "stream/surfaces.h"

#include <cstdint>
#include <string>

namespace stream {
class Player;
}

namespace korv {

// A board like that of the chip's display. UserError for a name of no chip.
board::Config BoardFor(const std::string& chip);

// Sets that board up as the display's own driver does at a mode change, before the first word, and
// tells where the screen lies: sizes in pixels, `bits` a pixel (8, 16 or 32), `base` in bytes of
// the frame buffer.
stream::SurfaceLayout SetUpScreen(stream::Player& player, const std::string& chip, uint32_t width,
                                  uint32_t height, uint32_t bits, uint32_t base);

} // namespace korv
