#pragma once
// What the blits of both families share: when a request must wait, how the chip is taken for it,
// and how it ends.
#include "driver/core/driverdata.h"
#include "driver/core/records/private_surface.h"
#include "driver/heap/surface_format.h"

#include <cstdint>

// High word of the raster operation that copies.
inline constexpr uint32_t kCopyRop = SRCCOPY >> 16;

// One request in work.
struct BlitRequest {
    DriverData* driver;
    DDHAL_BLTDATA* data;
    DDRAWI_DDRAWSURFACE_LCL* dest;
    DDRAWI_DDRAWSURFACE_LCL* source; // null in a fill
    PrivateSurfaceData* destPriv;    // null when the surface has none of the driver's
    PrivateSurfaceData* srcPriv;
    RECTL destRect; // copies: primitives change them, the request's own stay
    RECTL srcRect;
    uint32_t rop; // code of the raster operation, 0 to 255
};

// What became of a request.
enum class BlitOutcome {
    Done,
    Refused, // DirectDraw falls back to its own code
};

// True when the destination is still being flipped to. The result goes to the request.
bool BlitWaitsForFlip(DriverData* driver, DDHAL_BLTDATA* data);
// True when the request won't wait and DMA runs. The result goes to the request.
bool BlitWaitsForDMA(DriverData* driver, DDHAL_BLTDATA* data);

// Runs a request with the cursor away and the chip taken: `decide` says what becomes of it and
// draws. At the end nothing stays in the sub-buffer. A null source is as good as none. The
// callback's answer.
DWORD RunBlit(DriverData* driver, DDHAL_BLTDATA* data, BlitOutcome (*decide)(BlitRequest& blit));

// A request for a raster operation that is neither a fill nor a copy. Always refused.
BlitOutcome RefuseRop(const BlitRequest& blit);

// True when both rectangles have one size and no mirror is asked.
bool IsPlainCopy(const BlitRequest& blit);

// Bytes from FrameBufferBase to the surface.
inline uint32_t FrameBufferBytes(const BlitRequest& blit, const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return surface->lpGbl->fpVidMem - reinterpret_cast<uint32_t>(blit.driver->FrameBufferBase);
}

// Signed bytes from destination to source.
inline int32_t BytesToSource(const BlitRequest& blit) {
    return static_cast<int32_t>(blit.source->lpGbl->fpVidMem - blit.dest->lpGbl->fpVidMem);
}

// True when one of the surfaces is in patched layout and the other is not.
inline bool PatchingDiffers(const BlitRequest& blit) {
    return ((blit.destPriv->Flags ^ blit.srcPriv->Flags) & SURFACE_PATCHED) != 0;
}
