#pragma once
// Pixel formats as applications and the 16-bit display driver name them.
#include "driver/platform/ddraw.h"

#include <cstdint>

namespace host {

DDPIXELFORMAT RgbFormat(uint32_t bits, uint32_t red, uint32_t green, uint32_t blue,
                        uint32_t alpha = 0);
DDPIXELFORMAT PaletteFormat(uint32_t bits); // 4 or 8
DDPIXELFORMAT DepthFormat(uint32_t bits);   // 16 or 32
DDPIXELFORMAT FourCCFormat(uint32_t code, uint32_t bits);

inline DDPIXELFORMAT Format332() {
    return RgbFormat(8, 0xE0, 0x1C, 0x03);
}
inline DDPIXELFORMAT Format555() {
    return RgbFormat(16, 0x7C00, 0x03E0, 0x001F);
}
inline DDPIXELFORMAT Format1555() {
    return RgbFormat(16, 0x7C00, 0x03E0, 0x001F, 0x8000);
}
inline DDPIXELFORMAT Format565() {
    return RgbFormat(16, 0xF800, 0x07E0, 0x001F);
}
inline DDPIXELFORMAT Format4444() {
    return RgbFormat(16, 0x0F00, 0x00F0, 0x000F, 0xF000);
}
inline DDPIXELFORMAT Format888() {
    return RgbFormat(24, 0xFF0000, 0x00FF00, 0x0000FF);
}
inline DDPIXELFORMAT Format8888() {
    return RgbFormat(32, 0xFF0000, 0x00FF00, 0x0000FF, 0xFF000000);
}
inline DDPIXELFORMAT FormatX888() {
    return RgbFormat(32, 0xFF0000, 0x00FF00, 0x0000FF);
}

// The format of a display mode: 8 palette, 16 as 5:5:5, 24 and 32 as 8:8:8.
DDPIXELFORMAT DisplayFormat(uint32_t bits);

// Bits per pixel, whatever kind of format it is.
uint32_t BitsOf(const DDPIXELFORMAT& format);

} // namespace host
