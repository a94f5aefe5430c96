#pragma once
#include "tools/korv/model/vec.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace korv {

// Splits a polygon in space, concave or not, into triangles of the same turn, by the numbers of its
// `corners` (3 or more): always two less than there are corners. A quad is cut along its shorter
// diagonal, as far as that lies inside.
std::vector<std::array<uint32_t, 3>> Triangulate(std::span<const Vec3> corners);

} // namespace korv
