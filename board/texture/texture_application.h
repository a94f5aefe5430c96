#pragma once
// How a texel's colour and the fragment's make one colour, and the specular highlight on top.
#include "board/raster/interpolants.h"
#include "board/values/colour.h"

#include <algorithm>
#include <cstdint>

namespace board {

enum class TextureApplication : uint8_t {
    Modulate, // product, alpha too
    Decal,    // the texel over the fragment by the texel's alpha; alpha is the fragment's
    Copy,     // the texel
};

// a * b with 255 for 1.0, rounded to nearest.
constexpr int32_t MultiplyChannel(int32_t a, int32_t b) {
    return (a * b + 127) / 255;
}

constexpr Colour ApplyTexture(TextureApplication application, Colour fragment, Colour texel) {
    switch (application) {
    case TextureApplication::Modulate:
        return {MultiplyChannel(fragment.red, texel.red),
                MultiplyChannel(fragment.green, texel.green),
                MultiplyChannel(fragment.blue, texel.blue),
                MultiplyChannel(fragment.alpha, texel.alpha)};
    case TextureApplication::Decal: {
        const auto over = [a = texel.alpha](int32_t under, int32_t top) {
            return (under * (255 - a) + top * a + 127) / 255;
        };
        return {over(fragment.red, texel.red), over(fragment.green, texel.green),
                over(fragment.blue, texel.blue), fragment.alpha};
    }
    case TextureApplication::Copy:
        return texel;
    }
    return texel;
}

// Adds a white highlight of strength Ks, held between 0 and 1. Alpha stays as it is.
inline Colour AddHighlight(Colour colour, int64_t ks) {
    constexpr int64_t kOne = int64_t{1} << kKsFractionBits;
    const auto highlight = static_cast<int32_t>(
        (std::clamp<int64_t>(ks, 0, kOne) * 255 + kOne / 2) >> kKsFractionBits);
    const auto add = [highlight](int32_t channel) { return std::min(channel + highlight, 255); };
    return {add(colour.red), add(colour.green), add(colour.blue), colour.alpha};
}

} // namespace board
