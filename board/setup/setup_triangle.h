#pragma once
// Slopes of a triangle from its three vertices: two trapezoids on one dominant edge.
#include "board/raster/edge.h"
#include "board/setup/setup_vertex.h"

#include <cstdint>

namespace board {

struct SetupTriangle {
    int64_t firstRow;
    uint32_t upperRows, lowerRows; // the subordinate edge changes between them
    Edge dominant, upper, lower;   // X at the centres of the rows where they start
    std::array<Interpolant, Interpolants::kCount> values;
};

// Rows are those whose centres lie at or below the upper end and above the lower end of the
// triangle. An edge depends on its two ends alone, so that the triangles on its two sides agree on
// every pixel. Values, those that `mode` has on, are the first row's centre's with its subPixel,
// else the top vertex's.
SetupTriangle SetUpTriangle(const SetupMode& mode, const std::array<SetupVertex, 3>& vertices);

} // namespace board
