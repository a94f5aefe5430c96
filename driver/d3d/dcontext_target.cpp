#include "driver/d3d/dcontext_target.h"

#include "driver/core/cursor.h"
#include "driver/core/dma.h"
#include "driver/d3d/execute.h"
#include "driver/heap/surface_pitch.h"

namespace {

// Reserved for a target: six pairs at most.
constexpr uint32_t kTargetBytes = 256;

// How a target's pixels are named to the chip.
struct TargetFormat {
    int8_t pixelSize;    // FBReadPixel on Permedia, PixelSize on Glint; -1: no target of the chip
    int8_t colourFormat; // of the dither and blend units; -1: stays as it is
};
constexpr TargetFormat kNoTarget = {-1, -1};

// By PixelSizeCode.
constexpr TargetFormat kPermediaFormats[] = {{0, 11}, {1, 1}, {2, 0}, kNoTarget, {4, -1}};
constexpr TargetFormat kGlintFormats[] = {{2, 14}, {1, 1}, {0, 0}, kNoTarget, {0, 0}};

// The entry of `formats` for `surface`; one that is not the driver's counts as the display's.
template <size_t N>
TargetFormat FormatOf(const TargetFormat (&formats)[N], const D3DContext* ctx,
                      const DDRAWI_DDRAWSURFACE_LCL* surface) {
    const PrivateSurfaceData* record = PrivateOf(surface);
    const uint32_t pixelSize = record != nullptr ? record->PixelSize : ctx->Driver->PixelSize;
    return pixelSize < N ? formats[pixelSize] : kNoTarget;
}

// The partial products of a surface's pitch as the low nine bits of a read mode.
uint32_t SurfaceProducts(const D3DContext* ctx, const DDRAWI_DDRAWSURFACE_LCL* surface) {
    const PrivateSurfaceData* record = PrivateOf(surface);
    if (record != nullptr && (record->Flags & SURFACE_READY) != 0) {
        return PartialProductCode(record->PartialProduct0, record->PartialProduct1,
                                  record->PartialProduct2);
    }
    uint32_t pp0;
    uint32_t pp1;
    uint32_t pp2;
    uint32_t unused;
    DeterminePPCode(ctx->Driver, surface->lpGbl->wWidth, &pp0, &pp1, &pp2, &unused);
    return PartialProductCode(pp0, pp1, pp2);
}

uint32_t DisplayProducts(const D3DContext* ctx) {
    return PartialProductCode(ctx->PartialProduct0, ctx->PartialProduct1, ctx->PartialProduct2);
}

constexpr uint32_t kProductsMask = PartialProductCode(7, 7, 7);

uint32_t PutProducts(uint32_t word, uint32_t products) {
    return (word & ~kProductsMask) | products;
}

// The depth unit's pitch, and the size of the target.
void WriteDepthPitchAndSize(StateWriter& out, D3DContext* ctx,
                            const DDRAWI_DDRAWSURFACE_LCL* target,
                            const DDRAWI_DDRAWSURFACE_LCL* zbuffer) {
    const uint32_t depth =
        zbuffer != nullptr ? SurfaceProducts(ctx, zbuffer) : DisplayProducts(ctx);
    ctx->Copies.LBReadMode = PutProducts(ctx->Copies.LBReadMode, depth);
    out.Tag(tag::LBReadMode, ctx->Copies.LBReadMode);
    out.Tag(tag::ScreenSize,
            static_cast<uint32_t>(target->lpGbl->wHeight) << 16 | target->lpGbl->wWidth);
}

void PutColourFormat(D3DContext* ctx, uint32_t format) {
    uint32_t& dither = ctx->Copies.DitherMode;
    uint32_t& blend = ctx->Copies.AlphaBlendMode;
    dither = field::DitherMode_ColorFormat.Put(dither, format);
    blend = field::AlphaBlendMode_ColorFormat.Put(blend, format);
}

void SetSurfaces(D3DContext* ctx, DDRAWI_DDRAWSURFACE_LCL* target,
                 DDRAWI_DDRAWSURFACE_LCL* zbuffer) {
    ctx->RenderTargetSurface = target;
    ctx->ZBufferSurface = zbuffer;
}

bool InSystemMemory(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return (surface->ddsCaps.dwCaps & DDSCAPS_SYSTEMMEMORY) != 0;
}

HRESULT SetRenderTarget(uint32_t handle, DDRAWI_DDRAWSURFACE_LCL* target,
                        DDRAWI_DDRAWSURFACE_LCL* zbuffer) {
    if (target == nullptr) {
        return DDERR_INVALIDPARAMS;
    }
    if (InSystemMemory(target) || (zbuffer != nullptr && InSystemMemory(zbuffer))) {
        return DDERR_CURRENTLYNOTAVAIL;
    }
    D3DContext* ctx = LiveContext(handle);
    if (ctx == nullptr) {
        return D3DHAL_CONTEXT_BAD;
    }
    SynchroniseContext(ctx);
    ChipInfo* chip = ctx->Driver->ChipInfo;
    {
        const CursorAway away(chip);
        if (chip->Family == FamilyPermedia) {
            SetupPermediaTargetData(ctx, target, zbuffer);
        } else {
            SetupGlintTargetData(ctx, target, zbuffer);
        }
    }
    ctx->DirtyFlags |= DIRTY_BLEND | DIRTY_Z | DIRTY_TARGET;
    return DD_OK;
}

} // namespace

