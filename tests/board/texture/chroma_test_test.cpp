#include "board/texture/chroma_key.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <random>

namespace {

TEST(ChromaTest, BoundsAreInclusiveInEveryChannel) {
    const board::ChromaKey test{
        board::ChromaKey::Action::DropInside, {10, 20, 30, 40}, {12, 22, 32, 42}};
    for (int red = 9; red <= 13; ++red) {
        for (int green = 19; green <= 23; ++green) {
            for (int blue = 29; blue <= 33; ++blue) {
                for (int alpha = 39; alpha <= 43; ++alpha) {
                    const bool inside = red > 9 && red < 13 && green > 19 && green < 23 &&
                                        blue > 29 && blue < 33 && alpha > 39 && alpha < 43;
                    ASSERT_EQ(test.Inside({red, green, blue, alpha}), inside);
                }
            }
        }
    }
}

struct Case {
    const char* name;
    uint32_t format; // TextureDataFormat, red in the high bits
    uint32_t size, bits;
    int red, green, blue, alpha; // widths
};

constexpr Case kCases[] = {{"565", 0x60, rig::kTexel16, 16, 5, 6, 5, 0},
                           {"1555", 0x21, rig::kTexel16, 16, 5, 5, 5, 1},
                           {"4444", 0x22, rig::kTexel16, 16, 4, 4, 4, 4},
                           {"332", 0x25, rig::kTexel8, 8, 3, 3, 2, 0},
                           {"1232", 0x29, rig::kTexel8, 8, 2, 3, 2, 1}};

// Bounds for a key of one value, as a driver makes them: fields at the tops of their bytes, the low
// three bits cleared below and set above; alpha is no matter in formats without it.
TEST(ChromaTest, KeyOfOneValueDropsExactlyItsTexels) {
    for (const Case& c : kCases) {
        const uint32_t texels = 1u << c.bits;
        const uint32_t key = 0x5A5A5A5A & (texels - 1);
        const auto fields = [&c](uint32_t texel) {
            const uint32_t blue = texel & ((1u << c.blue) - 1);
            const uint32_t green = texel >> c.blue & ((1u << c.green) - 1);
            const uint32_t red = texel >> (c.blue + c.green) & ((1u << c.red) - 1);
            const uint32_t alpha = texel >> (c.blue + c.green + c.red);
            return rig::Rgba(red << (8 - c.red), green << (8 - c.green), blue << (8 - c.blue),
                             c.alpha == 0 ? 0 : alpha << (8 - c.alpha));
        };
        rig::TextureRig r;
        r.Bind32(6, 6, rig::kWrapRepeat, false);
        r.Send({{tag::TextureBaseAddress, rig::kMapPlace * 8 / c.bits},
                {tag::TextureMapFormat, c.size << 19 | 2},
                {tag::TextureDataFormat, c.format},
                {tag::ChromaLowerBound, fields(key) & 0xF8F8F8F8},
                {tag::ChromaUpperBound, fields(key) | 0x07070707 | (c.alpha == 0 ? 0xFF000000 : 0)},
                {tag::YUVMode, 4}});
        // Texels one bit away from the key, and the key between them.
        std::vector<uint32_t> list{key};
        for (uint32_t bit = 0; bit < c.bits; ++bit) {
            list.push_back(key ^ 1u << bit);
            list.push_back(key);
        }
        for (size_t i = 0; i < list.size(); ++i) {
            std::memcpy(r.Map() + i * c.bits / 8, &list[i], c.bits / 8);
        }
        r.Rectangle(0, 0, 64, 1); // white below
        r.DrawMap(static_cast<uint32_t>(list.size()), 1);
        for (size_t i = 0; i < list.size(); ++i) {
            // The low bit of a 6-bit field lies below the widened bounds.
            const bool lowGreen = c.green == 6 && (list[i] ^ key) == 1u << c.blue;
            const bool dropped = list[i] == key || lowGreen;
            ASSERT_EQ(r.Pixel(static_cast<int>(i), 0) == 0xFFFFFFFF, dropped)
                << c.name << std::hex << ' ' << list[i];
        }
        EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
    }
}

TEST(ChromaTest, IndexedTexelsAreTestedByTheirColourOrTheirIndex) {
    for (const bool lookUp : {false, true}) {
        rig::TextureRig r;
        r.Bind32(5, 3, rig::kWrapRepeat, false);
        r.Send({{tag::TextureBaseAddress, rig::kMapPlace * 2},
                {tag::TextureMapFormat, rig::kTexel4 << 19 | 1},
                {tag::TextureDataFormat, 0x2F},
                {tag::TexelLUTMode, lookUp ? 1u : 0u},
                {tag::TexelLUT0 + 7, 0xFF0A0B0C},
                {tag::ChromaLowerBound, lookUp ? 0xFF0A0B0C : 0x00070707},
                {tag::ChromaUpperBound, lookUp ? 0xFF0A0B0C : 0xFF070707},
                {tag::YUVMode, 4}});
        for (uint32_t i = 0; i < 8; ++i) {
            r.Map()[i] = static_cast<uint8_t>(2 * i | (2 * i + 1) << 4);
        }
        r.Rectangle(0, 0, 64, 1);
        r.DrawMap(16, 1);
        for (int x = 0; x < 16; ++x) {
            EXPECT_EQ(r.Pixel(x, 0) == 0xFFFFFFFF, x == 7);
        }
    }
}

TEST(ChromaTest, DroppedPixelsLeaveDepthAndColourAlone) {
    rig::TextureRig r;
    r.Bind32(5, 5, rig::kWrapRepeat, false);
    r.SetTexels(std::vector<uint32_t>{0x00102030, 0x00102031});
    r.Send({{tag::ChromaLowerBound, 0x00102030},
            {tag::ChromaUpperBound, 0xFF102030},
            {tag::YUVMode, 4},
            {tag::LBReadMode, rig::kPitch64},
            {tag::LBWindowBase, 0x10000},
            {tag::LBWriteMode, 1},
            {tag::DepthMode, 3 | 7 << 4},
            {tag::ZStartU, 99}});
    r.DrawMap(2, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0u);
    EXPECT_EQ(r.Element<uint16_t>(0x10000), 0u);
    EXPECT_EQ(r.Pixel(1, 0), 0x00102031u);
    EXPECT_EQ(r.Element<uint16_t>(0x10001), 99u);
}

TEST(ChromaTest, OffAndUnknownModes) {
    rig::TextureRig r;
    r.Bind32(5, 5, rig::kWrapRepeat, false);
    r.SetTexels(std::vector<uint32_t>{0x30});
    r.Send({{tag::ChromaLowerBound, 0}, {tag::ChromaUpperBound, 0xFFFFFFFF}});
    r.DrawMap(1, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0x30u);
    EXPECT_FALSE(r.board.FaultReport().Any());
    r.Send(tag::YUVMode, 2);
    r.DrawMap(1, 1);
    EXPECT_EQ(r.board.FaultReport().unmodelled.at("chroma test mode 1"), 1u);
}

// MX: the test makes a mask of alpha, whatever alpha the texels have, for the alpha test to drop.
TEST(ChromaTest, OnMXTexelsInsideTheBoundsGetAlphaZeroAndOthersAreOpaque) {
    rig::TextureRig r(board::Chip::MX);
    r.Bind32(3, 3, rig::kWrapRepeat, false);
    r.SetTexels(std::vector<uint32_t>{0x80102030, 0x80102040, 0x00102050});
    r.Send({{tag::TextureChromaLower, 0x00102040},
            {tag::TextureChromaUpper, 0xFF102047},
            {tag::TextureFilterMode, 3},
            {tag::TextureColorMode, 1 | rig::kCopy << 1 | 1 << 7 | 1 << 9}});
    r.DrawMap(3, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0xFF102030u);
    EXPECT_EQ(r.Pixel(1, 0), 0x00102040u);
    EXPECT_EQ(r.Pixel(2, 0), 0xFF102050u);
    r.SetPixel(1, 0, 7);
    r.Send(tag::AlphaTestMode, 9); // alpha above 0
    r.DrawMap(3, 1);
    EXPECT_EQ(r.Pixel(1, 0), 7u);
    r.Send({{tag::TextureFilterMode, 1}, {tag::AlphaTestMode, 0}});
    r.DrawMap(3, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0x80102030u);
    EXPECT_EQ(r.Pixel(1, 0), 0x80102040u);
}

} // namespace
