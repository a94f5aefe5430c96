#include "board/setup/setup_triangle.h"
#include "tests/board/setup_rig.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace {

using rig::Corners;
using rig::Point;

// Corners on sixteenths of a pixel, where the comparison's products are exact and centres lie on
// sides often enough.
Corners RandomCorners(std::mt19937& random, int low = -5 * 16, int high = 69 * 16) {
    std::uniform_int_distribution<int> coordinate(low, high);
    Corners corners{};
    for (Point& p : corners) {
        p = {coordinate(random) / 16.0, coordinate(random) / 16.0};
    }
    return corners;
}

TEST(SetupTriangle, CoversTheCentresInsideByAHalfOpenRule) {
    std::mt19937 random(101);
    for (int round = 0; round < 400; ++round) {
        rig::SetupCounter r;
        Corners corners = RandomCorners(random);
        if (round % 3 == 0) { // through pixel centres, with level and upright sides
            for (Point& p : corners) {
                p = {std::floor(p.x) + 0.5, std::floor(p.y) + 0.5};
            }
            corners[round % 2 + 1].y = corners[0].y;
        }
        r.Place(corners);
        r.Send(tag::DrawTriangle, rig::kTriangle);
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                const bool inside = rig::InsideHalfOpen(corners, {x + 0.5, y + 0.5});
                ASSERT_EQ(r.Covered(x, y), inside ? 1u : 0u) << round << ' ' << x << ' ' << y;
            }
        }
        ASSERT_FALSE(r.board.FaultReport().Any());
    }
}

// A net of jittered points, two triangles a cell, over columns 4 to 59 and rows 4 to 59.
TEST(SetupTriangle, NeighboursCoverEachPixelExactlyOnce) {
    std::mt19937 random(7);
    constexpr int kCells = 8;
    constexpr double kCell = 7.0;
    std::uniform_real_distribution<double> jitter(-0.3 * kCell, 0.3 * kCell);
    for (int round = 0; round < 40; ++round) {
        std::array<std::array<Point, kCells + 1>, kCells + 1> net{};
        for (int j = 0; j <= kCells; ++j) {
            for (int i = 0; i <= kCells; ++i) {
                Point& p = net[j][i];
                p = {4 + i * kCell, 4 + j * kCell};
                p.x += i % kCells != 0 ? jitter(random) : 0;
                p.y += j % kCells != 0 ? jitter(random) : 0;
            }
        }
        rig::SetupCounter r;
        for (int j = 0; j < kCells; ++j) {
            for (int i = 0; i < kCells; ++i) {
                const Point a = net[j][i], b = net[j][i + 1];
                const Point c = net[j + 1][i], d = net[j + 1][i + 1];
                for (Corners corners : {Corners{a, b, d}, Corners{a, d, c}}) {
                    std::shuffle(corners.begin(), corners.end(), random);
                    r.Place(corners);
                    r.Send(tag::DrawTriangle, rig::kTriangle);
                }
            }
        }
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                const bool inside = x >= 4 && x < 60 && y >= 4 && y < 60;
                ASSERT_EQ(r.Covered(x, y), inside ? 1u : 0u) << round << ' ' << x << ' ' << y;
            }
        }
    }
}

TEST(SetupTriangle, FanKeepsItsCentreAndTheLatestVertex) {
    std::mt19937 random(19);
    std::uniform_real_distribution<double> radius(10, 30);
    for (int round = 0; round < 40; ++round) {
        constexpr int kSpokes = 11;
        std::array<Point, kSpokes> rim{};
        for (int i = 0; i < kSpokes; ++i) {
            const double angle = 2 * 3.14159265358979 * i / kSpokes;
            const double length = radius(random);
            // Singles, as the board gets them.
            rim[i] = {static_cast<float>(32.3 + length * std::cos(angle)),
                      static_cast<float>(31.6 + length * std::sin(angle))};
        }
        const Point centre{static_cast<float>(32.3), static_cast<float>(31.6)};
        rig::SetupCounter r;
        r.Place(0, centre);
        r.Place(1, rim[0]);
        for (int i = 1; i <= kSpokes; ++i) {
            r.Place(i % 2 == 0 ? 1 : 2, rim[i % kSpokes]); // the other two vertices stay
            r.Send(tag::DrawTriangle, rig::kTriangle);
        }
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                uint32_t inside = 0;
                for (int i = 0; i < kSpokes; ++i) {
                    inside += rig::InsideHalfOpen({centre, rim[i], rim[(i + 1) % kSpokes]},
                                                  {x + 0.5, y + 0.5});
                }
                ASSERT_EQ(r.Covered(x, y), inside) << round << ' ' << x << ' ' << y;
                ASSERT_LE(inside, 1u);
            }
        }
    }
}

