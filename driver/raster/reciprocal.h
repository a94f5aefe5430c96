#pragma once
// Reciprocals of heights, so that a triangle needs one divide only.
#include <array>
#include <cstdint>

inline constexpr uint32_t kMaxHeight = 4095; // rows

// Entry n is -1/n, given to ten decimal places (halves away from zero) and then to the nearest
// single; entry 0 is 0. Negative, as rows are walked upwards: a difference bottom minus top times
// an entry is the step per row going up.
extern const std::array<float, kMaxHeight + 1> reciprocalTable;

// The entry of a height. Coordinates far outside the screen give heights beyond the table, which
// fall back into it, so that no triangle needs a test.
inline float NegativeReciprocal(uint32_t rows) {
    return reciprocalTable[rows & kMaxHeight];
}
