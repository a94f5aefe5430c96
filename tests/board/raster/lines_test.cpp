#include "board/raster/lines.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

namespace {

using rig::Fixed;
using Pixels = std::multiset<std::pair<int, int>>;

// Counts how often each pixel is drawn: additive blending of colour 1.
class LineRig : public rig::Rig {
  public:
    LineRig() {
        Send({{tag::ColorDDAMode, 1},
              {tag::ConstantColor, 0x00000001},
              {tag::ScissorMode, 2},
              {tag::ScreenSize, 64u << 16 | 64},
              {tag::FBReadMode, rig::kPitch64 | 0x400},
              {tag::AlphaBlendMode, 1 | 1 << 1 | 1 << 5}});
    }
    void Walk(double x, double xStep, double y, double yStep, uint32_t count, uint32_t render = 0) {
        Send({{tag::StartXDom, Fixed(x)},
              {tag::dXDom, Fixed(xStep)},
              {tag::StartY, Fixed(y)},
              {tag::dY, Fixed(yStep)},
              {tag::Count, count},
              {tag::Render, render}});
    }
    Pixels Drawn() {
        Pixels pixels;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                for (uint32_t n = Pixel(x, y); n != 0; --n) {
                    pixels.insert({x, y});
                }
            }
        }
        return pixels;
    }
};

TEST(Lines, HorizontalLineFromItsTrueStart) {
    LineRig r;
    r.Walk(10.2, 1, 5.5, 0, 11);
    Pixels expected;
    for (int x = 10; x <= 20; ++x) {
        expected.insert({x, 5});
    }
    EXPECT_EQ(r.Drawn(), expected);
}

TEST(Lines, EachStepTakesThePixelThatItFallsIn) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> coordinate(2, 62);
    std::uniform_real_distribution<double> slope(-1, 1);
    std::uniform_int_distribution<uint32_t> count(0, 50);
    for (int round = 0; round < 600; ++round) {
        // What the registers hold, exactly.
        const double x = Fixed(coordinate(random)) / 65536.0;
        const double y = Fixed(coordinate(random)) / 65536.0;
        const double minor = static_cast<int32_t>(Fixed(slope(random))) / 65536.0;
        const double major = round % 2 == 0 ? 1 : -1;
        const bool alongX = round % 4 < 2;
        const bool biased = round % 8 < 4;
        const uint32_t steps = count(random);
        LineRig r;
        r.Send(tag::RasterizerMode, biased ? 0x20 : 0);
        r.Walk(x, alongX ? major : minor, y, alongX ? minor : major, steps);
        Pixels expected;
        for (uint32_t k = 0; k < steps; ++k) {
            const double bias = biased ? 0.5 : 0;
            const auto px = static_cast<int>(std::floor(x + bias + k * (alongX ? major : minor)));
            const auto py = static_cast<int>(std::floor(y + bias + k * (alongX ? minor : major)));
            if (px >= 0 && px < 64 && py >= 0 && py < 64) {
                expected.insert({px, py});
            }
        }
        ASSERT_EQ(r.Drawn(), expected) << round;
        ASSERT_FALSE(r.board.FaultReport().Any());
    }
}

TEST(Lines, ContinueNewLineDrawsOneMorePixel) {
    LineRig r;
    r.Walk(10.5, 1, 5, 0.5, 4);
    EXPECT_EQ(r.Drawn(), (Pixels{{10, 5}, {11, 5}, {12, 6}, {13, 6}}));
    r.Send(tag::ContinueNewLine, 1);
    EXPECT_EQ(r.Drawn(), (Pixels{{10, 5}, {11, 5}, {12, 6}, {13, 6}, {14, 7}}));
}

TEST(Lines, ColourFogAndDepthStepOncePerPixel) {
    rig::Rig r;
    constexpr uint32_t kDepthBase = 100000;
    r.Send({{tag::ColorDDAMode, 3},
            {tag::RStart, 10u << 15},
            {tag::dRdx, 77u << 15}, // no part of a line
            {tag::dRdyDom, 4u << 15},
            {tag::GStart, 200u << 15},
            {tag::dGdyDom, static_cast<uint32_t>(-3 * 32768)},
            {tag::FogMode, 1},
            {tag::FogColor, 0x00FF0000},
            {tag::FStart, 0x400000},
            {tag::dFdx, 0},
            {tag::dFdyDom, static_cast<uint32_t>(-0x80000)}, // an eighth
            {tag::LBWindowBase, kDepthBase},
            {tag::LBReadMode, rig::kPitch64},
            {tag::LBWriteMode, 1},
            {tag::DepthMode, 3 | 7 << 4},
            {tag::ZStartU, 1000},
            {tag::dZdxU, 5},
            {tag::dZdyDomU, 10}});
    r.Send({{tag::StartXDom, 8u << 16},
            {tag::dXDom, 0xFFFF8000},
            {tag::StartY, 3u << 16},
            {tag::dY, 0x10000},
            {tag::Count, 6},
            {tag::Render, 0x14000}});
    for (int k = 0; k < 6; ++k) {
        const int x = (16 - k) / 2; // eight, then half a pixel less each row
        const uint32_t pixel = r.Pixel(x, 3 + k);
        EXPECT_NEAR(pixel & 0xFF, (10 + 4 * k) * (8 - k) / 8.0, 0.51);
        EXPECT_NEAR(pixel >> 8 & 0xFF, (200 - 3 * k) * (8 - k) / 8.0, 0.51);
        EXPECT_NEAR(pixel >> 16 & 0xFF, 255 * k / 8.0, 0.51);
        EXPECT_EQ(r.Element<uint16_t>(kDepthBase + static_cast<size_t>((3 + k) * 64 + x)),
                  1000 + 10 * k);
    }
}

TEST(Lines, StayInsideTheScissorRectangle) {
    LineRig r;
    r.Send({{tag::ScissorMode, 1},
            {tag::ScissorMinXY, 4u << 16 | 12},
            {tag::ScissorMaxXY, 8u << 16 | 15}});
    r.Walk(10, 1, 5, 0, 10);
    r.Walk(13, 0, 0, 1, 20);
    EXPECT_EQ(r.Drawn(), (Pixels{{12, 5}, {13, 5}, {14, 5}, {13, 4}, {13, 5}, {13, 6}, {13, 7}}));
}

TEST(Points, AreOnePixelInTheConstantColour) {
    LineRig r;
    r.Send(tag::RasterizerMode, 0x20);
    r.Walk(10.4, 0, 20.6, 0, 1, 0x10080);
    r.Send(tag::RasterizerMode, 0);
    r.Walk(30.9, 0, 40.9, 0, 1, 0x10080);
    EXPECT_EQ(r.Drawn(), (Pixels{{10, 21}, {30, 40}}));
}

TEST(Lines, GoingOnWithAnotherKindOfPrimitiveIsCounted) {
    LineRig r;
    r.Send(tag::ContinueNewLine, 1); // nothing to go on with
    EXPECT_FALSE(r.board.FaultReport().Any());
    r.Rectangle(2, 2, 4, 4);
    r.Send(tag::ContinueNewLine, 1);
    r.Walk(10, 1, 5, 0, 2);
    r.Send(tag::Continue, 1);
    const std::map<std::string, uint64_t> expected = {
        {"continuation of another kind of primitive", 2}};
    EXPECT_EQ(r.board.FaultReport().unmodelled, expected);
}

} // namespace