TEST(SetupTriangle, StripSendsOneVertexATriangle) {
    rig::SetupCounter r;
    r.Place(0, {4, 10});
    r.Place(1, {8, 30});
    for (int i = 0; i < 10; ++i) {
        r.Place((i + 2) % 3, {8.0 + 4 * i + (i % 2 == 0 ? 0 : 4), i % 2 == 0 ? 10.0 : 30.0});
        r.Send(i % 2 == 0 ? tag::DrawTriangle : tag::RepeatTriangle, rig::kTriangle);
    }
    // Between the first side, from (4, 10) to (8, 30), and the last, from (40, 10) to (48, 30).
    for (int y = 0; y < 64; ++y) {
        const double down = y + 0.5 - 10;
        const double left = 4 + down * 4 / 20;
        const double right = 40 + down * 8 / 20;
        for (int x = 0; x < 64; ++x) {
            const bool inside = y >= 10 && y < 30 && left <= x + 0.5 && x + 0.5 < right;
            ASSERT_EQ(r.Covered(x, y), inside ? 1u : 0u) << x << ' ' << y;
        }
    }
}

TEST(SetupTriangle, EveryVertexOrderDrawsTheSamePixelsAndValues) {
    const Corners corners{Point{3.3, 7.1}, Point{50.2, 20.7}, Point{20.9, 55.4}};
    const uint32_t colours[] = {0xFF102030, 0xFF60F0A0, 0xFFC04010};
    std::array<int, 3> order{0, 1, 2};
    std::vector<uint32_t> first;
    do {
        rig::SetupRig r(rig::kDeltaPermedia | rig::kDeltaSmooth);
        r.Send(tag::ColorDDAMode, 3);
        for (uint32_t slot = 0; slot < 3; ++slot) {
            r.Place(slot, corners[order[slot]]);
            r.PackedColour(slot, colours[order[slot]]);
        }
        r.Send(tag::DrawTriangle, rig::kTriangle);
        std::vector<uint32_t> picture;
        for (int i = 0; i < 64 * 64; ++i) {
            picture.push_back(r.Element<uint32_t>(static_cast<size_t>(i)));
        }
        if (first.empty()) {
            first = picture;
        }
        ASSERT_EQ(picture, first);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(SetupTriangle, ColoursFollowThePlaneOfTheirVertices) {
    std::mt19937 random(37);
    std::uniform_int_distribution<uint32_t> channel(0, 255);
    for (int round = 0; round < 200; ++round) {
        const bool redHigh = round % 2 == 0;
        const bool fixedWords = round % 3 == 0;
        rig::SetupRig r(rig::kDeltaPermedia | rig::kDeltaSmooth |
                        (redHigh ? rig::kDeltaRedHigh : 0));
        r.Send(tag::ColorDDAMode, 3);
        const Corners corners = RandomCorners(random, 0, 64 * 16);
        if (std::fabs(rig::Area2(corners[0], corners[1], corners[2])) < 40) {
            continue;
        }
        std::array<std::array<uint32_t, 4>, 3> colours{}; // red, green, blue, alpha
        for (uint32_t slot = 0; slot < 3; ++slot) {
            auto& c = colours[slot];
            c = {channel(random), channel(random), channel(random), channel(random)};
            if (fixedWords) {
                for (uint32_t i = 0; i < 4; ++i) {
                    r.Fixed(slot, rig::R + i, c[i] << 22);
                }
            } else {
                r.PackedColour(slot, redHigh ? c[3] << 24 | c[0] << 16 | c[1] << 8 | c[2]
                                             : c[3] << 24 | c[2] << 16 | c[1] << 8 | c[0]);
            }
        }
        r.Place(corners);
        r.Send(tag::DrawTriangle, rig::kTriangle);
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                const Point centre{x + 0.5, y + 0.5};
                if (!rig::InsideHalfOpen(corners, centre)) {
                    continue;
                }
                const auto weights = rig::Weights(corners, centre);
                for (int i = 0; i < 4; ++i) {
                    const double expected = weights[0] * colours[0][i] +
                                            weights[1] * colours[1][i] + weights[2] * colours[2][i];
                    const double seen = r.Pixel(x, y) >> (8 * i) & 0xFF;
                    ASSERT_NEAR(seen, expected, 0.52) << round << ' ' << x << ' ' << y << ' ' << i;
                }
            }
        }
    }
}

