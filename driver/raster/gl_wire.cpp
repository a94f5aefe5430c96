#include "driver/raster/gl_wire.h"

#include "driver/raster/gl_edge.h"
#include "driver/raster/triangle_walk.h"

namespace {

using namespace glint;

// No word is shared between edges, nor between triangles.
template <bool kWaits>
void WireBatch(D3DContext* ctx, const D3DINSTRUCTION* ins, const D3DTLVERTEX* vertices,
               const void* records) {
    EdgeStyle style{.renderFlags = ctx->RenderFlags,
                    .renderWord = ctx->RenderCommand & ~kTrapezoid,
                    .drawsLastPixel = false};
    constexpr uint32_t kSpecularFog = RF_TEXTURE | RF_SPECULAR;
    if ((style.renderFlags & kSpecularFog) == kSpecularFog) {
        style.renderWord = field::Render_Fog.Put(style.renderWord, 1);
    }
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();
    SetRasterizerMode(out, 0);
    WalkTriangles(
        CompareCull(ctx), ins, vertices, records,
        [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c, uint32_t wFlags) {
            if ((wFlags & D3DTRIFLAG_EDGEENABLE1) != 0) {
                DrawEdge(out, a, b, style);
            }
            if ((wFlags & D3DTRIFLAG_EDGEENABLE2) != 0) {
                DrawEdge(out, b, c, style);
            }
            if ((wFlags & D3DTRIFLAG_EDGEENABLE3) != 0) {
                DrawEdge(out, c, a, style);
            }
        });
    SetRasterizerMode(out, kRasteriserIdle);
}

} // namespace

void Glint_TriWire_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        WireBatch<true>(ctx, ins, vertices, records);
    } else {
        WireBatch<false>(ctx, ins, vertices, records);
    }
}
