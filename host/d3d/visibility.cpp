#include "host/d3d/visibility.h"

#include "driver/d3d/execute.h"
#include "driver/raster/ZVisible.h"
#include "host/d3d/direct3d.h"
#include "host/driver_module.h"

#include <stdexcept>
#include <vector>

namespace host {

uint32_t AskVisibility(Device3D& device, std::span<const D3DTLVERTEX> vertices,
                       std::span<const D3DTRIANGLE> records) {
    D3DContext* ctx = device.Context();
    if (ctx == nullptr) {
        throw std::logic_error("the visibility question needs a context of the linked driver");
    }
    // States reach the chip with a primitive: one without area and edges, which draws nothing.
    const D3DTLVERTEX corner{};
    Check("render states", device.Triangles({&corner, 1}, std::vector<D3DTRIANGLE>{{}}));
    // Both arrays are the driver's to write to.
    std::vector<D3DTLVERTEX> corners(vertices.begin(), vertices.end());
    std::vector<D3DTRIANGLE> triangles(records.begin(), records.end());
    D3DINSTRUCTION instruction{D3DOP_TRIANGLE, sizeof(D3DTRIANGLE),
                               static_cast<WORD>(triangles.size())};
    const auto ask = ctx->UseDelta != 0 ? Delta_Tri_Z_Visible : Glint_Tri_Z_Visible;
    const DriverCall call;
    // The operations leave it to their caller that the chip is the context's.
    SynchroniseContext(ctx);
    return ask(ctx, &instruction, corners.data(), triangles.data());
}

} // namespace host
