#pragma once
// Rounding of doubles to integers, without a call of the mathematics library where that is slow.
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>

namespace board {

// Added to a number of less than 51 bits it leaves the nearest integer in its low bits.
inline constexpr double kRoundingShifter = 6755399441055744.0; // 1.5 * 2^52

// The low 32 bits of the largest integer that is not above `value`, which must be a number within
// 51 bits. Without a branch.
inline uint32_t FloorWord(double value) {
    if (FLT_EVAL_METHOD != 0) {
        return static_cast<uint32_t>(static_cast<int64_t>(std::floor(value)));
    }
    const double shifted = value + kRoundingShifter;
    const auto nearest = static_cast<uint32_t>(std::bit_cast<uint64_t>(shifted));
    return nearest - (shifted - kRoundingShifter > value ? 1 : 0);
}

// The largest integer that is not above `value`, which must be a number within 64 bits.
inline int64_t FloorInteger(double value) {
    constexpr double kFits = 2251799813685248.0; // 2^51
    if (FLT_EVAL_METHOD == 0 && value > -kFits && value < kFits) {
        const double shifted = value + kRoundingShifter;
        const int64_t nearest =
            std::bit_cast<int64_t>(shifted) - std::bit_cast<int64_t>(kRoundingShifter);
        return nearest - (shifted - kRoundingShifter > value ? 1 : 0);
    }
    return static_cast<int64_t>(std::floor(value));
}

// The smallest integer that is not below `value`.
inline int64_t CeilInteger(double value) {
    return -FloorInteger(-value);
}

} // namespace board
