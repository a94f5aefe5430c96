#include "host/ddraw/format.h"

namespace host {

DDPIXELFORMAT RgbFormat(uint32_t bits, uint32_t red, uint32_t green, uint32_t blue,
                        uint32_t alpha) {
    DDPIXELFORMAT format{};
    format.dwSize = sizeof(format);
    format.dwFlags = DDPF_RGB | (alpha != 0 ? DDPF_ALPHAPIXELS : 0);
    format.dwRGBBitCount = bits;
    format.dwRBitMask = red;
    format.dwGBitMask = green;
    format.dwBBitMask = blue;
    format.dwRGBAlphaBitMask = alpha;
    return format;
}

DDPIXELFORMAT PaletteFormat(uint32_t bits) {
    DDPIXELFORMAT format = RgbFormat(bits, 0, 0, 0);
    format.dwFlags |= bits == 4 ? DDPF_PALETTEINDEXED4 : DDPF_PALETTEINDEXED8;
    return format;
}

DDPIXELFORMAT DepthFormat(uint32_t bits) {
    DDPIXELFORMAT format{};
    format.dwSize = sizeof(format);
    format.dwFlags = DDPF_ZBUFFER;
    format.dwZBufferBitDepth = bits;
    format.dwZBitMask = bits == 32 ? 0xFFFFFFFF : (1u << bits) - 1;
    return format;
}

DDPIXELFORMAT FourCCFormat(uint32_t code, uint32_t bits) {
    DDPIXELFORMAT format{};
    format.dwSize = sizeof(format);
    format.dwFlags = DDPF_FOURCC;
    format.dwFourCC = code;
    format.dwYUVBitCount = bits;
    return format;
}

DDPIXELFORMAT DisplayFormat(uint32_t bits) {
    switch (bits) {
    case 8:
        return PaletteFormat(8);
    case 16:
        return Format555();
    case 24:
        return Format888();
    default:
        return FormatX888();
    }
}

uint32_t BitsOf(const DDPIXELFORMAT& format) {
    return format.dwRGBBitCount;
}

} // namespace host
