#include "board/values/format.h"

namespace board {

namespace {

uint32_t Cut(ChannelBits bits, int32_t value) {
    return static_cast<uint32_t>(value) >> (8 - bits.width) << bits.shift;
}

// Scales 0..255 to the channel's range and adds the threshold's share of one step before cutting,
// so that the mean over the matrix is the channel's own value.
uint32_t Dither(ChannelBits bits, int32_t value, uint32_t threshold) {
    if (bits.width == 8) {
        return static_cast<uint32_t>(value) << bits.shift;
    }
    const uint32_t top = (1u << bits.width) - 1;
    const uint32_t level =
        (static_cast<uint32_t>(value) * top * 32 + 255 * (2 * threshold + 1)) / (255 * 32);
    return level << bits.shift;
}

} // namespace

std::optional<PixelFormat> FormatOfCode(uint32_t code, uint32_t extension, bool redHigh) {
    switch (code) {
    case 0x0:
        return extension != 0 ? Layout(0, 5, 6, 5, redHigh) : Layout(8, 8, 8, 8, redHigh);
    case 0x1:
        return Layout(1, 5, 5, 5, redHigh);
    case 0x2:
        return Layout(4, 4, 4, 4, redHigh);
    case 0x4:
        if (extension == 0) {
            return std::nullopt;
        }
        return PackedFormat(redHigh);
    case 0x5:
    case 0xB: // Permedia's code for an 8-bit target
    case 0xE: // Glint's code for an 8-bit target
        return Layout(0, 3, 3, 2, redHigh);
    case 0x9:
        return Layout(1, 2, 3, 2, redHigh);
    default:
        return std::nullopt;
    }
}

PixelFormat PackedFormat(bool redHigh) {
    return Layout(0, 8, 8, 8, redHigh);
}

uint32_t EncodePixel(const PixelFormat& format, Colour colour) {
    return Cut(format.red, colour.red) | Cut(format.green, colour.green) |
           Cut(format.blue, colour.blue) |
           (format.alpha.width != 0 ? Cut(format.alpha, colour.alpha) : 0);
}

uint32_t EncodeDithered(const PixelFormat& format, Colour colour, uint32_t x, uint32_t y) {
    const uint32_t threshold = kDitherMatrix[y & 3][x & 3];
    return Dither(format.red, colour.red, threshold) |
           Dither(format.green, colour.green, threshold) |
           Dither(format.blue, colour.blue, threshold) |
           (format.alpha.width != 0 ? Cut(format.alpha, colour.alpha) : 0);
}

} // namespace board
