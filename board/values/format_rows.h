#pragma once
// Conversion between rows of pixels and of colour words. The forms of format.h say what comes out;
// these are loops over whole blocks, made for each usual format, with one for all others.
#include "board/values/format.h"

#include <cstdint>

namespace board {

// Arrays of whole blocks (row.h). `to` may be `from`.
using ConvertRow = void (*)(const PixelFormat& format, int32_t pixels, const uint32_t* from,
                            uint32_t* to);
// (x, y) is the place of the first pixel.
using DitherRow = void (*)(const PixelFormat& format, int32_t pixels, const uint32_t* colours,
                           uint32_t x, uint32_t y, uint32_t* to);

// The functions for rows of a format; they are to be called with the same one.
ConvertRow ExpandRowOf(const PixelFormat& format); // ExpandPixel
ConvertRow EncodeRowOf(const PixelFormat& format); // EncodePixel
DitherRow DitherRowOf(const PixelFormat& format);  // EncodeDithered

} // namespace board