TEST(SetupTriangle, FogOfFixedAndFloatWordsFollowsThePlane) {
    const Corners corners{Point{2, 3}, Point{60, 10}, Point{20, 62}};
    const std::array<uint32_t, 3> fog{30, 250, 140}; // of 256
    for (const bool fixedWords : {false, true}) {
        rig::SetupRig r(rig::kDeltaPermedia | rig::kDeltaFog);
        r.Send({{tag::ColorDDAMode, 1},
                {tag::ConstantColor, 0xFFFF8000},
                {tag::FogMode, 1},
                {tag::FogColor, 0xFF0000FF}});
        r.Place(corners);
        for (uint32_t slot = 0; slot < 3; ++slot) {
            if (fixedWords) {
                r.Fixed(slot, rig::F, fog[slot] << 14);
            } else {
                r.Float(slot, rig::F, fog[slot] / 256.0);
            }
        }
        r.Send(tag::DrawTriangle, rig::kTriangle | rig::kFog);
        int pixels = 0;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                const Point centre{x + 0.5, y + 0.5};
                if (!rig::InsideHalfOpen(corners, centre)) {
                    continue;
                }
                ++pixels;
                const auto w = rig::Weights(corners, centre);
                const double f = (w[0] * fog[0] + w[1] * fog[1] + w[2] * fog[2]) / 256;
                ASSERT_NEAR(r.Pixel(x, y) & 0xFF, 255 * (1 - f), 0.51);
                ASSERT_NEAR(r.Pixel(x, y) >> 8 & 0xFF, 128 * f, 0.51);
                ASSERT_NEAR(r.Pixel(x, y) >> 16 & 0xFF, 255 * f, 0.51);
            }
        }
        EXPECT_GT(pixels, 1000);
    }
}

TEST(SetupTriangle, DepthIsScaledToItsFormat) {
    const Corners corners{Point{2.25, 3.5}, Point{60, 10}, Point{20.75, 62}};
    const std::array<double, 3> depth{0.125, 1.0, 0.5};
    for (const bool glint : {false, true}) {
        const board::Chip chip = glint ? board::Chip::TX : board::Chip::Permedia2;
        rig::Rig r(rig::SetupConfig(chip));
        constexpr uint32_t kDepthBase = 100000;
        r.Send({{tag::FBReadPixel, rig::k32Bits},
                {tag::LBReadMode, rig::kPitch64},
                {tag::LBReadFormat, glint ? 2 : 0},
                {tag::LBWindowBase, glint ? 0 : kDepthBase},
                {tag::LBWriteMode, 1},
                {tag::DepthMode, 3 | 7 << 4},
                {tag::DeltaMode,
                 (glint ? rig::kDeltaGlint : rig::kDeltaPermedia) | rig::kDeltaDepth}});
        for (uint32_t slot = 0; slot < 3; ++slot) {
            const double words[] = {corners[slot].x, corners[slot].y, depth[slot]};
            for (uint32_t i = 0; i < 3; ++i) {
                r.Send(tag::V0Float + slot * 16 + rig::X + i,
                       std::bit_cast<uint32_t>(static_cast<float>(words[i])));
            }
        }
        r.Send(tag::DrawTriangle, rig::kTriangle);
        const double one = glint ? 4294967295.0 : 65535.0;
        int pixels = 0;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                const Point centre{x + 0.5, y + 0.5};
                if (!rig::InsideHalfOpen(corners, centre)) {
                    continue;
                }
                ++pixels;
                const auto w = rig::Weights(corners, centre);
                const double expected = (w[0] * depth[0] + w[1] * depth[1] + w[2] * depth[2]) * one;
                double seen = 0;
                if (glint) {
                    uint32_t element = 0;
                    std::memcpy(&element, r.board.LocalBuffer().data() + (y * 64 + x) * 4, 4);
                    seen = element;
                } else {
                    seen = r.Element<uint16_t>(kDepthBase + static_cast<size_t>(y * 64 + x));
                }
                // Cut to an integer, and off by the last bits of X on the dominant edge.
                ASSERT_NEAR(seen + 0.5, expected, glint ? one * 1e-6 : 0.6) << x << ' ' << y;
            }
        }
        EXPECT_GT(pixels, 1000);
        EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
    }
}

