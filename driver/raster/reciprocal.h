#pragma once
// Reciprocals of heights, so that a triangle needs one divide only.
#include <array>
#include <cstdint>

inline constexpr uint32_t kMaxHeight = 2048; // rows

// Entry n is -1/n, given to ten decimal places (halves away from zero) and then to the nearest
// single; entry 0 is 0. Negative, as rows are walked upwards: a difference bottom minus top times
// an entry is the step per row going up.
extern const std::array<float, kMaxHeight + 1> reciprocalTable;
