#include "board/raster/rasteriser.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

using rig::Fixed;

constexpr double kOne = 65536.0;

// Adds 1 to every pixel that a trapezoid covers: additive blending of colour 1.
class Counter : public rig::Rig {
  public:
    Counter() {
        Send({{tag::ColorDDAMode, 1},
              {tag::ConstantColor, 0x00000001},
              {tag::FBReadMode, rig::kPitch64 | 0x400},
              {tag::AlphaBlendMode, 1 | 1 << 1 | 1 << 5}}); // one, one, 8:8:8:8
    }
    uint32_t Covered(int x, int y) { return Pixel(x, y) & 0xFF; }
};

TEST(Rasteriser, CoversPixelsWhoseCentresLieBetweenTheEdges) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int32_t> coordinate(0, 60 << 16);
    for (int round = 0; round < 20000; ++round) {
        int64_t dominant = coordinate(random);
        int64_t subordinate = coordinate(random);
        if (round % 4 == 0) { // exactly on centres
            dominant = (dominant & ~0xFFFF) | 0x8000;
            subordinate = (subordinate & ~0xFFFF) | 0x8000;
        }
        const board::Span span = board::CoveredSpan(3, dominant, subordinate);
        const double left = static_cast<double>(std::min(dominant, subordinate)) / kOne;
        const double right = static_cast<double>(std::max(dominant, subordinate)) / kOne;
        for (int i = -1; i < 62; ++i) {
            const bool expected = left <= i + 0.5 && i + 0.5 < right;
            ASSERT_EQ(i >= span.left && i < span.right, expected) << left << ' ' << right;
        }
        if (!span.Empty()) {
            ASSERT_EQ(span.leftward, dominant > subordinate);
            ASSERT_EQ(static_cast<double>(span.lead) / kOne,
                      std::fabs(static_cast<double>(span.First()) + 0.5 -
                                static_cast<double>(dominant) / kOne));
        }
    }
}

TEST(Rasteriser, WalksRowsInTheDirectionOfDY) {
    rig::Rig down;
    down.Send(tag::Color, 1);
    down.Rectangle(2, 3, 4, 6);
    rig::Rig up;
    up.Send({{tag::Color, 1},
             {tag::StartXDom, 2u << 16},
             {tag::StartXSub, 4u << 16},
             {tag::StartY, 5u << 16},
             {tag::dY, 0xFFFF0000},
             {tag::Count, 3},
             {tag::Render, rig::kTrapezoid}});
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            const uint32_t inside = x >= 2 && x < 4 && y >= 3 && y < 6;
            ASSERT_EQ(down.Pixel(x, y), inside);
            ASSERT_EQ(up.Pixel(x, y), inside);
        }
    }
}

TEST(Rasteriser, SlantedEdgesMatchAFloatEdgeTest) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> start(5, 55);
    std::uniform_real_distribution<double> slope(-1.5, 1.5);
    for (int round = 0; round < 200; ++round) {
        Counter r;
        const uint32_t dominant = Fixed(start(random));
        const uint32_t subordinate = Fixed(start(random));
        const auto dominantStep = static_cast<int32_t>(slope(random) * kOne);
        const auto subordinateStep = static_cast<int32_t>(slope(random) * kOne);
        r.Send({{tag::ScissorMode, 2}, {tag::ScreenSize, 32u << 16 | 64}});
        r.Send({{tag::StartXDom, dominant},
                {tag::dXDom, static_cast<uint32_t>(dominantStep)},
                {tag::StartXSub, subordinate},
                {tag::dXSub, static_cast<uint32_t>(subordinateStep)},
                {tag::StartY, 20u << 16},
                {tag::dY, 0xFFFF0000},
                {tag::Count, 20},
                {tag::Render, rig::kTrapezoid}});
        for (int row = 0; row < 20; ++row) {
            const double a = (dominant + static_cast<double>(dominantStep) * row) / kOne;
            const double b = (subordinate + static_cast<double>(subordinateStep) * row) / kOne;
            for (int x = 0; x < 64; ++x) {
                const bool expected = std::min(a, b) <= x + 0.5 && x + 0.5 < std::max(a, b);
                ASSERT_EQ(r.Covered(x, 20 - row), expected) << x << ' ' << row;
            }
        }
    }
}

