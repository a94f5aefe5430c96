#include "driver/texture/textures_key.h"

#include "driver/core/records/private_surface.h"

namespace {

constexpr uint32_t kAlphaByte = 0xFF000000;

// A colour field of a pixel: lowest bit, and width up to 8 bits.
struct PixelField {
    uint32_t Low;
    uint32_t Width;
};

struct PixelLayout {
    PixelField Alpha; // width 0: none
    PixelField Red;
    PixelField Green;
    PixelField Blue;
};

constexpr PixelLayout kRGB332 = {{0, 0}, {5, 3}, {2, 3}, {0, 2}};
constexpr PixelLayout kARGB1232 = {{7, 1}, {5, 2}, {2, 3}, {0, 2}};
constexpr PixelLayout kARGB4444 = {{12, 4}, {8, 4}, {4, 4}, {0, 4}};
constexpr PixelLayout kARGB1555 = {{15, 1}, {10, 5}, {5, 5}, {0, 5}};
constexpr PixelLayout kRGB565 = {{0, 0}, {11, 5}, {5, 6}, {0, 5}};
constexpr PixelLayout kARGB8888 = {{24, 8}, {16, 8}, {8, 8}, {0, 8}};

constexpr uint32_t TopOfByte(uint32_t pixel, PixelField field) {
    return (pixel >> field.Low & ((1u << field.Width) - 1)) << (8 - field.Width);
}

constexpr uint32_t ChipColour(uint32_t pixel, const PixelLayout& layout) {
    return TopOfByte(pixel, layout.Alpha) << 24 | TopOfByte(pixel, layout.Blue) << 16 |
           TopOfByte(pixel, layout.Green) << 8 | TopOfByte(pixel, layout.Red);
}

// Without alpha in the key, any alpha matches.
KeyColours Expand(const DDCOLORKEY& key, const PixelLayout& layout, bool hasAlpha) {
    KeyColours colours = {ChipColour(key.dwColorSpaceLowValue, layout),
                          ChipColour(key.dwColorSpaceHighValue, layout)};
    if (!hasAlpha) {
        colours.Low &= ~kAlphaByte;
        colours.High |= kAlphaByte;
    }
    return colours;
}

} // namespace

const PALETTEENTRY* PaletteOf(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    const DDRAWI_DDRAWPALETTE_INT* palette = surface->lpDDPalette;
    if (palette == nullptr || palette->lpLcl == nullptr || palette->lpLcl->lpGbl == nullptr) {
        return nullptr;
    }
    return palette->lpLcl->lpGbl->lpColorTable;
}

KeyColours ExpandColourKey(const DDRAWI_DDRAWSURFACE_LCL* surface, const DDPIXELFORMAT& format,
                           uint32_t pixelSize, bool swapsAlphaFormats) {
    const DDCOLORKEY& key = surface->ddckCKSrcBlt;
    const KeyColours unchanged = {key.dwColorSpaceLowValue, key.dwColorSpaceHighValue};
    if (IsPaletteFormat(format)) {
        const PALETTEENTRY* palette = PaletteOf(surface);
        if (palette == nullptr) {
            return unchanged;
        }
        const uint32_t mask = (format.dwFlags & DDPF_PALETTEINDEXED4) != 0 ? 0xF : 0xFF;
        const uint32_t colour = OpaqueChipColour(palette[key.dwColorSpaceLowValue & mask]);
        return {colour & ~kAlphaByte, colour};
    }
    const bool hasAlpha = format.dwRGBAlphaBitMask != 0;
    switch (pixelSize) {
    case PixelSize8:
        return format.dwRBitMask == 0xE0 ? Expand(key, kRGB332, false)
                                         : Expand(key, kARGB1232, hasAlpha);
    case PixelSize16:
        switch (format.dwRBitMask) {
        case 0xF00:
            return Expand(key, kARGB4444, true);
        case 0x7C00:
            return Expand(key, kARGB1555, hasAlpha);
        default:
            return Expand(key, kRGB565, false);
        }
    case PixelSize32:
    case PixelSize24:
        if (hasAlpha && !swapsAlphaFormats) {
            return unchanged;
        }
        return Expand(key, kARGB8888, hasAlpha);
    default:
        return unchanged;
    }
}
