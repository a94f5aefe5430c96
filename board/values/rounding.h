#pragma once
// Rounding of doubles to integers, without a call of the mathematics library where that is slow.
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>

namespace board {

// The largest integer that is not above `value`, which must be a number within 64 bits.
inline int64_t FloorInteger(double value) {
    // Added to a number of less than 51 bits it leaves the nearest integer in its low bits.
    constexpr double kShifter = 6755399441055744.0; // 1.5 * 2^52
    constexpr double kFits = 2251799813685248.0;    // 2^51
    if (FLT_EVAL_METHOD == 0 && value > -kFits && value < kFits) {
        const double shifted = value + kShifter;
        const int64_t nearest = std::bit_cast<int64_t>(shifted) - std::bit_cast<int64_t>(kShifter);
        return nearest - (shifted - kShifter > value ? 1 : 0);
    }
    return static_cast<int64_t>(std::floor(value));
}

// The smallest integer that is not below `value`.
inline int64_t CeilInteger(double value) {
    return -FloorInteger(-value);
}

} // namespace board
