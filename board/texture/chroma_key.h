#pragma once
// A colour key: bounds, and what becomes of the texels inside them. The chroma test compares.
#include "board/values/colour.h"

#include <cstdint>

namespace board {

struct ChromaKey {
    enum class Action : uint8_t {
        None,
        DropInside, // texels inside the bounds are not drawn
        KeyAlpha,   // alpha becomes 0 inside the bounds and 255 outside
    };
    Action action;
    Colour lower, upper;   // both inclusive, each channel for itself
    bool inverted = false; // on a board that is wrong on purpose

    constexpr bool Inside(Colour key) const {
        return Within(key.red, lower.red, upper.red) &&
               Within(key.green, lower.green, upper.green) &&
               Within(key.blue, lower.blue, upper.blue) &&
               Within(key.alpha, lower.alpha, upper.alpha);
    }
    // The test as the plain forms make it.
    constexpr bool Hits(Colour key) const { return Inside(key) != inverted; }

  private:
    static constexpr bool Within(int32_t value, int32_t low, int32_t high) {
        return value >= low && value <= high;
    }
};

} // namespace board
