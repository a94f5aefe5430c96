#include "board/values/format.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct Known {
    uint32_t code, extension;
    int alpha, red, green, blue; // bits, alpha topmost, then red, green, blue when red is high
};

constexpr Known kFormats[] = {
    {0x0, 0, 8, 8, 8, 8}, {0x0, 1, 0, 5, 6, 5}, {0x1, 0, 1, 5, 5, 5},
    {0x2, 0, 4, 4, 4, 4}, {0x5, 0, 0, 3, 3, 2}, {0x9, 0, 1, 2, 3, 2},
    {0xB, 0, 0, 3, 3, 2}, {0xE, 0, 0, 3, 3, 2}, {0x4, 1, 0, 8, 8, 8},
};

uint32_t Pack(const Known& f, bool redHigh, uint32_t a, uint32_t r, uint32_t g, uint32_t b) {
    uint32_t word = a;
    if (redHigh) {
        word = word << f.red | r;
        word = word << f.green | g;
        return word << f.blue | b;
    }
    word = word << f.blue | b;
    word = word << f.green | g;
    return word << f.red | r;
}

TEST(Format, EncodeCutsEachChannelIntoItsPlace) {
    for (const Known& f : kFormats) {
        for (const bool redHigh : {false, true}) {
            const auto format = board::FormatOfCode(f.code, f.extension, redHigh);
            ASSERT_TRUE(format);
            for (int v = 0; v < 256; v += 5) {
                const board::Colour c{v, 255 - v, v ^ 0x5A, (v * 7) & 255};
                const auto cut = [](int value, int bits) {
                    return static_cast<uint32_t>(value) >> (8 - bits);
                };
                EXPECT_EQ(board::EncodePixel(*format, c),
                          Pack(f, redHigh, f.alpha != 0 ? cut(c.alpha, f.alpha) : 0,
                               cut(c.red, f.red), cut(c.green, f.green), cut(c.blue, f.blue)))
                    << f.code << ' ' << v;
            }
        }
    }
}

TEST(Format, ExpandRepeatsTheBitsOfAChannel) {
    for (const Known& f : kFormats) {
        for (const bool redHigh : {false, true}) {
            const auto format = *board::FormatOfCode(f.code, f.extension, redHigh);
            for (uint32_t v = 0; v < 256; ++v) {
                const auto keep = [v](int bits) { return v & ((1u << bits) - 1); };
                // The value's bits over and over, cut at eight.
                const auto widen = [](uint32_t value, int bits) {
                    uint64_t run = 0;
                    int length = 0;
                    while (length < 8) {
                        run = run << bits | value;
                        length += bits;
                    }
                    return static_cast<int32_t>(run >> (length - 8));
                };
                const board::Colour out =
                    board::ExpandPixel(format, Pack(f, redHigh, keep(f.alpha), keep(f.red),
                                                    keep(f.green), keep(f.blue)));
                ASSERT_EQ(out.red, widen(keep(f.red), f.red));
                ASSERT_EQ(out.green, widen(keep(f.green), f.green));
                ASSERT_EQ(out.blue, widen(keep(f.blue), f.blue));
                ASSERT_EQ(out.alpha, f.alpha != 0 ? widen(keep(f.alpha), f.alpha) : 255);
            }
        }
    }
}

TEST(Format, FullAndEmptyChannelsSurviveTheRoundTrip) {
    for (const Known& f : kFormats) {
        const auto format = *board::FormatOfCode(f.code, f.extension, true);
        const board::Colour white{255, 255, 255, 255};
        const board::Colour black{0, 0, 0, 255};
        EXPECT_EQ(board::ExpandPixel(format, board::EncodePixel(format, white)), white);
        EXPECT_EQ(board::ExpandPixel(format, board::EncodePixel(format, black)), black);
    }
}

TEST(Format, KnownPixels) {
    const board::Colour orange{255, 128, 64, 255};
    const auto encode = [&](uint32_t code, uint32_t extension, bool redHigh) {
        return board::EncodePixel(*board::FormatOfCode(code, extension, redHigh), orange);
    };
    EXPECT_EQ(encode(0, 0, true), 0xFFFF8040u);
    EXPECT_EQ(encode(0, 0, false), 0xFF4080FFu);
    EXPECT_EQ(encode(0, 1, true), 0xFC08u);
    EXPECT_EQ(encode(0, 1, false), 0x441Fu);
    EXPECT_EQ(encode(1, 0, true), 0xFE08u);
    EXPECT_EQ(encode(2, 0, true), 0xFF84u);
    EXPECT_EQ(encode(5, 0, true), 0xF1u);
    EXPECT_EQ(encode(9, 0, true), 0xF1u);
    EXPECT_EQ(encode(4, 1, true), 0xFF8040u);
}

TEST(Format, UnknownCodesHaveNoFormatAndAreCounted) {
    EXPECT_FALSE(board::FormatOfCode(3, 0, true));
    EXPECT_FALSE(board::FormatOfCode(4, 0, true));
    rig::Rig r;
    r.Send({{tag::DitherMode, 1 | 3 << 2}});
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.board.FaultReport().unmodelled.size(), 1u);
}

