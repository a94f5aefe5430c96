#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

uint32_t PackedPoint(int x, int y) {
    return (static_cast<uint32_t>(y) << 16) | (static_cast<uint32_t>(x) & 0xFFFF);
}

template <typename Inside>
void ExpectDrawn(rig::Rig& r, Inside inside) {
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 40; ++x) {
            ASSERT_EQ(r.Pixel(x, y), inside(x, y) ? 1u : 0u) << x << ' ' << y;
        }
    }
}

TEST(Scissor, UserRectangleIncludesItsMinimumAndExcludesItsMaximum) {
    rig::Rig r;
    r.Send({{tag::Color, 1},
            {tag::ScissorMode, 1},
            {tag::ScissorMinXY, PackedPoint(3, 4)},
            {tag::ScissorMaxXY, PackedPoint(9, 7)}});
    r.Rectangle(0, 0, 30, 15);
    ExpectDrawn(r, [](int x, int y) { return x >= 3 && x < 9 && y >= 4 && y < 7; });
}

TEST(Scissor, UserRectangleIsSigned) {
    rig::Rig r;
    r.Send({{tag::Color, 1},
            {tag::ScissorMode, 1},
            {tag::ScissorMinXY, PackedPoint(-5, -9)},
            {tag::ScissorMaxXY, PackedPoint(4, 3)}});
    r.Rectangle(0, 0, 30, 15);
    ExpectDrawn(r, [](int x, int y) { return x < 4 && y < 3; });
}

TEST(Scissor, ScreenRectangleRunsFromZeroToTheScreenSize) {
    rig::Rig r;
    r.Send({{tag::Color, 1}, {tag::ScissorMode, 2}, {tag::ScreenSize, PackedPoint(12, 6)}});
    r.Rectangle(-20, -4, 30, 15);
    ExpectDrawn(r, [](int x, int y) { return x < 12 && y < 6; });
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(Scissor, BothRectanglesHoldTogether) {
    rig::Rig r;
    r.Send({{tag::Color, 1},
            {tag::ScissorMode, 3},
            {tag::ScreenSize, PackedPoint(12, 6)},
            {tag::ScissorMinXY, PackedPoint(8, 2)},
            {tag::ScissorMaxXY, PackedPoint(30, 30)}});
    r.Rectangle(0, 0, 30, 15);
    ExpectDrawn(r, [](int x, int y) { return x >= 8 && x < 12 && y >= 2 && y < 6; });
}

TEST(Scissor, ClippingChangesNoPixelThatRemains) {
    for (const bool leftward : {false, true}) {
        for (const uint32_t subPixel : {0u, rig::kSubPixel}) {
            rig::Rig whole;
            rig::Rig clipped;
            clipped.Send({{tag::ScissorMode, 1},
                          {tag::ScissorMinXY, PackedPoint(15, 3)},
                          {tag::ScissorMaxXY, PackedPoint(27, 9)}});
            for (rig::Rig* r : {&whole, &clipped}) {
                r->Send({{tag::ColorDDAMode, 3},
                         {tag::RStart, 0x123456},
                         {tag::dRdx, 0x0001F123},
                         {tag::dRdyDom, 0xFFFF8765},
                         {tag::GStart, 0x400000},
                         {tag::dGdx, 0xFFFE4321},
                         {tag::dGdyDom, 0x00012345}});
                r->Send({{tag::StartXDom, leftward ? 0x28A000u : 0x08A000u},
                         {tag::dXDom, 0x1234},
                         {tag::StartXSub, leftward ? 0x08A000u : 0x28A000u},
                         {tag::dXSub, 0xFFFFF234},
                         {tag::StartY, 0},
                         {tag::dY, 0x10000},
                         {tag::Count, 16},
                         {tag::Render, rig::kTrapezoid | subPixel}});
            }
            for (int y = 0; y < 16; ++y) {
                for (int x = 0; x < 50; ++x) {
                    const bool inside = x >= 15 && x < 27 && y >= 3 && y < 9;
                    ASSERT_EQ(clipped.Pixel(x, y), inside ? whole.Pixel(x, y) : 0u);
                }
            }
            EXPECT_NE(whole.Pixel(20, 5), 0u);
        }
    }
}

} // namespace
