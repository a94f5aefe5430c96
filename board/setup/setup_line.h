#pragma once
// Steps of a line from its two vertices.
#include "board/raster/edge.h"
#include "board/setup/setup_vertex.h"

#include <cstdint>

namespace board {

struct SetupLine {
    Edge x, y; // bias included
    uint32_t pixels;
    std::array<Interpolant, Interpolants::kCount> values; // dyDom is the step per pixel
};

// A line steps by one along the axis on which it is longer, along X when both are equal, from
// exactly where its first end is. It has as many pixels as lie between its ends' pixels on that
// axis, the first one included and the last one not, so that two ends in one pixel have none.
// Values start with those of the first end. `bias` (32.32) is added to both axes.
SetupLine SetUpLine(const SetupVertex& from, const SetupVertex& to, int64_t bias);

} // namespace board
