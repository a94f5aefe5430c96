#include "board/texture/yuv.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

// CCIR 601 in floating point: Y 16 to 235 is black to white.
struct Rgb {
    double red, green, blue;
};
Rgb Convert(int y, int u, int v) {
    const double luma = (y - 16) * 255.0 / 219;
    const double pb = (u - 128) / 224.0, pr = (v - 128) / 224.0;
    const auto clip = [](double value) { return std::clamp(value, 0.0, 255.0); };
    return {clip(luma + 255 * 1.402 * pr), clip(luma - 255 * (0.344136 * pb + 0.714136 * pr)),
            clip(luma + 255 * 1.772 * pb)};
}

TEST(YUV, ConversionIsWithinTwoOfTheFloatOne) {
    for (int y = 0; y < 256; y += 3) {
        for (int u = 0; u < 256; u += 3) {
            for (int v = 0; v < 256; v += 3) {
                const board::Colour c = board::ColourOfYUV(board::PackYUV(
                    static_cast<uint32_t>(y), static_cast<uint32_t>(u), static_cast<uint32_t>(v)));
                const Rgb expected = Convert(y, u, v);
                ASSERT_NEAR(c.red, expected.red, 2);
                ASSERT_NEAR(c.green, expected.green, 2);
                ASSERT_NEAR(c.blue, expected.blue, 2);
                ASSERT_EQ(c.alpha, 255);
            }
        }
    }
}

TEST(YUV, FactorsAreTheNearestOf256) {
    const auto nearest = [](double factor) { return static_cast<int>(std::lround(factor * 256)); };
    const int luma = nearest(255.0 / 219), redV = nearest(1.402 * 255 / 224),
              greenU = nearest(0.344136 * 255 / 224), greenV = nearest(0.714136 * 255 / 224),
              blueU = nearest(1.772 * 255 / 224);
    const auto channel = [](int sum) {
        return std::clamp(static_cast<int>(std::floor((sum + 128) / 256.0)), 0, 255);
    };
    for (int y = 0; y < 256; y += 15) {
        for (int u = 0; u < 256; u += 5) {
            for (int v = 0; v < 256; v += 5) {
                const int base = luma * (y - 16);
                const board::Colour expected = {
                    channel(base + redV * (v - 128)),
                    channel(base - greenU * (u - 128) - greenV * (v - 128)),
                    channel(base + blueU * (u - 128)), 255};
                ASSERT_EQ(board::ColourOfYUV(board::PackYUV(static_cast<uint32_t>(y),
                                                            static_cast<uint32_t>(u),
                                                            static_cast<uint32_t>(v))),
                          expected)
                    << y << ' ' << u << ' ' << v;
            }
        }
    }
}

TEST(YUV, BlackWhiteAndPrimaries) {
    EXPECT_EQ(board::ColourOfYUV(board::PackYUV(16, 128, 128)), (board::Colour{0, 0, 0, 255}));
    EXPECT_EQ(board::ColourOfYUV(board::PackYUV(235, 128, 128)),
              (board::Colour{255, 255, 255, 255}));
    const board::Colour red = board::ColourOfYUV(board::PackYUV(81, 90, 240));
    EXPECT_GT(red.red, 250);
    EXPECT_LT(std::max(red.green, red.blue), 5);
}

