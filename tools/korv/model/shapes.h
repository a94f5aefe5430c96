#pragma once
// Meshes made by formula: what the scenes draw and what `korv model` writes.
#include "tools/korv/model/mesh.h"

#include <span>
#include <string_view>

namespace korv {

// A tube of radius `tube` along the (p, q) torus knot: p turns about the axis, q through the hole.
// `along` by `around` quads.
Mesh TorusKnot(int p, int q, double tube, int along, int around);

// A ring about the z axis: `major` from its centre to the middle of the tube of radius `minor`.
Mesh Torus(double major, double minor, int along, int around);

// The unit sphere: an icosahedron whose triangles were split in four `splits` times.
Mesh Icosphere(int splits);

// A cube with edges of length 2, each side a grid of `cells` by `cells` quads, in its own colour.
Mesh Cube(int cells);

// A square of edge 2 in the plane z = 0 with waves on it, `cells` by `cells` quads.
Mesh Ripples(int cells);

struct Shape {
    std::string_view name;
    std::string_view about;
    Mesh (*make)();
};

// The shapes that have a name, in the order in which they are listed to the user.
std::span<const Shape> NamedShapes();

// The shape of that name, or null.
const Shape* FindShape(std::string_view name);

} // namespace korv
