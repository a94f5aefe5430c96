#pragma once
// What scenes and models are drawn on.
#include <span>

#include "driver/platform/d3dhal.h"
#include "tools/korv/camera.h"

namespace korv {

// A colour target with a depth buffer of the same size and the device that draws into them. Calls
// between the start and the end of a scene reach the device in order.
class Painter {
  public:
    virtual ~Painter() = default;

    virtual Extent Size() const = 0;
    // All factors of Direct3D's blending exist; otherwise only those of a chip without them.
    virtual bool HasAllBlendFactors() const = 0;

    // Fills the target with `colour` and the depth buffer with the farthest depth.
    virtual void Clear(D3DCOLOR colour) = 0;
    virtual void State(D3DRENDERSTATETYPE type, DWORD value) = 0;
    // `triangles` index into `vertices`.
    virtual void Triangles(std::span<const D3DTLVERTEX> vertices,
                           std::span<const D3DTRIANGLE> triangles) = 0;
};

} // namespace korv
