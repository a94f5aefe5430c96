#pragma once
// The table of blit primitives, which serves both chip families.
//
// A primitive gets rectangles that it may change: they are the request's own copies. Strides and
// offsets are in pixels. An absolute offset counts from the start of the frame buffer, or of the
// local buffer where the primitive draws there; a relative one is the signed way from the
// destination's memory to the source's.
#include "driver/core/driverdata.h"
#include "driver/core/records/private_surface.h"

#include <cstddef>
#include <cstdint>

// A copy between two surfaces, each at its own stride. `logicOp` is the chip's code.
using SurfaceCopyFunction = void (*)(DriverData* driver, int32_t destStride, int32_t srcStride,
                                     PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                                     RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                                     int32_t srcRelative, uint32_t logicOp);
// A stretch or keyed copy: mirror flags and colour key come from the request.
using StretchFunction = void (*)(DriverData* driver, DDHAL_BLTDATA* bltData,
                                 PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                                 RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                                 uint32_t srcOffset);
// A stretching copy of YUV data. `bltFX` is not looked at.
using YUVFunction = void (*)(DriverData* driver, DDBLTFX* bltFX, PrivateSurfaceData* destPriv,
                             PrivateSurfaceData* srcPriv, RECTL* destRect, RECTL* srcRect,
                             uint32_t destOffset, uint32_t srcOffset);
// A keyed copy with both surfaces at one stride.
using KeyedCopyFunction = void (*)(DriverData* driver, DDHAL_BLTDATA* bltData, int32_t stride,
                                   PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                                   RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                                   int32_t srcRelative);
// A copy within the screen.
using ScreenCopyFunction = void (*)(DriverData* driver, RECTL* destRect, RECTL* srcRect,
                                    int32_t stride, uint32_t destOffset, int32_t srcRelative,
                                    uint32_t logicOp);
// A load from system memory.
using DownloadFunction = void (*)(DriverData* driver, PrivateSurfaceData* destPriv,
                                  DDRAWI_DDRAWSURFACE_LCL* source, RECTL* srcRect,
                                  DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect);
// A fill. `fill` is a pixel of the surface, not yet spread over a word.
using PermediaClearFunction = void (*)(DriverData* driver, DDRAWI_DDRAWSURFACE_GBL* surface,
                                       RECTL* destRect, uint32_t offset, uint32_t fill);
using LocalClearFunction = void (*)(DriverData* driver, DDRAWI_DDRAWSURFACE_LCL* surface,
                                    RECTL* destRect, uint32_t offset, uint32_t fill);
using ScreenClearFunction = void (*)(DriverData* driver, RECTL* destRect, uint32_t destOffset,
                                     uint32_t fill);

// The primitives for one mode, shared by both families and all displays.
struct CHIPRenderTable {
    uint32_t ModeKey; // the mode for which the table was filled
    SurfaceCopyFunction PackedCopyBlt;
    SurfaceCopyFunction PatchedCopyBlt; // between patched and unpatched memory
    StretchFunction StretchCopyBlt;
    PermediaClearFunction FastClear;
    PermediaClearFunction FastLBClear; // of a Z buffer
    StretchFunction SourceChromaBlt;   // rewritten by each keyed blit on Permedia
    YUVFunction YUVBlt;
    DownloadFunction PackedDisplayDownload; // kept as an outside name: nothing here calls it
    DownloadFunction PackedDownload;
    DownloadFunction PatchedDownload;
    DownloadFunction Bypass4BitDownload;
    ScreenCopyFunction ScreenCopyBlt;
    SurfaceCopyFunction LBCopyBlt;
    ScreenClearFunction GlintClear;
    LocalClearFunction GlintLBClear;
    DownloadFunction TXPatchedDownload;
    DownloadFunction TXPackedDownload;
    KeyedCopyFunction MXChromaBlt; // rewritten by each keyed blit on Glint
    StretchFunction MXStretchBlt;
};
static_assert(sizeof(CHIPRenderTable) == 20 * 4);
static_assert(offsetof(CHIPRenderTable, PackedDisplayDownload) == 8 * 4);
static_assert(offsetof(CHIPRenderTable, ScreenCopyBlt) == 12 * 4);
static_assert(offsetof(CHIPRenderTable, MXStretchBlt) == 19 * 4);

extern CHIPRenderTable CHIPRender;

// Fills CHIPRender for the driver's mode; nothing without a driver or its chip.
void SetupFnTable(DriverData* driver);

// Takes the chip for drawing in two dimensions: CHIPRender is of the driver's mode, the chip in the
// two-dimensional context.
void TakeChipFor2D(DriverData* driver);
