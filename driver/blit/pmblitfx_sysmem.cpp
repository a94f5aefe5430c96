// Copies by the processor, for memory that the chip's frame buffer path does not reach.
#include "driver/blit/pmblitfx.h"
#include "driver/heap/surface_format.h"

#include <cstdint>

namespace {

constexpr uint8_t kLowNibble = 0x0F;
constexpr uint8_t kHighNibble = 0xF0;

uint8_t* LineOf(const DDRAWI_DDRAWSURFACE_LCL* surface, int32_t line) {
    return reinterpret_cast<uint8_t*>(surface->lpGbl->fpVidMem +
                                      static_cast<uint32_t>(line * surface->lpGbl->lPitch));
}

// The nibbles of `mask` from one byte into another; the rest of that stays.
void MergeNibble(uint8_t* to, const uint8_t* from, uint8_t mask) {
    *to = static_cast<uint8_t>((*to & ~mask) | (*from & mask));
}

// By words, and the remainder by bytes. Nothing for a negative count.
void CopyBytes(uint8_t* to, const uint8_t* from, int32_t bytes) {
    for (; bytes >= 4; bytes -= 4) {
        __builtin_memcpy(to, from, 4);
        to += 4;
        from += 4;
    }
    for (; bytes > 0; --bytes) {
        *to++ = *from++;
    }
}

// A position of 4-bit pixels: an even one is the low nibble of its byte.
struct NibblePosition {
    uint8_t* At;
    bool High;

    uint32_t Read() const { return High ? *At >> 4 : *At & kLowNibble; }
    void Write(uint32_t pixel) {
        *At = static_cast<uint8_t>(High ? (*At & kLowNibble) | pixel << 4
                                        : (*At & kHighNibble) | pixel);
    }
    void Step() {
        At += High;
        High = !High;
    }
};

// A line of pixels that change their place in the byte.
void CopyShiftedNibbles(NibblePosition to, NibblePosition from, int32_t pixels) {
    for (; pixels > 0; --pixels) {
        to.Write(from.Read());
        to.Step();
        from.Step();
    }
}

// A line of pixels that keep their place in the byte. Each odd end takes one byte from the count,
// and an odd width is not rounded up: the bytes copied whole are these and no more.
void CopyAlignedNibbles(uint8_t* to, const uint8_t* from, const RECTL& source) {
    const bool oddLeft = (source.left & 1) != 0;
    const bool oddRight = (source.right & 1) != 0;
    int32_t bytes = (source.right - source.left) / 2 - oddLeft - oddRight;
    if (oddLeft) {
        MergeNibble(to++, from++, kHighNibble);
    }
    CopyBytes(to, from, bytes);
    if (oddRight) {
        bytes = bytes > 0 ? bytes : 0;
        MergeNibble(to + bytes, from + bytes, kLowNibble);
    }
}

} // namespace

void SysMemToSysMemSurfaceCopy(DDRAWI_DDRAWSURFACE_LCL* source, DDRAWI_DDRAWSURFACE_LCL* dest,
                               const RECTL* sourceRect, const RECTL* destRect) {
    const RECTL& area = *sourceRect;
    uint8_t* from = LineOf(source, area.top);
    uint8_t* to = LineOf(dest, destRect->top);
    const int32_t width = area.right - area.left;
    const uint32_t sourceBits = PixelFormatOf(source)->dwRGBBitCount;
    const bool oddSource = (area.left & 1) != 0;
    const bool oddDest = (destRect->left & 1) != 0;
    const bool nibbles = sourceBits == 4;
    const auto sourceBytes = static_cast<int32_t>(sourceBits / 8);
    if (nibbles) {
        from += area.left / 2;
        to += destRect->left / 2;
    } else {
        from += sourceBytes * area.left;
        to += static_cast<int32_t>(PixelFormatOf(dest)->dwRGBBitCount / 8) * destRect->left;
    }
    for (int32_t line = area.top; line < area.bottom; ++line) {
        if (!nibbles) {
            CopyBytes(to, from, sourceBytes * width);
        } else if (oddSource != oddDest) {
            CopyShiftedNibbles({to, oddDest}, {from, oddSource}, width);
        } else {
            CopyAlignedNibbles(to, from, area);
        }
        from += source->lpGbl->lPitch;
        to += dest->lpGbl->lPitch;
    }
}
