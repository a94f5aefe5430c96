#pragma once
// Shapes to draw, all seeded.
#include "driver/platform/d3dhal.h"

#include <cstdint>
#include <vector>

namespace bench {

enum class Facing { One, Any };

struct Mesh {
    Facing facing;
    std::vector<D3DTLVERTEX> vertices;
    std::vector<D3DTRIANGLE> triangles;
};

// 64 by 64 vertices over 640 by 640 pixels, each moved by less than a quarter of a cell, so that
// all 7,938 triangles face one way: their determinants, as the driver reckons, are negative.
// Triangles come row by row in strip order. `strips`: records go on from one another by their
// flags; else each stands alone.
Mesh StripMesh(bool strips);
// Triangles of any size and facing that share no vertex.
Mesh RandomTriangles(uint32_t count);

} // namespace bench
