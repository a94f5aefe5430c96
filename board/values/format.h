#pragma once
// Pixel formats: where the channels lie in a pixel, and conversion to and from colours.
#include "board/values/colour.h"

#include <cstdint>
#include <optional>

namespace board {

// A channel's lowest bit and width in bits; width 0 where the format has no such channel.
struct ChannelBits {
    uint8_t shift, width;
    bool operator==(const ChannelBits&) const = default;
};

struct PixelFormat {
    ChannelBits red, green, blue, alpha;
    bool operator==(const PixelFormat&) const = default;
};

// The format of so many bits of each channel. With `redHigh` red lies in the high bits of the
// pixel, otherwise blue does; alpha is topmost in both orders.
constexpr PixelFormat Layout(uint8_t alpha, uint8_t red, uint8_t green, uint8_t blue,
                             bool redHigh) {
    const auto sum = [](int a, int b) { return static_cast<uint8_t>(a + b); };
    const uint8_t redShift = redHigh ? sum(green, blue) : uint8_t{0};
    const uint8_t greenShift = redHigh ? blue : red;
    const uint8_t blueShift = redHigh ? uint8_t{0} : sum(red, green);
    return {{redShift, red},
            {greenShift, green},
            {blueShift, blue},
            {sum(red, sum(green, blue)), alpha}};
}

// The format named by a ColorFormat code with its FormatExtension bit, none for unknown codes.
std::optional<PixelFormat> FormatOfCode(uint32_t code, uint32_t extension, bool redHigh);

// 8:8:8, the only format of 24-bit pixels.
PixelFormat PackedFormat(bool redHigh);

// Ordered dither of 4 x 4 pixels: thresholds 0 to 15, each once, neighbours far apart.
inline constexpr uint8_t kDitherMatrix[4][4] = {
    {0, 11, 2, 9},
    {6, 13, 4, 15},
    {3, 8, 1, 10},
    {5, 14, 7, 12},
};

// Cuts each channel to the format's width.
uint32_t EncodePixel(const PixelFormat& format, Colour colour);

// As EncodePixel, with an ordered 4x4 dither of colour channels narrower than 8 bits; x and y are
// the pixel's place. Alpha is cut.
uint32_t EncodeDithered(const PixelFormat& format, Colour colour, uint32_t x, uint32_t y);

// A channel's bits moved to the top of a byte, the bits below 0; `missing` where it has none.
constexpr int32_t ChannelField(ChannelBits bits, uint32_t pixel, int32_t missing) {
    const uint32_t field = pixel >> bits.shift & ((1u << bits.width) - 1);
    return bits.width == 0 ? missing : static_cast<int32_t>(field << (8 - bits.width));
}

// A channel widened to 8 bits by repeating its bits: its field times a sum of powers of two.
constexpr int32_t ChannelValue(ChannelBits bits, uint32_t pixel, int32_t missing) {
    constexpr struct {
        uint8_t factor, shift;
    } kRepeat[9] = {{0, 0},  {255, 0}, {85, 0},  {73, 1}, {17, 0},
                    {33, 2}, {65, 4},  {129, 6}, {1, 0}};
    const uint32_t field = pixel >> bits.shift & ((1u << bits.width) - 1);
    const auto repeat = kRepeat[bits.width];
    return bits.width == 0 ? missing : static_cast<int32_t>(field * repeat.factor >> repeat.shift);
}

// Widens each channel to 8 bits by repeating its bits. A missing alpha reads as 255.
constexpr Colour ExpandPixel(const PixelFormat& format, uint32_t pixel) {
    return {ChannelValue(format.red, pixel, 0), ChannelValue(format.green, pixel, 0),
            ChannelValue(format.blue, pixel, 0), ChannelValue(format.alpha, pixel, 255)};
}

// Moves each channel to the top of its byte and leaves the bits below 0. A missing alpha reads as
// 255.
constexpr Colour PixelFields(const PixelFormat& format, uint32_t pixel) {
    return {ChannelField(format.red, pixel, 0), ChannelField(format.green, pixel, 0),
            ChannelField(format.blue, pixel, 0), ChannelField(format.alpha, pixel, 255)};
}

} // namespace board