// A blit with the words that a driver sends: a surface of 64 texels a row, Y0 U Y1 V, stretched to
// a 5:6:5 or 8:8:8:8 target.
class YuvBlit : public rig::TextureRig {
  public:
    explicit YuvBlit(board::Chip chip) : TextureRig(chip) {
        std::mt19937 random(3);
        bytes.resize(64 * 2 * 32);
        for (uint8_t& byte : bytes) {
            byte = static_cast<uint8_t>(16 + random() % 210);
        }
        SetTexels(bytes);
    }
    Rgb Source(int x, int y) const {
        const uint8_t* pair = &bytes[static_cast<size_t>(y * 128 + x / 2 * 4)];
        return Convert(pair[x % 2 * 2], pair[1], pair[3]);
    }
    void Blit(uint32_t format, uint32_t extension, uint32_t readMode, uint32_t dS, uint32_t dT,
              int width, int height) {
        Send({{tag::DitherMode, (extension << 14 | format) << 2 | 0x403},
              {tag::FBWindowBase, 0},
              {tag::FBReadMode, rig::kPitch64},
              {tag::LogicalOpMode, 0},
              {tag::TextureBaseAddress, rig::kMapPlace / 2},
              {tag::TextureAddressMode, 1},
              {tag::TextureColorMode, 7},
              {tag::TextureReadMode, readMode},
              {tag::TextureDataFormat, 1 << 6 | 3},
              {tag::TextureMapFormat, rig::kPitch64 | 1 << 19},
              {tag::YUVMode, 1},
              {tag::SStart, 3u << 20},
              {tag::TStart, 1u << 20},
              {tag::dSdx, dS},
              {tag::dSdyDom, 0},
              {tag::dTdx, 0},
              {tag::dTdyDom, dT}});
        Rectangle(0, 0, width, height, rig::kTexture);
        Send({{tag::DitherMode, 0},
              {tag::YUVMode, 0},
              {tag::TextureAddressMode, 0},
              {tag::TextureColorMode, 0}});
        EXPECT_FALSE(board.FaultReport().Any()) << board.FaultReport().Describe();
    }
    std::vector<uint8_t> bytes;
};

TEST(YUV, BlitConvertsPairsToTheDisplay) {
    for (const board::Chip chip : {board::Chip::Permedia, board::Chip::Permedia2}) {
        YuvBlit r(chip);
        r.Blit(0, 0, 0x17601, 1u << 19, 1u << 20, 60, 20);
        for (int y = 0; y < 20; ++y) {
            for (int x = 0; x < 60; ++x) {
                const uint32_t pixel = r.Pixel(x, y);
                const Rgb expected = r.Source(3 + x / 2, 1 + y);
                ASSERT_NEAR(pixel >> 16 & 0xFF, expected.red, 2) << x << ',' << y;
                ASSERT_NEAR(pixel >> 8 & 0xFF, expected.green, 2);
                ASSERT_NEAR(pixel & 0xFF, expected.blue, 2);
            }
        }
    }
}

TEST(YUV, BlitDithersToSixteenBits) {
    YuvBlit r(board::Chip::Permedia2);
    r.Send(tag::FBReadPixel, rig::k16Bits);
    r.Blit(0, 1, 0x17601, 1u << 20, 1u << 20, 40, 20);
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 40; ++x) {
            const uint32_t pixel = r.Element<uint16_t>(static_cast<size_t>(y * 64 + x));
            const Rgb expected = r.Source(3 + x, 1 + y);
            ASSERT_NEAR((pixel >> 11) * 255.0 / 31, expected.red, 10);
            ASSERT_NEAR((pixel >> 5 & 63) * 255.0 / 63, expected.green, 6);
            ASSERT_NEAR((pixel & 31) * 255.0 / 31, expected.blue, 10);
        }
    }
}

TEST(YUV, APixelWhosePartnerLiesBehindTheMemoryIsCounted) {
    rig::TextureRig r(board::Chip::Permedia2);
    const auto last = static_cast<uint32_t>(r.board.FrameBuffer().size() / 2 - 1); // texel
    r.Send({{tag::TextureBaseAddress, last},
            {tag::TextureAddressMode, 1},
            {tag::TextureColorMode, 7},
            {tag::TextureReadMode, 0x17601},
            {tag::TextureDataFormat, 1 << 6 | 3},
            {tag::TextureMapFormat, rig::kPitch64 | 1 << 19},
            {tag::YUVMode, 1}});
    r.Coordinates(0, 1, 0, 1);
    r.Rectangle(0, 0, 1, 1, rig::kTexture);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 1u);
}

TEST(YUV, FilterMixesConvertedPixels) {
    YuvBlit r(board::Chip::Permedia2);
    r.Blit(0, 0, 0x37601, 1u << 19, 1u << 20, 40, 10);
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 40; ++x) {
            const Rgb left = r.Source(3 + x / 2, 1 + y), right = r.Source(3 + (x + 1) / 2, 1 + y);
            ASSERT_NEAR(r.Pixel(x, y) >> 16 & 0xFF, (left.red + right.red) / 2, 2.5);
            ASSERT_NEAR(r.Pixel(x, y) & 0xFF, (left.blue + right.blue) / 2, 2.5);
        }
    }
}

} // namespace
