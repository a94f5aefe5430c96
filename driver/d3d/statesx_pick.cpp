// Choice of the renderers on the Glint family.
#include "driver/d3d/states_pick.h"
#include "driver/d3d/statesx.h"
#include "driver/raster/del_gour.h"
#include "driver/raster/del_tex.h"
#include "driver/raster/gl_line.h"
#include "driver/raster/gl_wire.h"

namespace {

Renderer DeltaRenderer(const D3DContext* ctx, uint32_t flags) {
    const bool textured = (flags & RF_TEXTURE) != 0;
    const bool specular = (flags & RF_SPECULAR) != 0;
    switch (ctx->FillMode) {
    case D3DFILL_POINT:
        return Delta_TriPoint_XYZ_RGBF;
    case D3DFILL_WIREFRAME:
        if (!textured) {
            return Delta_TriWire_XYZ_RGBF;
        }
        return specular ? Delta_TriWire_XYZ_STQ_RGB_FogSpecular : Delta_TriWire_XYZ_STQ_RGBF;
    default:
        if (textured) {
            return specular ? Delta_Tri_XYZ_STQ_RGB_FogSpecular : Delta_Tri_XYZ_STQ_RGBF;
        }
        // Stippling has no say here, unlike on Permedia.
        return (flags & (RF_ZENABLE | RF_FOG | RF_GOURAUD | RF_BLEND)) != 0 ? Delta_Tri_XYZ_RGBF
                                                                            : Delta_Tri_XY_FLAT;
    }
}

// Without a setup unit nothing textured is drawn on this family, and no points of triangles.
Renderer HostRenderer(const D3DContext* ctx, uint32_t flags) {
    if (ctx->FillMode == D3DFILL_POINT || (flags & RF_TEXTURE) != 0) {
        return Dummy_Triangle_Renderer;
    }
    return ctx->FillMode == D3DFILL_WIREFRAME ? Glint_TriWire_XYZ_STQ_RGBF
                                              : PlainHostTriangle(flags);
}

} // namespace

void PickGlintRenderProcs(D3DContext* ctx, uint32_t flags) {
    if (ctx->UseDelta != 0) {
        ctx->TriangleRenderer = DeltaRenderer(ctx, flags);
        return;
    }
    ctx->LineRenderer = (flags & RF_TEXTURE) != 0 ? Dummy_Line_Renderer : Glint_Line_XYZ_STQ_RGBF;
    ctx->TriangleRenderer = HostRenderer(ctx, flags);
}
