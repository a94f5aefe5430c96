#pragma once
// The driver's private record of each surface: what it looks like to the chip.
#include "driver/platform/ddhal.h"

#include <cstddef>
#include <cstdint>

struct D3DContext;

inline constexpr uint32_t kSurfaceMagic = 0xD3D10110;

// PrivateSurfaceData.Flags.
enum SurfaceFlag : uint32_t {
    SURFACE_PATCHED = 0x01,      // memory holds the chip's patched layout
    SURFACE_READY = 0x02,        // pitch and products are final
    SURFACE_FORMAT_VALID = 0x08, // the format fields were understood
    SURFACE_PRIMARY = 0x10,
    SURFACE_SHORT_Z = 0x20,     // Glint Z buffer of a depth other than 32
    SURFACE_PATCHED_NOW = 0x40, // patched contents at this moment
    SURFACE_VIDEOPORT = 0x80,
};

// PrivateSurfaceData.PixelSize. Codes 0 to 2 are also the chip's depth codes.
enum PixelSizeCode : uint32_t {
    PixelSize8 = 0,
    PixelSize16 = 1,
    PixelSize32 = 2,
    PixelSize4 = 3,
    PixelSize24 = 4,
};

// Hangs on dwReserved1 of the surface's global record.
struct PrivateSurfaceData {
    uint32_t MagicNo;
    uint32_t Flags;
    uint32_t PartialProduct0; // codes of the pitch in pixels
    uint32_t PartialProduct1;
    uint32_t PartialProduct2;
    uint32_t PartialProduct3; // not part of PPCode
    uint32_t PPCode;          // the three codes as the mode words take them
    uint32_t PackedPP0;       // codes of the pitch in 32-bit words
    uint32_t PackedPP1;
    uint32_t PackedPP2;
    uint32_t Spare0;
    uint32_t PackedPPCode;
    uint32_t LogWidth; // filled by the texture code
    uint32_t LogHeight;
    uint32_t PixelSize;    // PixelSizeCode
    uint32_t LogPixelBits; // 2..5; 0 for 24-bit
    uint32_t Format;       // chip texel format
    uint32_t FormatExtension;
    uint32_t FormatComponents;
    uint32_t FormatOrder;
    uint32_t RedMask;
    uint32_t GreenMask;
    uint32_t BlueMask;
    uint32_t AlphaMask;
    uint32_t HasAlpha;
    DDRAWI_DDRAWSURFACE_LCL* Surface;
    uint32_t Spare1;
    uint32_t LUTAddress;      // word address of a loaded palette, 0 until then
    D3DContext* OwnerContext; // the context that last aimed at this surface
};
static_assert(sizeof(PrivateSurfaceData) == 116);
static_assert(offsetof(PrivateSurfaceData, PPCode) == 24 &&
              offsetof(PrivateSurfaceData, PixelSize) == 56 &&
              offsetof(PrivateSurfaceData, Surface) == 100 &&
              offsetof(PrivateSurfaceData, OwnerContext) == 112);

// The private record of a surface, or null when there is none or it is not the driver's.
inline PrivateSurfaceData* PrivateOf(const DDRAWI_DDRAWSURFACE_GBL* surface) {
    auto* record = reinterpret_cast<PrivateSurfaceData*>(surface->dwReserved1);
    return record != nullptr && record->MagicNo == kSurfaceMagic ? record : nullptr;
}
inline PrivateSurfaceData* PrivateOf(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return PrivateOf(surface->lpGbl);
}

// The partial-product codes as one 9-bit field of a mode word.
constexpr uint32_t PartialProductCode(uint32_t pp0, uint32_t pp1, uint32_t pp2) {
    return (pp2 * 8 + pp1) * 8 + pp0;
}

// Local object behind an interface pointer that may be null.
inline DDRAWI_DDRAWSURFACE_LCL* LocalSurfaceOf(LPDIRECTDRAWSURFACE surface) {
    return surface != nullptr ? surface->lpLcl : nullptr;
}
