#include "board/pixel/fog.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

TEST(Fog, MixesTowardsTheFogColourByTheFactor) {
    std::mt19937 random(3);
    std::uniform_int_distribution<int> channel(0, 255);
    std::uniform_real_distribution<double> factor(0, 1);
    for (int round = 0; round < 2000; ++round) {
        const board::Colour c{channel(random), channel(random), channel(random), channel(random)};
        const board::Colour fog{channel(random), channel(random), channel(random), 9};
        const auto f = static_cast<int64_t>(factor(random) * 4194304.0);
        const board::Colour out = board::ApplyFog(c, fog, f);
        const auto mix = [f](int a, int b) {
            return b + static_cast<double>(f) / 4194304.0 * (a - b);
        };
        ASSERT_LE(std::fabs(out.red - mix(c.red, fog.red)), 0.5 + 1e-9);
        ASSERT_LE(std::fabs(out.green - mix(c.green, fog.green)), 0.5 + 1e-9);
        ASSERT_LE(std::fabs(out.blue - mix(c.blue, fog.blue)), 0.5 + 1e-9);
        ASSERT_EQ(out.alpha, c.alpha);
    }
}

TEST(Fog, FactorIsHeldBetweenZeroAndOne) {
    const board::Colour c{200, 100, 50, 7};
    const board::Colour fog{10, 20, 30, 255};
    EXPECT_EQ(board::ApplyFog(c, fog, 0x400000), c);
    EXPECT_EQ(board::ApplyFog(c, fog, 0x7FFFFF), c);
    EXPECT_EQ(board::ApplyFog(c, fog, 0), (board::Colour{10, 20, 30, 7}));
    EXPECT_EQ(board::ApplyFog(c, fog, -5), (board::Colour{10, 20, 30, 7}));
}

TEST(Fog, NeedsBothTheUnitAndTheRenderBit) {
    for (const auto& [mode, bit] : {std::pair{1u, rig::kFog}, {0u, rig::kFog}, {1u, 0u}}) {
        rig::Rig r;
        // Red of the fog colour is in the low byte; the factor falls from 1.0 by a quarter a pixel.
        r.Send({{tag::Color, 0x80000000},
                {tag::FogColor, 0x00204080},
                {tag::FogMode, mode},
                {tag::FStart, 0x400000},
                {tag::dFdx, 0xFFF00000}});
        r.Rectangle(0, 0, 5, 1, bit);
        const bool fogged = mode == 1 && bit != 0;
        EXPECT_EQ(r.Pixel(0, 0), 0x80000000u);
        EXPECT_EQ(r.Pixel(2, 0), fogged ? 0x80102040u : 0x80000000u);
        EXPECT_EQ(r.Pixel(4, 0), fogged ? 0x80204080u : 0x80000000u);
    }
}

} // namespace
