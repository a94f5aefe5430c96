#pragma once
// Pixel formats of surfaces.
#include "driver/core/records/private_surface.h"

#include <cstdint>

struct DriverData;

inline constexpr uint32_t kFourCCY411 = MAKEFOURCC('Y', '4', '1', '1');
inline constexpr uint32_t kFourCCYUY2 = MAKEFOURCC('Y', 'U', 'Y', '2');

// PrivateSurfaceData.Format of video texels and of colour-indexed ones of eight and four bits.
inline constexpr uint32_t kTexelFormatYUY2 = 3;
inline constexpr uint32_t kTexelFormatIndexed8 = 14;
inline constexpr uint32_t kTexelFormatIndexed4 = 15;

// True when the surface has the caps bit.
inline bool HasCaps(const DDRAWI_DDRAWSURFACE_LCL* surface, uint32_t caps) {
    return (surface->ddsCaps.dwCaps & caps) != 0;
}

// True for a surface that goes by a format of its own. The primary never does: whatever its record
// says, it has the display's.
inline bool HasOwnFormat(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return (surface->dwFlags & DDRAWISURF_HASPIXELFORMAT) != 0 &&
           !HasCaps(surface, DDSCAPS_PRIMARYSURFACE);
}

// True for such a surface whose format has the DDPF flag.
inline bool OwnFormatHas(const DDRAWI_DDRAWSURFACE_LCL* surface, uint32_t flag) {
    return HasOwnFormat(surface) && (surface->lpGbl->ddpfSurface.dwFlags & flag) != 0;
}

// The format in force: the surface's own, or the display's for the primary and for surfaces that
// have none.
const DDPIXELFORMAT* PixelFormatOf(const DDRAWI_DDRAWSURFACE_LCL* surface);
// Fills Flags, pixel size and format fields of `record` for `surface`.
void SetupPrivateSurfaceData(DriverData* driver, PrivateSurfaceData* record,
                             DDRAWI_DDRAWSURFACE_LCL* surface);
