#pragma once
// A colour inside the pipeline, and its 32-bit word.
#include <cstdint>

namespace board {

// Channels 0 to 255. Kept as integers so that arithmetic needs no casts.
struct Colour {
    int32_t red, green, blue, alpha;
    bool operator==(const Colour&) const = default;
};

// Colour registers hold red in the low byte and alpha in the top byte.
constexpr Colour ColourOfWord(uint32_t word) {
    return {static_cast<int32_t>(word & 0xFF), static_cast<int32_t>(word >> 8 & 0xFF),
            static_cast<int32_t>(word >> 16 & 0xFF), static_cast<int32_t>(word >> 24)};
}

constexpr uint32_t WordOfColour(Colour c) {
    return static_cast<uint32_t>(c.red) | static_cast<uint32_t>(c.green) << 8 |
           static_cast<uint32_t>(c.blue) << 16 | static_cast<uint32_t>(c.alpha) << 24;
}

} // namespace board
