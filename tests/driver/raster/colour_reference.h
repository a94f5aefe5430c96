#pragma once
// Colours of vertices as words, channel by channel.
#include <algorithm>
#include <cmath>
#include <cstdint>

namespace reference {

inline float Strength(uint32_t specular) {
    const float red = static_cast<float>((specular >> 16) & 0xFF) * 0.001172549019608f;
    const float green = static_cast<float>((specular >> 8) & 0xFF) * 0.000447058823529f;
    const float blue = static_cast<float>(specular & 0xFF) * 0.002301960784314f;
    return (red + green) + blue;
}

// Each channel through the rounded-down square root of 255 times it: blue as it is, green one
// less, red one more.
inline uint32_t Gamma(uint32_t colour) {
    const auto root = [](uint32_t channel) {
        return static_cast<uint32_t>(std::sqrt(255.0 * channel));
    };
    const uint32_t red = (colour >> 16) & 0xFF, green = (colour >> 8) & 0xFF, blue = colour & 0xFF;
    return (colour & 0xFF000000) | (red == 0 ? 0 : std::min(255u, root(red) + 1)) << 16 |
           (green == 0 ? 0 : root(green) - 1) << 8 | root(blue);
}

// Specular light added: the low bit of each channel is lost, an overflow stops at 0xFE and sets the
// low bit of the channel above. Alpha is not added to.
inline uint32_t AddSpecular(uint32_t colour, uint32_t specular) {
    uint32_t lit = (colour >> 24 & 0xFE) << 24;
    for (const int shift : {0, 8, 16}) {
        const uint32_t sum = (colour >> shift & 0xFE) + (specular >> shift & 0xFE);
        lit |= (sum > 0xFF ? 0xFEu : sum) << shift;
        if (sum > 0xFF) {
            lit |= 0x100u << shift;
        }
    }
    return lit;
}

// Red and blue exchanged, as the constant colour has them.
inline uint32_t Exchange(uint32_t colour) {
    return (colour & 0xFF00FF00) | (colour & 0xFF) << 16 | (colour >> 16 & 0xFF);
}

// The word of a block fill: two pixels of 5:5:5, or the bare channels.
inline uint32_t BlockWord(uint32_t colour, uint32_t bytesPerPixel) {
    if (bytesPerPixel != 2) {
        return colour & 0xFFFFFF;
    }
    const uint32_t red = colour >> 19 & 31, green = colour >> 11 & 31, blue = colour >> 3 & 31;
    return (red << 10 | green << 5 | blue) * 0x10001;
}

} // namespace reference
