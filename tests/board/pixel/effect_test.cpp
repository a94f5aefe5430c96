// Primitives that write nothing: a pick result is all that can come of them, and however long their
// rows are they end at once.
#include "board/pixel/fragment_rows.h"
#include "board/pixel/pipeline.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using board::Interpolants;

// What a walk over all pixels of the span picks: alpha above 128 inside the region.
bool PickedByWalk(const board::Span& span, const Interpolants& row, int64_t left, int64_t top,
                  int64_t right, int64_t bottom) {
    const board::Interpolant& alpha = row.channels[Interpolants::Alpha];
    bool picked = false;
    for (int64_t step = 0; step < span.right - span.left; ++step) {
        const int64_t x = span.leftward ? span.right - 1 - step : span.left + step;
        const int64_t value = (alpha.value + alpha.dx * step + (1 << 14)) >> 15;
        picked =
            picked || (value > 128 && x >= left && x < right && span.y >= top && span.y < bottom);
    }
    return picked;
}

TEST(FragmentsWithoutEffect, PickWhatAWalkOverAllOfThemPicks) {
    std::mt19937 random(7);
    const auto below = [&](uint32_t end) { return static_cast<int64_t>(random() % end); };
    int picked = 0;
    constexpr int kSpans = 3000;
    board::Memories memories;
    memories.frameBuffer.Init(1 << 16, {});
    memories.localBuffer.Init(1 << 16, {});
    board::HostMemory host;
    board::LookupTables tables;
    for (int i = 0; i < kSpans; ++i) {
        board::RegisterFile registers;
        board::FaultCounts faults;
        const int64_t left = below(60), top = below(8), right = below(100), bottom = below(16);
        registers.Set(tag::StatisticMode, 1);
        registers.Set(tag::MinRegion, static_cast<uint32_t>(top << 16 | left));
        registers.Set(tag::MaxRegion, static_cast<uint32_t>(bottom << 16 | right));
        registers.Set(tag::ColorDDAMode, 3);
        registers.Set(tag::AlphaTestMode, 1 | 4 << 1 | 128 << 4);
        registers.Set(tag::Render, rig::kTrapezoid);
        Interpolants row{};
        row.channels[Interpolants::Alpha] = {below(256) << 15, (below(41) - 20) << 14, 0};
        board::Span span{};
        span.y = below(12);
        span.left = below(80) - 20;
        span.right = span.left + below(80);
        span.leftward = below(2) == 0;
        const board::PipelineState state = board::DecodePipeline(
            DeviceOf(board::Chip::Permedia), registers, memories, host, tables, faults);
        ASSERT_FALSE(state.drawsPixels);
        const bool expected = PickedByWalk(span, row, left, top, right, bottom);
        picked += expected;
        const board::RowPlan plan = board::PlanRows(state);
        for (const board::RowPlan* way : {static_cast<const board::RowPlan*>(nullptr), &plan}) {
            board::PickUnit pick;
            pick.Configure(registers);
            board::DrawSpan(state, way, span, row, pick, faults);
            ASSERT_EQ(pick.Picked(), expected) << i;
        }
        EXPECT_EQ(faults.badMemoryAccesses, 0u);
    }
    EXPECT_GT(picked, kSpans / 20);
    EXPECT_LT(picked, kSpans / 2);
}

// Rows of up to 2^31 pixels, 65535 of them, with all that needs a walk.
TEST(FragmentsWithoutEffect, EndAtOnceHoweverManyTheyAre) {
    for (const bool textured : {false, true}) {
        rig::Rig r;
        r.Send({{tag::FBWriteMode, 0}, {tag::StatisticMode, 1}, {tag::FilterMode, 0x3000 << 0}});
        r.Send({{tag::MinRegion, 100u << 16 | 5}, {tag::MaxRegion, 101u << 16 | 6}});
        r.Send({{tag::ColorDDAMode, 3}, {tag::AlphaTestMode, 1 | 7 << 1}, {tag::dRdx, 0x1234567}});
        if (textured) {
            r.Send({{tag::TextureAddressMode, 1}, {tag::TextureReadMode, 1 | 5 << 9 | 5 << 13}});
            r.Send({{tag::TextureMapFormat, 1}, {tag::dSdx, 0x7654321}});
        }
        r.Send({{tag::StartXDom, 0x80000000},
                {tag::dXDom, 0x80000000},
                {tag::StartXSub, 0x7FFF0000},
                {tag::dXSub, 0x7FFF0000},
                {tag::StartY, 0},
                {tag::dY, 0x10000},
                {tag::Count, 0xFFFF},
                {tag::Render, rig::kTrapezoid | (textured ? 1u << 13 : 0u)}});
        r.Send(tag::PickResult, 0);
        EXPECT_EQ(r.Register(tag::PickResult), 1u);
        EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 0u);
    }
}

} // namespace
