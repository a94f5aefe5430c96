#include "board/setup/setup_line.h"
#include "tests/board/setup_rig.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <set>

namespace {

using rig::Point;
using Pixels = std::multiset<std::pair<int, int>>;

Pixels Drawn(rig::SetupCounter& r) {
    Pixels pixels;
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            for (uint32_t n = r.Covered(x, y); n != 0; --n) {
                pixels.insert({x, y});
            }
        }
    }
    return pixels;
}

// The pixels of a line with its first end's position carried from one to the next: columns (or
// rows) from the pixel of the one end up to that of the other.
Pixels ExpectedLine(Point from, Point to, bool biased) {
    const double bias = biased ? 0.5 : 0;
    from = {from.x + bias, from.y + bias};
    to = {to.x + bias, to.y + bias};
    const bool alongX = std::fabs(to.y - from.y) <= std::fabs(to.x - from.x);
    const double start = alongX ? from.x : from.y;
    const double end = alongX ? to.x : to.y;
    const double other = alongX ? from.y : from.x;
    const double slope = ((alongX ? to.y : to.x) - other) / (end - start);
    Pixels pixels;
    for (int i = -8; i < 72; ++i) {
        const bool inside = start <= end ? std::floor(start) <= i && i < std::floor(end)
                                         : std::floor(end) < i && i <= std::floor(start);
        if (!inside) {
            continue;
        }
        const int j = static_cast<int>(std::floor(other + (i - std::floor(start)) * slope));
        if (i >= 0 && i < 64 && j >= 0 && j < 64) {
            pixels.insert(alongX ? std::pair{i, j} : std::pair{j, i});
        }
    }
    return pixels;
}

TEST(SetupLine, GoesFromThePixelOfOneEndToThatOfTheOther) {
    std::mt19937 random(41);
    std::uniform_real_distribution<float> coordinate(-4, 68);
    for (int round = 0; round < 800; ++round) {
        Point ends[2];
        for (Point& p : ends) {
            p = {coordinate(random), coordinate(random)};
        }
        if (round % 5 == 0) { // ends on centres or between pixels, level, upright, diagonal
            ends[0] = {std::floor(ends[0].x * 2) / 2, std::floor(ends[0].y * 2) / 2};
            const double length = std::floor(ends[1].x / 2);
            ends[1] = {ends[0].x + (round % 3 != 0 ? length : 0), ends[0].y};
            ends[1].y += round % 3 != 1 ? -length : 0;
        }
        const bool biased = round % 2 == 0;
        for (const bool forwards : {true, false}) {
            rig::SetupCounter r;
            r.Send(tag::RasterizerMode, biased ? 0x20 : 0);
            r.Place(0, ends[0]);
            r.Place(1, ends[1]);
            r.Send(forwards ? tag::DrawLine01 : tag::DrawLine10, rig::kLine);
            ASSERT_EQ(Drawn(r), forwards ? ExpectedLine(ends[0], ends[1], biased)
                                         : ExpectedLine(ends[1], ends[0], biased))
                << round << ' ' << ends[0].x << ' ' << ends[0].y << ' ' << ends[1].x << ' '
                << ends[1].y;
            ASSERT_FALSE(r.board.FaultReport().Any());
        }
    }
}

TEST(SetupLine, ContinueNewLineAddsTheEndPixel) {
    rig::SetupCounter r;
    r.Send(tag::RasterizerMode, 0x20);
    r.Place(0, {5, 8});
    r.Place(1, {9, 8});
    r.Send(tag::DrawLine01, rig::kLine);
    EXPECT_EQ(Drawn(r), (Pixels{{5, 8}, {6, 8}, {7, 8}, {8, 8}}));
    r.Send(tag::ContinueNewLine, 1);
    EXPECT_EQ(Drawn(r), (Pixels{{5, 8}, {6, 8}, {7, 8}, {8, 8}, {9, 8}}));
}

TEST(SetupLine, WithoutLengthHasNoPixelButTheContinuedOne) {
    rig::SetupCounter r;
    r.Send(tag::RasterizerMode, 0x20);
    r.Place(0, {5.3, 8.2});
    r.Place(1, {5.3, 8.2});
    r.Send(tag::DrawLine01, rig::kLine);
    EXPECT_EQ(Drawn(r), Pixels{});
    r.Send(tag::ContinueNewLine, 1);
    EXPECT_EQ(Drawn(r), (Pixels{{5, 8}}));
}

// Two ends in one pixel have no line between them; a driver that wants a pixel there moves one of
// them up by one.
TEST(SetupLine, EndsInOnePixelHaveALineOnceOneIsMovedUp) {
    std::mt19937 random(53);
    std::uniform_real_distribution<double> inside(-0.499, 0.499);
    for (int round = 0; round < 300; ++round) {
        const Point a{20 + inside(random), 30 + inside(random)};
        const Point b{a.x, 30 + inside(random)};
        rig::SetupCounter r;
        r.Send(tag::RasterizerMode, 0x20);
        r.Place(0, a);
        r.Place(1, b);
        r.Send(tag::DrawLine01, rig::kLine);
        ASSERT_EQ(Drawn(r), Pixels{});
        r.Place(0, {a.x, a.y - 1});
        r.Send(tag::DrawLine01, rig::kLine);
        ASSERT_EQ(Drawn(r), (Pixels{{20, 29}}));
    }
}