TEST(SetupTriangle, QuantitiesThatAreOffKeepTheHostsWords) {
    rig::SetupRig r; // no quantity on
    r.Send({{tag::ColorDDAMode, 3},
            {tag::RStart, 40u << 15},
            {tag::dRdx, 0},
            {tag::dRdyDom, 0},
            {tag::GStart, 9u << 15}});
    for (uint32_t slot = 0; slot < 3; ++slot) {
        r.PackedColour(slot, 0xFFFFFFFF);
    }
    const Corners corners{Point{0, 0}, Point{20, 0}, Point{0, 20}};
    r.Place(corners);
    r.Send(tag::DrawTriangle, rig::kTriangle);
    EXPECT_EQ(r.Pixel(3, 3) & 0xFFFF, 0x0928u);
    r.Send({{tag::DeltaMode, rig::kDeltaPermedia | rig::kDeltaSmooth},
            {tag::DrawTriangle, rig::kTriangle}});
    EXPECT_EQ(r.Pixel(3, 3), 0xFFFFFFFFu);
    r.Send({{tag::ColorDDAMode, 1},
            {tag::ConstantColor, 0x00445566},
            {tag::DrawTriangle, rig::kTriangle}});
    EXPECT_EQ(r.Pixel(3, 3), 0x00445566u) << "flat colour is the constant one";
}

TEST(SetupTriangle, BlockFillTakesTheBlockColour) {
    rig::SetupRig r;
    r.Send(tag::FBBlockColor, 0x00ABCDEF);
    const Corners corners{Point{0, 0}, Point{20, 0}, Point{0, 20}};
    r.Place(corners);
    r.Send(tag::DrawTriangle, rig::kTriangle | rig::kFastFill);
    for (int y = 0; y < 24; ++y) {
        for (int x = 0; x < 24; ++x) {
            const bool inside = rig::InsideHalfOpen(corners, {x + 0.5, y + 0.5});
            ASSERT_EQ(r.Pixel(x, y), inside ? 0x00ABCDEFu : 0u);
        }
    }
}

TEST(SetupTriangle, SubPixelBitOffStartsAtTheTopVertex) {
    for (const bool on : {true, false}) {
        rig::SetupRig r((rig::kDeltaPermedia & ~0x400u) | (on ? 0x400u : 0) | rig::kDeltaSmooth);
        r.Send(tag::ColorDDAMode, 3);
        // Red grows by 10 a row from 0 at y 2.
        r.Place({Point{0, 2}, Point{20, 2}, Point{0, 22}});
        for (uint32_t slot = 0; slot < 3; ++slot) {
            r.PackedColour(slot, slot == 2 ? 200 : 0);
        }
        r.Send(tag::DrawTriangle, rig::kTriangle);
        EXPECT_EQ(r.Pixel(3, 2) & 0xFF, on ? 5u : 0u);
        EXPECT_EQ(r.Pixel(3, 7) & 0xFF, on ? 55u : 50u);
    }
}

TEST(SetupTriangle, TrianglesWithoutAreaOrCoordinatesDrawNothing) {
    rig::SetupCounter r;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    const Corners none[] = {{Point{5, 5}, Point{5, 5}, Point{5, 5}},
                            {Point{5, 5}, Point{15, 5}, Point{40, 5}},
                            {Point{5, 5}, Point{10, 10}, Point{40, 40}},
                            {Point{5, nan}, Point{10, 60}, Point{40, 3}},
                            {Point{nan, 2}, Point{10, 60}, Point{40, 3}}};
    for (const Corners& corners : none) {
        r.Place(corners);
        r.Send(tag::DrawTriangle, rig::kTriangle);
    }
    for (int i = 0; i < 64 * 64; ++i) {
        ASSERT_EQ(r.Covered(i % 64, i / 64), 0u);
    }
    // A far corner is as good as one at the end of the coordinates' range.
    r.Place({Point{0, 0}, Point{infinity, 0}, Point{0, infinity}});
    r.Send(tag::DrawTriangle, rig::kTriangle);
    for (int i = 0; i < 64 * 64; ++i) {
        ASSERT_EQ(r.Covered(i % 64, i / 64), 1u);
    }
}

TEST(SetupTriangle, ContinuesDownItsEdges) {
    rig::SetupCounter r;
    r.Place({Point{10, 10}, Point{30, 10}, Point{10, 20}});
    r.Send({{tag::ScissorMode, 0}, {tag::DrawTriangle, rig::kTriangle}});
    r.Send({{tag::StartXSub, 20u << 16}, {tag::dXSub, 0}, {tag::ContinueNewSub, 3}});
    for (int y = 20; y < 23; ++y) {
        for (int x = 0; x < 40; ++x) {
            ASSERT_EQ(r.Covered(x, y), x >= 10 && x < 20 ? 1u : 0u);
        }
    }
}

} // namespace
