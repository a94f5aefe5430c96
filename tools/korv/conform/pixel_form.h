#pragma once
// Pixels of pictures: their channels. The kit's own, so that what it makes and judges does not
// depend on the board's formats.
#include "tools/korv/conform/case.h"

#include <array>
#include <optional>
#include <string_view>

namespace korv::conform {

std::optional<PixelForm> FormByName(std::string_view name);
std::string FormNames(); // of all, with commas

// Red, green, blue, alpha; of one number the first alone.
using Channels = std::array<uint32_t, 4>;

// The pixel of a colour, channels 0 to 255 cut to their widths. For forms with channels, and
// indices, which are the red.
uint32_t Encode(PixelForm form, const Channels& channels);

// The fields of a pixel as they stand in it, not widened.
Channels Fields(PixelForm form, uint32_t pixel);

// For people: channels widened to 8 bits, numbers as grey.
std::array<uint8_t, 4> Shown(PixelForm form, uint32_t pixel);

} // namespace korv::conform