TEST(Rasteriser, FanOfSliversCoversEachPixelExactlyOnce) {
    std::mt19937 random(23);
    std::uniform_int_distribution<int32_t> start(1 << 16, 62 << 16);
    std::uniform_int_distribution<int32_t> slope(-100000, 100000);
    for (int round = 0; round < 50; ++round) {
        // Starts and slopes both ascend, so that edges never cross; in every other round they
        // spread from one point. Neighbours use an edge in both roles and in both orders.
        std::vector<int64_t> edges(12);
        std::vector<int32_t> steps(12);
        for (size_t i = 0; i < edges.size(); ++i) {
            edges[i] = round % 2 == 0 ? start(random) : 30 << 16 | 0x1234;
            steps[i] = slope(random);
        }
        std::sort(edges.begin(), edges.end());
        std::sort(steps.begin(), steps.end());
        Counter r;
        r.Send({{tag::ScissorMode, 2}, {tag::ScreenSize, 16u << 16 | 64}});
        for (size_t i = 0; i + 1 < edges.size(); ++i) {
            const bool swap = random() & 1;
            r.Send({{tag::StartXDom, static_cast<uint32_t>(edges[i + swap])},
                    {tag::StartXSub, static_cast<uint32_t>(edges[i + !swap])},
                    {tag::dXDom, static_cast<uint32_t>(steps[i + swap])},
                    {tag::dXSub, static_cast<uint32_t>(steps[i + !swap])},
                    {tag::StartY, 0},
                    {tag::dY, 0x10000},
                    {tag::Count, 16},
                    {tag::Render, rig::kTrapezoid}});
        }
        for (int y = 0; y < 16; ++y) {
            const double left = static_cast<double>(edges.front() + int64_t{steps.front()} * y);
            const double right = static_cast<double>(edges.back() + int64_t{steps.back()} * y);
            for (int x = 0; x < 64; ++x) {
                const double centre = (x + 0.5) * kOne;
                ASSERT_EQ(r.Covered(x, y), left <= centre && centre < right) << x << ' ' << y;
            }
        }
    }
}

TEST(Rasteriser, ContinuationTakesANewSubordinateEdge) {
    Counter r;
    // A triangle with its bottom at row 9: the left edge stays, the right one turns at row 5.
    r.Send({{tag::StartXDom, 10u << 16},
            {tag::dXDom, 0},
            {tag::StartXSub, 10u << 16},
            {tag::dXSub, 2u << 16},
            {tag::StartY, 9u << 16},
            {tag::dY, 0xFFFF0000},
            {tag::Count, 4},
            {tag::Render, rig::kTrapezoid}});
    r.Words({burst::NextSubEdge, 18u << 16, 0xFFFE0000, 4});
    const int widths[] = {0, 2, 4, 6, 8, 6, 4, 2};
    for (int row = 0; row < 8; ++row) {
        for (int x = 0; x < 32; ++x) {
            ASSERT_EQ(r.Covered(x, 9 - row), x >= 10 && x < 10 + widths[row]) << row << ' ' << x;
        }
    }
}

TEST(Rasteriser, ContinuationTakesANewDominantEdge) {
    Counter r;
    r.Rectangle(10, 0, 20, 2);
    r.Send({{tag::StartXDom, 15u << 16}, {tag::ContinueNewDom, 2}, {tag::Continue, 1}});
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 32; ++x) {
            ASSERT_EQ(r.Covered(x, y), y < 5 && x >= (y < 2 ? 10 : 15) && x < 20);
        }
    }
}

TEST(Rasteriser, RegistersKeepWhatWasWritten) {
    rig::Rig r;
    r.Rectangle(10, 0, 20, 5);
    EXPECT_EQ(r.Register(tag::StartXDom), 10u << 16);
    EXPECT_EQ(r.Register(tag::StartY), 0u);
    EXPECT_EQ(r.Register(tag::Count), 5u);
}

} // namespace
