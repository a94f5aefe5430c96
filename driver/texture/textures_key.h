#pragma once
// Colour keys and palettes of textures, in the chip's colour order: alpha in the top byte, then
// blue, green, and red in the low byte.
#include "driver/platform/ddhal.h"

#include <cstdint>

struct KeyColours {
    uint32_t Low;
    uint32_t High;
};

// Expands the surface's source colour key, stored in `format` with pixels of code `pixelSize`, into
// chip colours: each field goes to the top of its byte, the bits below are 0. `swapsAlphaFormats`:
// red and blue change places in 32-bit formats with alpha too.
KeyColours ExpandColourKey(const DDRAWI_DDRAWSURFACE_LCL* surface, const DDPIXELFORMAT& format,
                           uint32_t pixelSize, bool swapsAlphaFormats);

// True for a format whose pixels are palette indices.
inline bool IsPaletteFormat(const DDPIXELFORMAT& format) {
    return (format.dwFlags & (DDPF_PALETTEINDEXED4 | DDPF_PALETTEINDEXED8)) != 0;
}

// The bounds of the key test: the low three bits of each byte do not count.
inline KeyColours WidenKey(const KeyColours& key) {
    return {key.Low & 0xF8F8F8F8, key.High | 0x07070707};
}

// Colour table of the surface's palette, or null.
const PALETTEENTRY* PaletteOf(const DDRAWI_DDRAWSURFACE_LCL* surface);

// A palette entry as an opaque chip colour.
inline uint32_t OpaqueChipColour(const PALETTEENTRY& entry) {
    return 0xFF000000u | uint32_t{entry.peBlue} << 16 | uint32_t{entry.peGreen} << 8 | entry.peRed;
}
