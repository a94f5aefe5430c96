// Choice of the triangle renderer on Permedia and Permedia 2.
#include "driver/core/records/private_surface.h"
#include "driver/d3d/statepm.h"
#include "driver/d3d/states_pick.h"
#include "driver/raster/del_gour.h"
#include "driver/raster/del_mip.h"
#include "driver/raster/del_tex.h"
#include "driver/raster/gl_gour.h"
#include "driver/raster/gl_point.h"
#include "driver/raster/gl_wire.h"
#include "driver/raster/p2_fast.h"
#include "driver/raster/p2_gour.h"
#include "driver/raster/p2_mip.h"
#include "driver/raster/p2_tex.h"

namespace {

Renderer DeltaWire(bool firstPermedia, uint32_t flags) {
    if ((flags & RF_TEXTURE) == 0) {
        return Delta_TriWire_XYZ_RGBF;
    }
    if ((flags & RF_SPECULAR) == 0) {
        return Delta_TriWire_XYZ_STQ_RGBF;
    }
    return firstPermedia ? Delta_TriWire_XYZ_STQ_RGB_FogSpecular : Delta_TriWire_XYZ_STQ_RGBFS;
}

Renderer DeltaSolid(const D3DContext* ctx, bool firstPermedia, uint32_t flags) {
    if ((flags & RF_TEXTURE) == 0) {
        const bool plain = (flags & (RF_ZENABLE | RF_FOG | RF_GOURAUD | RF_BLEND)) == 0;
        return plain && ctx->StippleEnabled == 0 ? Delta_Tri_XY_FLAT : Delta_Tri_XYZ_RGBF;
    }
    if (!firstPermedia) {
        return Delta_Tri_XYZ_STQ_RGBFS;
    }
    const bool mip = (flags & RF_MIPMAP) != 0;
    if ((flags & RF_SPECULAR) != 0) {
        return mip ? Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular : Delta_Tri_XYZ_STQ_RGB_FogSpecular;
    }
    return mip ? Delta_MipPMTri_XYZ_STQ_RGBF : Delta_Tri_XYZ_STQ_RGBF;
}

Renderer DeltaRenderer(const D3DContext* ctx, uint32_t flags) {
    const bool firstPermedia = IsFirstPermedia(ctx->Driver->ChipInfo);
    switch (ctx->FillMode) {
    case D3DFILL_POINT:
        return Delta_TriPoint_XYZ_RGBF;
    case D3DFILL_WIREFRAME:
        return DeltaWire(firstPermedia, flags);
    default:
        return DeltaSolid(ctx, firstPermedia, flags);
    }
}

Renderer HostSolid(const D3DContext* ctx, uint32_t flags) {
    if ((flags & RF_TEXTURE) != 0) {
        return TexturedHostTriangle(flags);
    }
    // What is flat, without depth or fog, but blended or stippled takes the member with depth.
    const bool flat = (flags & (RF_GOURAUD | RF_FOG | RF_ZENABLE)) == 0;
    if (flat && ((flags & (RF_BLEND | RF_STIPPLEDALPHA)) != 0 || ctx->StippleEnabled != 0)) {
        return Glint_Tri_XYZ_FLAT;
    }
    return PlainHostTriangle(flags);
}

Renderer HostRenderer(const D3DContext* ctx, uint32_t flags) {
    switch (ctx->FillMode) {
    case D3DFILL_POINT:
        return Glint_TriPoint_XYZ_STQ_RGBF;
    case D3DFILL_WIREFRAME:
        return Glint_TriWire_XYZ_STQ_RGBF;
    default:
        return HostSolid(ctx, flags);
    }
}

// The specialised member for exactly this state, or null.
Renderer P2FastRenderer(uint32_t flags) {
    constexpr uint32_t kIgnored = RF_MONO | RF_ZWRITE | RF_LASTPIXEL | RF_COLORKEY;
    constexpr uint32_t kBase = RF_GOURAUD | RF_ZENABLE | RF_PERSPECTIVE | RF_TEXTURE;
    switch (flags & ~kIgnored) {
    case kBase:
        return P2_GouraudTextureZ;
    case kBase | RF_SPECULAR:
        return P2_GouraudTextureKSZ;
    case kBase | RF_FOG:
        return P2_GouraudTextureFogZ;
    case kBase | RF_MIPMAP:
        return P2_GouraudTextureZMM;
    default:
        return nullptr;
    }
}

Renderer P2Solid(const D3DContext* ctx, uint32_t flags) {
    if ((flags & RF_TEXTURE) != 0) {
        return (flags & RF_MIPMAP) != 0 ? P2_MipTri_XYZ_STQ_RGBFS : P2_Tri_XYZ_STQ_RGBFS;
    }
    // A 24-bit target has no flat fast path.
    const PrivateSurfaceData* target = PrivateOf(ctx->RenderTargetSurface);
    const bool plain = (flags & (RF_BLEND | RF_ZENABLE | RF_GOURAUD | RF_FOG)) == 0 &&
                       ctx->StippleEnabled == 0 &&
                       (target == nullptr || target->PixelSize != PixelSize24);
    return plain ? P2_Tri_XY_FLATS : P2_Tri_XYZ_RGBFS;
}

Renderer P2Renderer(const D3DContext* ctx, uint32_t flags) {
    switch (ctx->FillMode) {
    case D3DFILL_POINT:
        return P2_TriPoint_XYZ_RGBFS;
    case D3DFILL_WIREFRAME:
        return (flags & RF_TEXTURE) != 0 ? P2_TriWire_XYZ_STQ_RGBFS : P2_TriWire_XYZ_RGBFS;
    default:
        return P2Solid(ctx, flags);
    }
}

} // namespace

void PickPermediaRenderProcs(D3DContext* ctx, uint32_t flags) {
    ctx->TriangleRenderer =
        ctx->UseDelta != 0 ? DeltaRenderer(ctx, flags) : HostRenderer(ctx, flags);
}

void PickP2RenderProcs(D3DContext* ctx, uint32_t flags) {
    // The specialised members wait for no FIFO space.
    const bool fastAllowed =
        ctx->Stream.CommandMode == kCommandModeDMA && ctx->FillMode == D3DFILL_SOLID;
    const Renderer fast = fastAllowed ? P2FastRenderer(flags) : nullptr;
    ctx->TriangleRenderer = fast != nullptr ? fast : P2Renderer(ctx, flags);
}
