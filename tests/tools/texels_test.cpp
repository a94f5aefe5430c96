#include "host/ddraw/format.h"
#include "tools/korv/images/patterns.h"
#include "tools/korv/images/texel_format.h"
#include "tools/korv/images/texels.h"

#include <gtest/gtest.h>

#include <set>

namespace korv {
namespace {

host::Picture Filled(uint32_t width, uint32_t height, const std::vector<Rgba>& colours) {
    host::Picture picture{width, height, {}};
    for (uint32_t i = 0; i < width * height; ++i) {
        const Rgba& colour = colours[i % colours.size()];
        picture.rgba.insert(picture.rgba.end(), colour.begin(), colour.end());
    }
    return picture;
}

uint32_t Raw(const DDPIXELFORMAT& format, const Rgba& colour) {
    return TexelEncoder(format, {}, {})(colour);
}

TEST(TexelFormats, AreNamedByKindAndWidths) {
    EXPECT_EQ(TexelFormatName(host::Format555()), "rgb555");
    EXPECT_EQ(TexelFormatName(host::Format565()), "rgb565");
    EXPECT_EQ(TexelFormatName(host::FormatX888()), "rgb888");
    EXPECT_EQ(TexelFormatName(host::Format332()), "rgb332");
    EXPECT_EQ(TexelFormatName(host::Format1555()), "argb1555");
    EXPECT_EQ(TexelFormatName(host::Format4444()), "argb4444");
    EXPECT_EQ(TexelFormatName(host::Format8888()), "argb8888");
    EXPECT_EQ(TexelFormatName(host::RgbFormat(8, 0x60, 0x1C, 0x03, 0x80)), "argb1232");
    EXPECT_EQ(TexelFormatName(host::PaletteFormat(4)), "pal4");
    EXPECT_EQ(TexelFormatName(host::PaletteFormat(8)), "pal8");
}

TEST(Texels, ChannelsAreRoundedToTheirWidth) {
    EXPECT_EQ(Raw(host::Format565(), {255, 128, 0, 0}), 0xFC00u); // 128 * 63 / 255 = 31.6
    EXPECT_EQ(Raw(host::Format565(), {255, 130, 4, 0}), 0xFC00u); // 32.1 and 0.5
    EXPECT_EQ(Raw(host::Format1555(), {0, 0, 255, 255}), 0x801Fu);
    EXPECT_EQ(Raw(host::Format1555(), {0, 0, 255, 120}), 0x001Fu);
    EXPECT_EQ(Raw(host::Format4444(), {0x11, 0x88, 0xFF, 0x77}), 0x718Fu);
    EXPECT_EQ(Raw(host::Format8888(), {1, 2, 3, 4}), 0x04010203u);
    // Open bits are set.
    EXPECT_EQ(Raw(host::FormatX888(), {1, 2, 3, 4}), 0xFF010203u);
    EXPECT_EQ(Raw(host::Format555(), {0, 0, 255, 0}), 0x801Fu);
    EXPECT_EQ(Raw(host::Format332(), {255, 0, 255, 9}), 0xE3u);
}

TEST(Texels, FewColoursAllGetIntoThePalette) {
    const auto image = Filled(4, 4, {{1, 2, 3, 255}, {200, 100, 50, 255}, {9, 9, 9, 0}});
    const TexelEncoder encode(host::PaletteFormat(4), image, {});
    ASSERT_EQ(encode.Palette().size(), 16u);
    for (const Rgba& colour : {Rgba{1, 2, 3, 255}, Rgba{200, 100, 50, 255}, Rgba{9, 9, 9, 255}}) {
        const PALETTEENTRY& entry = encode.Palette()[encode(colour)];
        EXPECT_EQ((Rgba{entry.peRed, entry.peGreen, entry.peBlue, 255}), colour);
    }
}

TEST(Texels, ManyColoursShareThePaletteAndStayNear) {
    const host::Picture wheel = ColourWheel(64);
    for (const auto& [bits, within] : {std::pair{4u, 130}, {8u, 48}}) {
        const TexelEncoder encode(host::PaletteFormat(bits), wheel, {});
        EXPECT_EQ(encode.Palette().size(), 1u << bits);
        std::set<uint32_t> used;
        for (uint32_t y = 0; y < 64; ++y) {
            for (uint32_t x = 0; x < 64; ++x) {
                const Rgba colour = wheel.At(x, y);
                const uint32_t raw = encode(colour);
                used.insert(raw);
                ASSERT_LT(raw, 1u << bits);
                const PALETTEENTRY& entry = encode.Palette()[raw];
                EXPECT_NEAR(entry.peRed, colour[0], within);
                EXPECT_NEAR(entry.peGreen, colour[1], within);
                EXPECT_NEAR(entry.peBlue, colour[2], within);
            }
        }
        EXPECT_GT(used.size(), (1u << bits) * 3 / 4);
    }
}

TEST(Texels, OnlyTheKeyHasTheKeysEntry) {
    constexpr Rgba kKey{255, 0, 255, 255}, kNear{254, 0, 255, 255};
    const auto image = Filled(4, 4, {kKey, kNear, {0, 0, 0, 255}});
    const TexelEncoder encode(host::PaletteFormat(4), image, kKey);
    EXPECT_EQ(encode(kKey), 0u);
    EXPECT_NE(encode(kNear), 0u);
    EXPECT_NE(encode({255, 1, 255, 255}), 0u);
    EXPECT_EQ(encode.Palette()[0].peBlue, 255);
}

TEST(Texels, MipLevelsHalveDownToTheSmallestSide) {
    const auto levels = MipLevels(Filled(64, 16, {{0, 40, 80, 255}, {100, 40, 81, 255}}), 4);
    ASSERT_EQ(levels.size(), 3u);
    EXPECT_EQ(levels[1].width, 32u);
    EXPECT_EQ(levels[2].width, 16u);
    EXPECT_EQ(levels[2].height, 4u);
    // Means, halves upwards.
    EXPECT_EQ(levels[1].At(5, 3), (Rgba{50, 40, 81, 255}));
    EXPECT_EQ(levels[2].At(5, 3), (Rgba{50, 40, 81, 255}));
}

TEST(Patterns, RepeatingOnesHaveNoSeam) {
    // Across the border neighbours differ no more than elsewhere.
    const host::Picture ground = Ground(64);
    int inside = 0, seam = 0;
    for (uint32_t y = 0; y < 64; ++y) {
        for (uint32_t x = 0; x < 64; ++x) {
            const int step = std::abs(ground.At(x, y)[1] - ground.At((x + 1) % 64, y)[1]);
            (x == 63 ? seam : inside) = std::max(x == 63 ? seam : inside, step);
        }
    }
    EXPECT_LE(seam, inside);
}

TEST(Patterns, AreTheSameEveryTime) {
    EXPECT_EQ(Bricks(32).rgba, Bricks(32).rgba);
    EXPECT_EQ(FadingStripes(32).At(0, 0)[3], 251);
    EXPECT_EQ(FadingStripes(32).At(31, 0)[3], 4);
    EXPECT_EQ(Face(64, 0xFF00FF).At(0, 0), (Rgba{255, 0, 255, 255}));
}

} // namespace
} // namespace korv