uint32_t PutDisplayProducts(uint32_t word, const D3DContext* ctx) {
    return PutProducts(word, DisplayProducts(ctx));
}

void SetupPermediaTargetData(D3DContext* ctx, DDRAWI_DDRAWSURFACE_LCL* target,
                             DDRAWI_DDRAWSURFACE_LCL* zbuffer) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    StateWriter out(ctx);
    out.Reserve(kTargetBytes);
    out.Wait(10);
    // In rectangular allocation all surfaces share the stride of the display.
    const uint32_t colour =
        ctx->Driver->RectAlloc == 0 ? SurfaceProducts(ctx, target) : DisplayProducts(ctx);
    copies.FBReadMode = PutProducts(copies.FBReadMode, colour);
    out.Tag(tag::FBReadMode, copies.FBReadMode);
    WriteDepthPitchAndSize(out, ctx, target, zbuffer);

    const TargetFormat format = FormatOf(kPermediaFormats, ctx, target);
    if (format.pixelSize >= 0) {
        out.Tag(tag::FBReadPixel, static_cast<uint32_t>(format.pixelSize));
    }
    if (format.colourFormat >= 0) {
        PutColourFormat(ctx, static_cast<uint32_t>(format.colourFormat));
        copies.DitherMode = field::DitherMode_FormatExtension.Put(copies.DitherMode, 0);
        copies.AlphaBlendMode = field::AlphaBlendMode_FormatExtension.Put(copies.AlphaBlendMode, 0);
    }
    // Blend goes ahead of dither here, behind it on Glint.
    ctx->AlphaBlendModeOut = copies.AlphaBlendMode;
    out.Tag(tag::AlphaBlendMode, ctx->AlphaBlendModeOut);
    out.Tag(tag::DitherMode, copies.DitherMode);
    out.Store();
    SetSurfaces(ctx, target, zbuffer);
}

void SetupGlintTargetData(D3DContext* ctx, DDRAWI_DDRAWSURFACE_LCL* target,
                          DDRAWI_DDRAWSURFACE_LCL* zbuffer) {
    StateWriter out(ctx);
    out.Reserve(kTargetBytes);
    out.Wait(10);
    // FBReadMode keeps the pitch of the display: allocation is always rectangular.
    WriteDepthPitchAndSize(out, ctx, target, zbuffer);

    const TargetFormat format = FormatOf(kGlintFormats, ctx, target);
    if (format.pixelSize >= 0) {
        out.Tag(tag::PixelSize, static_cast<uint32_t>(format.pixelSize));
        PutColourFormat(ctx, static_cast<uint32_t>(format.colourFormat));
    }
    out.Tag(tag::DitherMode, ctx->Copies.DitherMode);
    out.Tag(tag::AlphaBlendMode, ctx->Copies.AlphaBlendMode);
    out.Store();
    SetSurfaces(ctx, target, zbuffer);
}

DWORD KORV_STDCALL SetRenderTarget32(D3DHAL_SETRENDERTARGETDATA* data) {
    data->ddrval = SetRenderTarget(data->dwhContext, LocalSurfaceOf(data->lpDDS),
                                   LocalSurfaceOf(data->lpDDSZ));
    return DDHAL_DRIVER_HANDLED;
}