TEST(SetupLine, ChainSharesNoPixelAtItsJoints) {
    const Point chain[] = {{3, 3}, {40, 3}, {40, 30}, {12, 30}, {12, 60}, {3, 60}, {3, 3}};
    rig::SetupCounter r;
    for (size_t i = 0; i + 1 < std::size(chain); ++i) {
        r.Place(0, chain[i]);
        r.Place(1, chain[i + 1]);
        r.Send({{tag::RasterizerMode, 0x20}, {tag::DrawLine01, rig::kLine}});
    }
    const Pixels pixels = Drawn(r);
    for (const auto& pixel : pixels) {
        EXPECT_EQ(pixels.count(pixel), 1u) << pixel.first << ' ' << pixel.second;
    }
    EXPECT_EQ(pixels.size(), 37u + 27 + 28 + 30 + 9 + 57);
}

TEST(SetupLine, OneRowLongIsAPointWhereverItLies) {
    std::mt19937 random(43);
    std::uniform_real_distribution<float> coordinate(1, 62);
    for (int round = 0; round < 500; ++round) {
        const Point p{coordinate(random), coordinate(random)};
        rig::SetupCounter r;
        r.Place(0, p);
        r.Place(1, {p.x, static_cast<float>(p.y) + 1.0f});
        r.Send(tag::DrawLine01, rig::kLine);
        ASSERT_EQ(Drawn(r),
                  (Pixels{{static_cast<int>(std::floor(p.x)), static_cast<int>(std::floor(p.y))}}));
    }
}

TEST(SetupLine, ValuesFollowTheLine) {
    std::mt19937 random(47);
    std::uniform_real_distribution<float> coordinate(2, 62);
    std::uniform_int_distribution<uint32_t> channel(0, 255);
    for (int round = 0; round < 200; ++round) {
        rig::SetupRig r(rig::kDeltaPermedia | rig::kDeltaSmooth | rig::kDeltaRedHigh |
                        rig::kDeltaFog);
        r.Send({{tag::ColorDDAMode, 3}, {tag::FogMode, 1}, {tag::FogColor, 0}});
        const Point from{coordinate(random), coordinate(random)};
        const Point to{coordinate(random), coordinate(random)};
        const uint32_t red[] = {channel(random), channel(random)};
        const double fog[] = {channel(random) / 256.0, channel(random) / 256.0};
        const uint32_t render = rig::kLine | (round % 2 == 0 ? rig::kFog : 0);
        for (uint32_t slot = 0; slot < 2; ++slot) {
            r.Place(slot, slot == 0 ? from : to);
            r.PackedColour(slot, red[slot] << 16);
            r.Float(slot, rig::F, fog[slot]);
        }
        r.Send(tag::DrawLine01, render);
        const bool alongX = std::fabs(to.y - from.y) <= std::fabs(to.x - from.x);
        for (const auto& [x, y] : ExpectedLine(from, to, false)) {
            const double along = alongX ? (x - std::floor(from.x)) / std::fabs(to.x - from.x) *
                                              (to.x < from.x ? -1 : 1)
                                        : (y - std::floor(from.y)) / std::fabs(to.y - from.y) *
                                              (to.y < from.y ? -1 : 1);
            const double f = render & rig::kFog ? fog[0] + along * (fog[1] - fog[0]) : 1;
            const double value = red[0] + along * (static_cast<double>(red[1]) - red[0]);
            // Rounded twice, before and after the fog.
            ASSERT_NEAR(r.Pixel(x, y) & 0xFF, value * f, 1.02) << round;
        }
    }
}

TEST(SetupLine, FlatLineTakesTheConstantColour) {
    rig::SetupRig r;
    r.Send({{tag::ColorDDAMode, 1}, {tag::ConstantColor, 0x00123456}});
    r.Place(0, {5, 5.5});
    r.Place(1, {8, 5.5});
    r.PackedColour(0, 0xFFFFFFFF);
    r.Send(tag::DrawLine01, rig::kLine);
    EXPECT_EQ(r.Pixel(5, 5), 0x00123456u);
    EXPECT_EQ(r.Pixel(7, 5), 0x00123456u);
    EXPECT_EQ(r.Pixel(8, 5), 0u);
}

TEST(SetupLine, WithoutCoordinatesDrawsNothing) {
    rig::SetupCounter r;
    r.Place(0, {5, 5});
    r.Place(1, {std::numeric_limits<double>::quiet_NaN(), 5});
    r.Send({{tag::DrawLine01, rig::kLine}, {tag::ContinueNewLine, 1}});
    EXPECT_EQ(Drawn(r), Pixels{});
    EXPECT_FALSE(r.board.FaultReport().Any());
}

} // namespace