TEST(Format, DitherModeFormatsTheTarget) {
    struct Case {
        uint32_t pixelSize, mode, expected;
    };
    constexpr uint32_t kOrder = 1u << 10;
    constexpr uint32_t kExtension = 1u << 16;
    for (const Case& c : {
             Case{rig::k32Bits, 1 | kOrder, 0xFFFF8040}, Case{rig::k32Bits, 1, 0xFF4080FF},
             Case{rig::k16Bits, 1 | kOrder | kExtension, 0xFC08},
             Case{rig::k16Bits, 1 | kOrder | 1 << 2, 0xFE08},
             Case{rig::k8Bits, 1 | kOrder | 0xB << 2, 0xF1},
             Case{rig::k24Bits, 1 | kOrder, 0xFF8040},          // 8:8:8 whatever
             Case{rig::k24Bits, 1 | kOrder | 1 << 2, 0xFF8040}, // the field says
             Case{rig::k16Bits, 0, 0x80FF},                     // unit off: the raw word
         }) {
        rig::Rig r;
        r.Send({{tag::FBReadPixel, c.pixelSize},
                {tag::DitherMode, c.mode},
                {tag::Color, 0xFF4080FF}}); // red in the low byte: 255, 128, 64
        r.Rectangle(0, 0, 1, 1);
        EXPECT_EQ(r.Element<uint32_t>(0), c.expected) << std::hex << c.mode;
    }
}

TEST(Format, DitherPreservesTheMean) {
    for (const Known& f : kFormats) {
        const auto format = *board::FormatOfCode(f.code, f.extension, true);
        for (int v = 0; v < 256; ++v) {
            double red = 0, green = 0, blue = 0;
            for (uint32_t y = 4; y < 8; ++y) {
                for (uint32_t x = 8; x < 12; ++x) {
                    const uint32_t pixel = board::EncodeDithered(format, {v, v, v, 255}, x, y);
                    const auto level = [&](board::ChannelBits bits) {
                        const double top = (1 << bits.width) - 1;
                        return (pixel >> bits.shift & ((1u << bits.width) - 1)) / top * 255;
                    };
                    red += level(format.red) / 16;
                    green += level(format.green) / 16;
                    blue += level(format.blue) / 16;
                }
            }
            // Sixteen thresholds: the mean is right to half of a sixteenth of a level.
            const auto tolerance = [](int bits) {
                return bits == 8 ? 0.0 : 255.0 / ((1 << bits) - 1) / 32 + 1e-9;
            };
            ASSERT_LE(std::fabs(red - v), tolerance(f.red) + 1e-9) << f.code << ' ' << v;
            ASSERT_LE(std::fabs(green - v), tolerance(f.green) + 1e-9) << f.code << ' ' << v;
            ASSERT_LE(std::fabs(blue - v), tolerance(f.blue) + 1e-9) << f.code << ' ' << v;
        }
    }
}

TEST(Format, DitherDependsOnThePlaceOnTheTarget) {
    rig::Rig r;
    constexpr uint32_t kOrder = 1u << 10;
    r.Send({{tag::FBReadPixel, rig::k16Bits},
            {tag::DitherMode, 3 | kOrder | 1u << 16},
            {tag::Color, 0xFF000084}}); // red 132 lies between two levels of five bits
    r.Rectangle(0, 0, 4, 4);
    int high = 0;
    for (uint32_t y = 0; y < 4; ++y) {
        for (uint32_t x = 0; x < 4; ++x) {
            const uint16_t level = r.Element<uint16_t>(y * 64 + x) >> 11;
            ASSERT_TRUE(level == 16 || level == 17) << level;
            high += level == 17;
        }
    }
    EXPECT_EQ(high, 1); // 132 / 255 * 31 = 16.047: 0.047 of sixteen pixels, to the nearest
}

TEST(Format, TheGlintFamilyHasNoFormatExtension) {
    // Blending half over a grey pixel: read as 5:6:5 the destination would come out differently.
    rig::Rig glint(rig::SmallConfig(board::Chip::TX));
    constexpr uint32_t kHalfOver = 1 | 4 << 1 | 5 << 5; // source alpha over its inverse
    glint.Send({{tag::PixelSize, 0},
                {tag::FBReadMode, rig::kPitch64 | 1u << 10},
                {tag::FBWriteMode, 1},
                {tag::DitherMode, 1 | 1u << 10 | 1u << 16},
                {tag::AlphaBlendMode, kHalfOver | 1u << 13 | 1u << 16},
                {tag::Color, 0x80000000}});
    glint.SetPixel(1, 0, 0x00406080);
    glint.Rectangle(1, 0, 2, 1);
    const uint32_t pixel = glint.Pixel(1, 0);
    EXPECT_NEAR(pixel >> 16 & 0xFF, 0x20, 1);
    EXPECT_NEAR(pixel >> 8 & 0xFF, 0x30, 1);
    EXPECT_NEAR(pixel & 0xFF, 0x40, 1);
}

} // namespace
