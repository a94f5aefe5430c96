#pragma once
// Grids drawn as strips of triangles.
#include "tools/korv/painting/pipeline.h"

namespace korv {

// Draws a grid of (`columns` + 1) vertices a row as one strip a row: each triangle but the first
// says by its flags which two corners it has from the one before. What lies outside the view at one
// corner is left out as a whole.
void DrawStrips(Painter& painter, const Mesh& grid, int columns, const Camera& camera,
                const DrawOptions& options);

} // namespace korv
