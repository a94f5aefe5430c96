#pragma once
// Pixel formats: where the channels lie in a pixel, and conversion to and from colours.
#include <cstdint>
#include <optional>

#include "board/colour.h"

namespace board {

// A channel's lowest bit and width in bits; width 0 where the format has no such channel.
struct ChannelBits {
    uint8_t shift, width;
};

struct PixelFormat {
    ChannelBits red, green, blue, alpha;
};

// The format named by a ColorFormat code with its FormatExtension bit, none for unknown codes.
// With `redHigh` red lies in the high bits of the pixel, otherwise blue does; alpha is topmost in
// both orders.
std::optional<PixelFormat> FormatOfCode(uint32_t code, uint32_t extension, bool redHigh);

// 8:8:8, the only format of 24-bit pixels.
PixelFormat PackedFormat(bool redHigh);

// Cuts each channel to the format's width.
uint32_t EncodePixel(const PixelFormat& format, Colour colour);

// As EncodePixel, with an ordered 4x4 dither of colour channels narrower than 8 bits; x and y are
// the pixel's place. Alpha is cut.
uint32_t EncodeDithered(const PixelFormat& format, Colour colour, uint32_t x, uint32_t y);

// Widens each channel to 8 bits by repeating its bits. A missing alpha reads as 255.
Colour ExpandPixel(const PixelFormat& format, uint32_t pixel);

} // namespace board
