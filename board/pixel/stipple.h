#pragma once
// Area stipple: a repeating bit pattern that says which pixels are drawn.
#include "board/values/registers.h"

#include <array>
#include <cstdint>

namespace board {

struct AreaStipple {
    std::array<uint32_t, 32> rows; // bit x: column x is drawn
    uint32_t columnMask;           // columns - 1
    uint32_t rowMask;              // rows - 1

    bool Draws(int64_t x, int64_t y) const { return (RowBits(y) >> (x & columnMask) & 1) != 0; }
    uint32_t RowBits(int64_t y) const { return rows[static_cast<uint32_t>(y) & rowMask]; }
};

// The pattern in force. `sized` boards take its size from AreaStippleMode (a select of n stands for
// 2^(n+1) columns or rows, 32 at most), the others always repeat 8x8.
AreaStipple LoadAreaStipple(const RegisterFile& registers, bool sized);

} // namespace board
