// The level of detail on TX and MX.
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr uint32_t kMipMap = 1u << 23;
constexpr uint32_t kLevelOfDetail = 3u << 7; // TextureAddressMode

// A chain of 16, 8, 4, 2, 1 texels a side. Level n is filled with red 40 * n.
class Chain : public rig::TextureRig {
  public:
    explicit Chain(board::Chip which = board::Chip::MX) : TextureRig(which) {
        Bind32(4, 4, rig::kWrapRepeat, false);
        uint32_t place = rig::kMapPlace;
        for (uint32_t level = 0; level < 5; ++level) {
            const uint32_t count = 256 >> (2 * level);
            const std::vector<uint32_t> texels(count, 40 * level);
            std::memcpy(board.LocalBuffer().data() + place, texels.data(), count * 4);
            Send(tag::TextureBaseAddr0 + level, place * 8);
            place += count * 4;
        }
        Filters(0, 2, kMipMap);
        Send(tag::TextureAddressMode, 3 | kLevelOfDetail);
    }
    void Filters(uint32_t magnify, uint32_t minify, uint32_t more = kMipMap) {
        Send(tag::GlintTextureReadMode, 1 | 4 << 1 | 4 << 5 | 5 << 9 | magnify << 14 |
                                            minify << 15 | 1 << 18 | 1 << 20 | more);
    }
    uint32_t Draw(double dsdx, double dtdy) {
        Coordinates(0.25, dsdx, 0.25, dtdy);
        Rectangle(0, 0, 4, 4, rig::kTexture);
        return Pixel(1, 1) & 0xFF;
    }
};

TEST(TextureDetail, NearestLevelFitsTheTexelsThatAPixelSpans) {
    Chain r;
    for (const uint32_t minify : {2u, 3u}) {
        r.Filters(0, minify);
        for (const double scale : {0.25, 0.9, 1.3, 1.5, 2.0, 2.7, 2.9, 5.0, 6.0, 8.0, 15.0}) {
            const double detail = std::fmax(0, std::log2(scale));
            const auto level = static_cast<uint32_t>(std::fmin(4, std::floor(detail + 0.5)));
            EXPECT_EQ(r.Draw(scale, 0.5), 40 * level) << scale;
            EXPECT_EQ(r.Draw(0.5, scale), 40 * level) << scale;
        }
    }
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

TEST(TextureDetail, TwoLevelsAreMixedByTheFraction) {
    Chain r;
    for (const uint32_t minify : {4u, 5u}) {
        r.Filters(0, minify);
        for (const double scale : {1.1, 1.5, 2.0, 3.0, 4.5, 7.0, 12.0, 15.9}) {
            EXPECT_NEAR(r.Draw(scale, 0.5), 40 * std::fmin(4, std::log2(scale)), 0.75) << scale;
        }
    }
}

TEST(TextureDetail, SlantOfTheEdgeIsNoDetail) {
    Chain r;
    // The plane goes two texels a pixel in either axis: level 1, though a row down the slanted
    // edge goes eight.
    for (const bool leftward : {false, true}) {
        const double way = leftward ? -1 : 1;
        r.Send({{tag::QStart, 1u << 30},
                {tag::SStart, rig::Fixed(0.1, 30)},
                {tag::dSdx, rig::Fixed(way * 2 / 16.0, 30)},
                {tag::dSdyDom, rig::Fixed(8 / 16.0, 30)}, // 2 a pixel, 4 pixels a row
                {tag::TStart, rig::Fixed(0.1, 30)},
                {tag::dTdx, 0},
                {tag::dTdyDom, rig::Fixed(2 / 16.0, 30)},
                {tag::StartXDom, 20u << 16},
                {tag::dXDom, 4u << 16},
                {tag::StartXSub, (leftward ? 10u : 30u) << 16},
                {tag::dXSub, 4u << 16},
                {tag::StartY, 0},
                {tag::dY, 0x10000},
                {tag::Count, 3},
                {tag::Render, rig::kTrapezoid | rig::kTexture}});
        for (int y = 0; y < 3; ++y) {
            EXPECT_EQ(r.Pixel((leftward ? 12 : 24) + 4 * y, y), 40u);
        }
    }
}

TEST(TextureDetail, PerspectiveChangesTheLevelWithinARow) {
    Chain r;
    // S / Q at Q = 1, 1/2, 1/4...: its slope grows as Q falls.
    r.Send({{tag::SStart, 0},
            {tag::dSdx, rig::Fixed(1.0 / 16 / 16, 30)},
            {tag::dSdyDom, 0},
            {tag::TStart, 0},
            {tag::dTdx, 0},
            {tag::dTdyDom, 0},
            {tag::QStart, 1u << 30},
            {tag::dQdx, rig::Fixed(-1.0 / 64, 30)},
            {tag::dQdyDom, 0}});
    r.Rectangle(0, 0, 60, 1, rig::kTexture);
    for (int x = 0; x < 60; ++x) {
        const double q = 1 - x / 64.0, s = x / 16.0; // texels
        const double slope = (1 / 16.0 + s / q / 64.0) / q;
        const double detail = std::fmax(0, std::log2(slope));
        if (std::fabs(detail - std::floor(detail) - 0.5) < 1e-3) {
            continue;
        }
        ASSERT_EQ(r.Pixel(x, 0) & 0xFF, 40 * std::fmin(4, std::floor(detail + 0.5))) << x;
    }
}

TEST(TextureDetail, ChainNeedsBothBitsAndTheMX) {
    Chain without;
    without.Filters(0, 2, 0);
    EXPECT_EQ(without.Draw(4, 4), 0u);
    Chain plain;
    plain.Send(tag::TextureAddressMode, 3);
    EXPECT_EQ(plain.Draw(4, 4), 0u);
    Chain tx(board::Chip::TX);
    EXPECT_EQ(tx.Draw(4, 4), 0u);
}

// A map of columns 0 and 200 in turn, drawn between two columns.
TEST(TextureDetail, MinifiedAndMagnifiedPixelsHaveTheirOwnFilter) {
    for (const board::Chip chip : {board::Chip::TX, board::Chip::MX}) {
        for (uint32_t magnify = 0; magnify < 2; ++magnify) {
            for (uint32_t minify = 0; minify < 6; ++minify) {
                Chain r(chip);
                r.Filters(magnify, minify, 0);
                std::vector<uint32_t> texels(256);
                for (uint32_t i = 0; i < 256; ++i) {
                    texels[i] = i % 2 * 200;
                }
                r.SetTexels(texels);
                const bool minifyLinear = minify == 1 || minify == 3 || minify == 5;
                r.Coordinates(0.5, 2.25, 0, 0);
                r.Rectangle(0, 0, 2, 1, rig::kTexture);
                // At 2.75: between texel 2 (0) and texel 3 (200).
                EXPECT_EQ(r.Pixel(1, 0), minifyLinear ? 150u : 0u) << minify;
                r.Coordinates(2.25, 0.5, 0, 0);
                r.Rectangle(0, 0, 2, 1, rig::kTexture);
                EXPECT_EQ(r.Pixel(1, 0), magnify != 0 ? 150u : 0u);
            }
        }
    }
}

} // namespace
