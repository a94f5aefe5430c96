#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <bit>

namespace {

constexpr uint32_t kPatternRows[8] = {0x88, 0x01, 0x22, 0x80, 0xF0, 0x0F, 0x55, 0xFF};

TEST(Stipple, EightByEightPatternRepeats) {
    rig::Rig r;
    r.Words({burst::AreaStipple, kPatternRows[0], kPatternRows[1], kPatternRows[2], kPatternRows[3],
             kPatternRows[4], kPatternRows[5], kPatternRows[6], kPatternRows[7]});
    r.Send({{tag::AreaStippleMode, 1}, {tag::Color, 1}});
    r.Rectangle(3, 2, 30, 20, rig::kAreaStipple);
    for (int y = 0; y < 24; ++y) {
        for (int x = 0; x < 40; ++x) {
            const bool inside = x >= 3 && x < 30 && y >= 2 && y < 20;
            ASSERT_EQ(r.Pixel(x, y), inside ? kPatternRows[y % 8] >> (x % 8) & 1 : 0u)
                << x << ' ' << y;
        }
    }
}

TEST(Stipple, NeedsBothTheUnitAndTheRenderBit) {
    for (const auto& [mode, bit] : {std::pair{0u, 1u}, {1u, 0u}}) {
        rig::Rig r; // the pattern is empty
        r.Send({{tag::AreaStippleMode, mode}, {tag::Color, 1}});
        r.Rectangle(0, 0, 4, 4, bit);
        EXPECT_EQ(r.Pixel(2, 2), 1u);
    }
}

TEST(Stipple, GlintSelectsTheSizeOfThePattern) {
    // Select 2 is eight columns or rows, select 0 two, select 1 four.
    for (uint32_t select = 0; select <= 2; ++select) {
        rig::Rig r(rig::SmallConfig(board::Chip::TX));
        r.Send({{tag::FBReadMode, rig::kPitch64}, {tag::FBWriteMode, 1}, {tag::Color, 1}});
        for (uint32_t row = 0; row < 8; ++row) {
            r.Send(tag::AreaStipplePattern0 + row, kPatternRows[row]);
        }
        r.Send(tag::AreaStippleMode, 1 | select << 1 | select << 4);
        r.Rectangle(0, 0, 32, 16, rig::kAreaStipple);
        const int size = 2 << select;
        for (int y = 0; y < 16; ++y) {
            for (int x = 0; x < 32; ++x) {
                ASSERT_EQ(r.Pixel(x, y), kPatternRows[y % size] >> (x % size) & 1);
            }
        }
    }
}

TEST(Stipple, SkippedPixelsStillStepTheInterpolants) {
    rig::Rig r;
    r.Send({{tag::AreaStippleMode, 1}, {tag::ColorDDAMode, 3}, {tag::dRdx, 3 << 15}});
    for (uint32_t row = 0; row < 8; ++row) {
        r.Send(tag::AreaStipplePattern0 + row, 0xAA);
    }
    r.Rectangle(0, 0, 16, 1, rig::kAreaStipple);
    for (int x = 0; x < 16; ++x) {
        EXPECT_EQ(r.Pixel(x, 0), x % 2 != 0 ? 3u * static_cast<uint32_t>(x) : 0u);
    }
}

} // namespace
