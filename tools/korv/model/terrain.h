#pragma once
// A landscape made by formula.
#include "tools/korv/model/mesh.h"

namespace korv {

// A square of edge 2 around the origin, hills upwards, `cells` by `cells` quads row by row.
Mesh Terrain(int cells);

} // namespace korv
