#include "tools/korv/images/texel_format.h"

#include <fmt/format.h>

#include <bit>

namespace korv {

bool HasPalette(const DDPIXELFORMAT& format) {
    return (format.dwFlags & (DDPF_PALETTEINDEXED4 | DDPF_PALETTEINDEXED8)) != 0;
}

std::string TexelFormatName(const DDPIXELFORMAT& format) {
    if (HasPalette(format)) {
        return fmt::format("pal{}", format.dwRGBBitCount);
    }
    const auto width = [](uint32_t mask) { return std::popcount(mask); };
    const std::string colours = fmt::format("{}{}{}", width(format.dwRBitMask),
                                            width(format.dwGBitMask), width(format.dwBBitMask));
    return format.dwFlags & DDPF_ALPHAPIXELS
               ? fmt::format("argb{}{}", width(format.dwRGBAlphaBitMask), colours)
               : "rgb" + colours;
}

} // namespace korv
