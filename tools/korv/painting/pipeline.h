#pragma once
// The application's side of 3D: transform, light, fog and clip a mesh, then hand screen-space
// triangles to the device.
#include "tools/korv/model/camera.h"
#include "tools/korv/model/mesh.h"
#include "tools/korv/painting/clip.h"
#include "tools/korv/painting/painter.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace korv {

// One lamp far away and light from everywhere. Only the side to which normals point is lit by the
// lamp.
struct Light {
    Vec3 towards{-0.35, -0.5, 0.8}; // from the model to the lamp, any length
    double ambient = 0.22;          // 0 to 1
    double diffuse = 0.85;
    double gloss = 0;      // strength of the lamp's mirror image, 0 to 1
    double shininess = 24; // the larger, the smaller that image
};

// Linear fog over the distance along the line of sight: clear up to `start`, all fog from `end`.
struct Fog {
    double start = 0, end = 1;
    D3DCOLOR colour = 0;
};

enum class Shading { Flat, Gouraud };

struct DrawOptions {
    Shading shading = Shading::Gouraud;
    Light light;
    std::optional<Fog> fog;
    bool backToFront = false; // sort the triangles, for drawing without a depth buffer
    double alpha = 1;
    // Called between batches with the triangles that are drawn and all of them.
    std::function<void(size_t done, size_t all)> progress;
};

// Vertices and the triangles that index them: what one drawing instruction takes.
struct Batch {
    std::vector<D3DTLVERTEX> vertices;
    std::vector<D3DTRIANGLE> triangles;
};

// Colour with channels 0 to 1, clamped and rounded to 8 bits.
D3DCOLOR PackColour(const Vec3& colour, double alpha = 1);

// Projects a clip-space vertex with w above 0 to `extent`: sx from 0 to the width, sy from 0 at the
// top to the height, sz from 0 near to 1 far, rhw = 1 / w; fog goes into specular's alpha, the
// highlight into its colour.
D3DTLVERTEX Project(const ClipVertex& vertex, Extent extent);

// The mesh's vertices in clip space, lit and fogged by `options`.
std::vector<ClipVertex> Transform(const Mesh& mesh, const Camera& camera,
                                  const DrawOptions& options);

// Runs `mesh` through `camera` into batches that 16-bit indices can hold.
std::vector<Batch> Process(const Mesh& mesh, const Camera& camera, Extent extent,
                           const DrawOptions& options);

// Sets shade mode, fog and specular states by `options`.
void SetLightStates(Painter& painter, const DrawOptions& options);

// Sets those states, then processes and draws the mesh.
void DrawMesh(Painter& painter, const Mesh& mesh, const Camera& camera, const DrawOptions& options);

} // namespace korv
