#pragma once
// YUV texels: pairs of pixels that share their colour, in memory Y0 U Y1 V.
#include "board/values/colour.h"

#include <algorithm>
#include <cstdint>

namespace board {

// A texel with its pair's colour: Y in the low byte, then U, then V.
constexpr uint32_t PackYUV(uint32_t y, uint32_t u, uint32_t v) {
    return y | u << 8 | v << 16;
}

// From 16-bit texels, `texel` itself and `partner`, the other one of its pair. `right`: it is the
// right one.
constexpr uint32_t YUVOfPair(uint32_t texel, uint32_t partner, bool right) {
    return PackYUV(texel & 0xFF, (right ? partner : texel) >> 8, (right ? texel : partner) >> 8);
}

// CCIR 601: Y from 16 to 235, U and V from 16 to 240 around 128; factors of 256.
constexpr Colour ColourOfYUV(uint32_t packed) {
    const auto y = static_cast<int32_t>(packed & 0xFF) - 16;
    const auto u = static_cast<int32_t>(packed >> 8 & 0xFF) - 128;
    const auto v = static_cast<int32_t>(packed >> 16 & 0xFF) - 128;
    const auto channel = [y](int32_t chroma) {
        return std::clamp((298 * y + chroma + 128) >> 8, 0, 255);
    };
    return {channel(409 * v), channel(-100 * u - 208 * v), channel(516 * u), 255};
}

} // namespace board
