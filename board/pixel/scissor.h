#pragma once
// The rectangles outside which nothing is drawn.
#include "board/values/registers.h"

#include <cstdint>

namespace board {

// Right and bottom exclusive.
struct ClipRectangle {
    int64_t left, top, right, bottom;
};

// A point packed as y << 16 | x, both signed.
struct PackedPoint {
    int64_t x, y;
};
constexpr PackedPoint UnpackPoint(uint32_t word) {
    return {static_cast<int16_t>(word & 0xFFFF), static_cast<int16_t>(word >> 16)};
}

// What ScissorMode leaves: the user's rectangle, the screen's, both or no limit.
ClipRectangle ScissorRectangle(const RegisterFile& registers);

} // namespace board
