#include "board/raster/interpolants.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

uint32_t Word(double value, double scale) {
    return static_cast<uint32_t>(static_cast<int64_t>(value * scale));
}

// Gouraud drawing of red, green and blue on a raw 32-bit target.
class Shaded : public rig::Rig {
  public:
    Shaded() { Send(tag::ColorDDAMode, 3); }
    void Channel(uint32_t startTag, double start, double dx, double dyDom) {
        Send({{startTag, Word(start, 32768)},
              {startTag + 1, Word(dx, 32768)},
              {startTag + 2, Word(dyDom, 32768)}});
    }
    int Red(int x, int y) { return static_cast<int>(Pixel(x, y) & 0xFF); }
    int Green(int x, int y) { return static_cast<int>(Pixel(x, y) >> 8 & 0xFF); }
    int Blue(int x, int y) { return static_cast<int>(Pixel(x, y) >> 16 & 0xFF); }
    int Alpha(int x, int y) { return static_cast<int>(Pixel(x, y) >> 24); }
};

TEST(Interpolants, StepsCountFromTheFirstPixelWithoutSubPixelCorrection) {
    Shaded r;
    r.Channel(tag::RStart, 10, 2, 5);
    r.Channel(tag::GStart, 200, -3, 1);
    r.Channel(tag::BStart, 0, 0.5, 0);
    r.Channel(tag::AStart, 255, 0, -0.25);
    r.Rectangle(4, 2, 14, 8);
    for (int y = 2; y < 8; ++y) {
        for (int k = 0; k < 10; ++k) {
            const int x = 4 + k;
            ASSERT_EQ(r.Red(x, y), 10 + 5 * (y - 2) + 2 * k);
            ASSERT_EQ(r.Green(x, y), 200 + (y - 2) - 3 * k);
            ASSERT_EQ(r.Blue(x, y), (k + 1) / 2); // halves go up
            ASSERT_EQ(r.Alpha(x, y), static_cast<int>(std::floor(255.5 - 0.25 * (y - 2))));
        }
    }
}

TEST(Interpolants, StepsRunTowardsTheSubordinateEdgeInEitherDirection) {
    Shaded r;
    r.Channel(tag::RStart, 10, 2, 0);
    r.Rectangle(20, 0, 10, 1); // dominant edge on the right
    for (int k = 0; k < 10; ++k) {
        EXPECT_EQ(r.Red(19 - k, 0), 10 + 2 * k);
    }
}

// A plane in x and y, sampled at pixel centres: exact whatever the slant of the dominant edge.
TEST(Interpolants, SubPixelCorrectionIsExactOnAPlane) {
    for (const bool leftward : {false, true}) {
        for (const double slant : {0.0, 0.75, -0.375}) {
            Shaded r;
            const double base = 20, perX = 1.25, perY = 2.5;
            const double x0 = 30.3125;
            const auto plane = [&](double x, double row) { return base + perX * x + perY * row; };
            const double direction = leftward ? -1 : 1;
            // The edge's X at row n is x0 + n * slant, so that along it the plane changes by:
            const double alongEdge = perY + perX * slant;
            r.Channel(tag::RStart, plane(x0, 0), perX * direction, alongEdge);
            r.Send({{tag::StartXDom, Word(x0, 65536)},
                    {tag::dXDom, Word(slant, 65536)},
                    {tag::StartXSub, Word(x0 + direction * 20, 65536)},
                    {tag::dXSub, Word(slant, 65536)},
                    {tag::StartY, 10u << 16},
                    {tag::dY, 0xFFFF0000},
                    {tag::Count, 8},
                    {tag::Render, rig::kTrapezoid | rig::kSubPixel}});
            int pixels = 0;
            for (int row = 0; row < 8; ++row) {
                const double edge = x0 + slant * row;
                const double left = leftward ? edge - 20 : edge;
                for (int x = 0; x < 64; ++x) {
                    if (left <= x + 0.5 && x + 0.5 < left + 20) {
                        ++pixels;
                        ASSERT_EQ(r.Red(x, 10 - row),
                                  static_cast<int>(std::floor(plane(x + 0.5, row) + 0.5)))
                            << x << ' ' << row << ' ' << leftward << ' ' << slant;
                    }
                }
            }
            EXPECT_EQ(pixels, 160);
        }
    }
}

TEST(Interpolants, ColoursAreRoundedAndHeldInRange) {
    Shaded r;
    r.Channel(tag::RStart, 250.4, 3, 0);
    r.Channel(tag::GStart, 5.5, -3, 0);
    r.Rectangle(0, 0, 6, 1);
    const int red[] = {250, 253, 255, 255, 255, 255};
    const int green[] = {6, 3, 0, 0, 0, 0};
    for (int x = 0; x < 6; ++x) {
        EXPECT_EQ(r.Red(x, 0), red[x]);
        EXPECT_EQ(r.Green(x, 0), green[x]);
    }
}

TEST(Interpolants, CarryOnAcrossContinuations) {
    Shaded r;
    r.Channel(tag::RStart, 10, 1, 4);
    r.Rectangle(0, 0, 8, 3);
    r.Channel(tag::RStart, 200, 0, 0); // must wait for the next Render
    r.Send({{tag::StartXSub, 4u << 16}, {tag::ContinueNewSub, 2}});
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < (y < 3 ? 8 : 4); ++x) {
            ASSERT_EQ(r.Red(x, y), 10 + x + 4 * y);
        }
        ASSERT_EQ(r.Red(y < 3 ? 8 : 4, y), 0);
    }
}

TEST(Interpolants, FlatColourComesFromTheConstantOrTheColourRegister) {
    rig::Rig r;
    r.Send({{tag::ConstantColor, 0x11223344}, {tag::Color, 0x55667788}});
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0x55667788u);
    r.Send(tag::ColorDDAMode, 1);
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0x11223344u);
}

TEST(Interpolants, WithoutTheColourUnitTheColourSentLastHolds) {
    rig::Rig r;
    r.Send({{tag::Color, 0x55667788}, {tag::ConstantColor, 0x11223344}});
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0x11223344u);
}

TEST(Interpolants, DepthPairHasSixteenFractionBits) {
    board::RegisterFile registers;
    registers.Set(tag::ZStartU, 0xFFFFFFFE);
    registers.Set(tag::ZStartL, 0x8000FFFF); // the low half is no part of the value
    registers.Set(tag::dZdxU, 0x7FFFFFFF);
    registers.Set(tag::dZdxL, 0xFFFF0000);
    board::Interpolants values{};
    values.Load(registers);
    const board::Interpolant& depth = values.channels[board::Interpolants::Depth];
    EXPECT_EQ(depth.value, -98304); // -1.5
    EXPECT_EQ(depth.dx, 0x7FFFFFFFFFFF);
    EXPECT_EQ(depth.dyDom, 0);
}

} // namespace
