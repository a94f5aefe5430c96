#pragma once
// Where a texel lies: coordinates brought into the map, and the map's place in memory.
#include "board/values/patch.h"

#include <algorithm>
#include <cstdint>

namespace board {

// Codes of the wrap fields on all chips.
enum class Wrap : uint8_t { Clamp, Repeat, Mirror };

// A texel coordinate brought into a map of 2^logSize texels.
constexpr int64_t WrapTexel(Wrap wrap, int64_t texel, uint32_t logSize) {
    const int64_t size = int64_t{1} << logSize;
    switch (wrap) {
    case Wrap::Clamp:
        return std::clamp<int64_t>(texel, 0, size - 1);
    case Wrap::Repeat:
        return texel & (size - 1);
    case Wrap::Mirror: {
        const int64_t inPair = texel & (2 * size - 1);
        return std::min(inPair, 2 * size - 1 - inPair);
    }
    }
    return 0;
}

// One level of a map.
struct TextureLevel {
    int64_t base;  // texels from the start of the memory
    int64_t pitch; // texels
    uint32_t logWidth, logHeight;
};

// Texel index of (x, y) in a level. In a patched map of 4-bit texels an element is a pair of them.
constexpr int64_t TexelIndex(const TextureLevel& level, bool patched, uint32_t texelBits, int64_t x,
                             int64_t y) {
    if (!patched) {
        return level.base + y * level.pitch + x;
    }
    if (texelBits == 4) {
        return level.base + 2 * PatchedOffset(x >> 1, y, level.pitch / 2) + (x & 1);
    }
    return level.base + PatchedOffset(x, y, level.pitch);
}

} // namespace board
