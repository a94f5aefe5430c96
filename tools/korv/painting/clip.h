#pragma once
// Clipping of triangles against the view, in clip space.
#include "tools/korv/model/vec.h"

#include <array>
#include <cstdint>
#include <vector>

namespace korv {

// A vertex on its way to the screen.
struct ClipVertex {
    Vec4 position;         // clip space, see Camera
    Vec3 colour;           // red, green, blue, 0 to 1
    double alpha = 1;      // 0 to 1
    double visibility = 1; // 1 clear to 0 all fog
    double u = 0, v = 0;   // texture coordinates
    double highlight = 0;  // white light that is reflected, 0 to 1
};

// One bit for each of the six planes that `position` lies outside of; 0 inside the view.
uint32_t Outcode(const Vec4& position);

// The part of triangle (a, b, c) inside the view: a convex polygon in the same order of turn,
// empty if nothing is left. All values are interpolated linearly in clip space.
std::vector<ClipVertex> ClipTriangle(const ClipVertex& a, const ClipVertex& b, const ClipVertex& c);

} // namespace korv
