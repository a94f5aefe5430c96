#pragma once
// A fill's pixel spread over the chip's 32-bit word.
#include "driver/core/records/private_surface.h"

#include <cstdint>

// `fill` repeated through the word as pixels of code `pixelSize` lie in it. Pixels of 24 bits take
// one word each, with their lowest byte again at the top.
constexpr uint32_t ReplicateFill(uint32_t fill, uint32_t pixelSize) {
    switch (pixelSize) {
    case PixelSize8:
        return (fill & 0xFF) * 0x01010101u;
    case PixelSize16:
        return (fill & 0xFFFF) * 0x00010001u;
    case PixelSize24:
        return (fill & 0xFFFFFF) | fill << 24;
    default:
        return fill;
    }
}
