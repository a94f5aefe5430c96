#pragma once
// Texels of one level at a coordinate: the nearest one, or the four around it mixed.
#include "board/texture/texture_unit.h"

#include <cstdint>

namespace board {

// The YUV texel at (x, y), whose own bits are `texel`, with the colour of its pair.
inline uint32_t FetchYUV(const TextureState& state, const TextureLevel& level, int64_t x, int64_t y,
                         uint32_t texel, uint64_t& badReads) {
    const int64_t place = TexelIndex(level, state.patched, state.format.texelBits, x ^ 1, y) * 2;
    if (place < 0 || place + 2 > state.bytes) {
        ++badReads;
        return 0;
    }
    return YUVOfPair(texel, LoadElement<2>(state.memory + place), (x & 1) != 0);
}

// Bits of the texel at (x, y), inside the level; 0, counted in `badReads`, outside the memory.
inline uint32_t FetchTexel(const TextureState& state, const TextureLevel& level, int64_t x,
                           int64_t y, uint64_t& badReads) {
    const int64_t index = TexelIndex(level, state.patched, state.format.texelBits, x, y);
    const int64_t place = index * state.format.texelBits / 8;
    const uint32_t size = (state.format.texelBits + 7) / 8;
    if (index < 0 || place + size > state.bytes) {
        ++badReads;
        return 0;
    }
    switch (state.format.texelBits) {
    case 4: // the low half of a byte is the left texel
        return state.memory[place] >> (4 * (index & 1)) & 0xF;
    case 8:
        return state.memory[place];
    case 16: {
        const uint32_t texel = LoadElement<2>(state.memory + place);
        return state.format.kind == TexelFormat::Kind::YUV
                   ? FetchYUV(state, level, x, y, texel, badReads)
                   : texel;
    }
    case 24:
        return LoadElement<3>(state.memory + place);
    default:
        return LoadElement<4>(state.memory + place);
    }
}

// Colour of the texel at (x, y), inside the level, with the alpha that the chroma test gives it.
inline Colour FetchColour(const TextureState& state, const TextureLevel& level, int64_t x,
                          int64_t y, uint64_t& badReads) {
    const uint32_t texel = FetchTexel(state, level, x, y, badReads);
    Colour colour = TexelColour(state.format, *state.table, texel);
    if (state.chroma.action == ChromaKey::Action::KeyAlpha) {
        colour.alpha = state.chroma.Hits(TexelKey(state.format, *state.table, texel)) ? 0 : 255;
    }
    return colour;
}

// The whole texel of a coordinate, brought into the level.
inline int64_t Column(const TextureState& state, const TextureLevel& level, int64_t u) {
    return WrapTexel(state.wrapS, u >> kTexelFractionBits, level.logWidth);
}
inline int64_t Row(const TextureState& state, const TextureLevel& level, int64_t v) {
    return WrapTexel(state.wrapT, v >> kTexelFractionBits, level.logHeight);
}

// Colour at (u, v), texels of this level with kTexelFractionBits. Coordinates of pixel centres take
// the texels' centres to be at .5; others take a texel to stand at its whole coordinate.
inline Colour FilterTexels(const TextureState& state, const TextureLevel& level, bool linear,
                           int64_t u, int64_t v, uint64_t& badReads) {
    if (!linear) {
        return FetchColour(state, level, Column(state, level, u), Row(state, level, v), badReads);
    }
    constexpr int64_t kHalf = int64_t{1} << (kTexelFractionBits - 1);
    const int64_t shift = state.centred ? kHalf : 0;
    const auto weight = [](int64_t coordinate) {
        return static_cast<int32_t>(coordinate >> (kTexelFractionBits - kWeightBits)) &
               ((1 << kWeightBits) - 1);
    };
    constexpr int64_t kOneTexel = int64_t{1} << kTexelFractionBits;
    const int64_t x0 = Column(state, level, u - shift);
    const int64_t x1 = Column(state, level, u - shift + kOneTexel);
    const int64_t y0 = Row(state, level, v - shift);
    const int64_t y1 = Row(state, level, v - shift + kOneTexel);
    const int32_t right = weight(u - shift);
    const int32_t lower = weight(v - shift);
    const Colour c00 = FetchColour(state, level, x0, y0, badReads);
    const Colour c10 = FetchColour(state, level, x1, y0, badReads);
    const Colour c01 = FetchColour(state, level, x0, y1, badReads);
    const Colour c11 = FetchColour(state, level, x1, y1, badReads);
    const auto mix = [right, lower](int32_t a, int32_t b, int32_t c, int32_t d) {
        constexpr int32_t kOne = 1 << kWeightBits;
        const int32_t above = a * (kOne - right) + b * right;
        const int32_t below = c * (kOne - right) + d * right;
        return (above * (kOne - lower) + below * lower + (1 << (2 * kWeightBits - 1))) >>
               (2 * kWeightBits);
    };
    return {mix(c00.red, c10.red, c01.red, c11.red),
            mix(c00.green, c10.green, c01.green, c11.green),
            mix(c00.blue, c10.blue, c01.blue, c11.blue),
            mix(c00.alpha, c10.alpha, c01.alpha, c11.alpha)};
}

} // namespace board
