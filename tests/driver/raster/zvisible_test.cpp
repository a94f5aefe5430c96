#include "driver/raster/ZVisible.h"
#include "tests/driver/raster/raster_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using test::Pairs;
using test::RasterRig;
using test::Vertex;
using test::Words;
using test::operator+;

// For a target of 320 by 200.
const Words kBegin = Pairs({{t::FBWriteMode, 0},
                            {t::LBWriteMode, 0},
                            {t::MinRegion, 0},
                            {t::MaxRegion, 0x00C80140},
                            {t::FilterMode, 0xC00},
                            {t::StatisticMode, 5},
                            {t::ResetPickResult, 0}});
const Words kAsk = {t::FilterMode, 0x3C00, t::PickResult, 0};

class ZPick : public testing::TestWithParam<bool> {
  protected:
    ZPick() : rig(GetParam()) {
        target.lpGbl = &global;
        global.wWidth = 320;
        global.wHeight = 200;
        rig.ctx.RenderTargetSurface = &target;
        sent.clear();
        transfers = 0;
        rig.ctx.Stream.StartDMA = [](DriverData*, uint32_t, uint32_t count, uint32_t,
                                     uint32_t* linear, uint32_t) {
            sent.insert(sent.end(), linear, linear + count);
            ++transfers;
            return 0;
        };
    }
    // What the chip will say, after a word of somebody else's.
    void Answer(uint32_t result) { rig.bus.output = {t::Sync, 0, t::PickResult, result}; }
    // All words, sent or waiting.
    Words All() {
        const Words rest = rig.Take();
        return sent + rest;
    }
    uint32_t Test(uint32_t (*facility)(D3DContext*, D3DINSTRUCTION*, D3DTLVERTEX*, void*),
                  std::vector<D3DTLVERTEX> vertices, uint16_t count) {
        std::vector<D3DTRIANGLE> records(count, {0, 1, 2, 0});
        D3DINSTRUCTION ins{D3DOP_TRIANGLE, sizeof(D3DTRIANGLE), count};
        return facility(&rig.ctx, &ins, vertices.data(), records.data());
    }

    inline static Words sent;
    inline static int transfers;
    RasterRig rig;
    DDRAWI_DDRAWSURFACE_LCL target{};
    DDRAWI_DDRAWSURFACE_GBL global{};
};

TEST_P(ZPick, BeginTurnsWritesOffAndClearsTheResult) {
    BeginZPickTest(&rig.driver, &rig.ctx);
    EXPECT_EQ(All(), kBegin);
    EXPECT_EQ(transfers, 0);
}

TEST_P(ZPick, EndSendsTheBatchAndGivesTheAnswersLowestBit) {
    for (const uint32_t answer : {0u, 1u, 2u, 0xFFFFFFFFu}) {
        Answer(answer);
        EXPECT_EQ(EndZPickTest(&rig.driver, &rig.ctx), answer & 1);
        EXPECT_TRUE(rig.bus.output.empty());
    }
    EXPECT_EQ(transfers, GetParam() ? 4 : 0);
}

TEST_P(ZPick, EndTurnsOnDepthWritesOnlyForAContextThatWritesDepth) {
    Answer(1);
    rig.ctx.Copies.LBWriteMode = 0xFFFFFFFE;
    EndZPickTest(&rig.driver, &rig.ctx);
    EXPECT_EQ(All(), kAsk + Words({t::FBWriteMode, 1}));
    sent.clear();

    Answer(1);
    rig.ctx.Copies.LBWriteMode = 0x81;
    EndZPickTest(&rig.driver, &rig.ctx);
    EXPECT_EQ(All(), kAsk + Words({t::FBWriteMode, 1, t::LBWriteMode, 1}));
}

TEST_P(ZPick, TheQuestionReachesTheChipBeforeTheAnswerIsAwaited) {
    rig.ctx.Copies.LBWriteMode = 1;
    Answer(0);
    EndZPickTest(&rig.driver, &rig.ctx);
    if (GetParam()) {
        EXPECT_EQ(sent, kAsk);
    } else {
        size_t words = 0;
        for (const test::BusEvent& event : rig.bus.events) {
            words += event.kind == 'f';
            if (event.kind == 'r' && event.offset == 0x20) {
                break;
            }
        }
        EXPECT_EQ(words, kAsk.size());
    }
}

TEST_P(ZPick, DeltaSendsThreeVerticesAndADrawWordForEachKeptTriangle) {
    Answer(1);
    EXPECT_EQ(
        Test(Delta_Tri_Z_Visible, {Vertex(1, 2, 0.5f), Vertex(5, 2, 0.25f), Vertex(1, 8, 1.0f)}, 2),
        1u);
    const Words triangle = {0x1C008230, 0x3F800000, 0x40000000,      0x3F000000, 0x1C008240,
                            0x40A00000, 0x40000000, 0x3E800000,      0x1C008250, 0x3F800000,
                            0x41000000, 0x3F800000, t::DrawTriangle, 0x10040};
    EXPECT_EQ(All(), kBegin + triangle + triangle + kAsk + Words({t::FBWriteMode, 1}));
}

TEST_P(ZPick, GlintSendsDepthAndEdgesButNeitherColourNorStipple) {
    rig.ctx.RenderFlags = RF_STIPPLEDALPHA | RF_SPECULAR | RF_GOURAUD | RF_FOG;
    Answer(0);
    // Depth 1.0 all over; the left edge is vertical at 4, the bottom one lies in row 8.
    EXPECT_EQ(
        Test(Glint_Tri_Z_Visible, {Vertex(4, 4, 1.0f), Vertex(12, 8, 1.0f), Vertex(4, 8, 1.0f)}, 1),
        0u);
    const Words words = All();
    const Words depth = {0x0FC08130, 0xFFFF, 0, 0, 0, 0, 0};
    ASSERT_GT(words.size(), kBegin.size() + depth.size());
    EXPECT_EQ(Words(words.begin(), words.begin() + kBegin.size()), kBegin);
    EXPECT_EQ(Words(words.begin() + kBegin.size(), words.begin() + kBegin.size() + 7), depth);
    // One trapezoid up from row 7, 4 rows: B, in its record's place, is the start.
    EXPECT_EQ(
        Words(words.begin() + kBegin.size() + 7, words.end()),
        Words({0x00FF8000, 0xC0000, 0xFFFE0000, 0x40000, 0, 0x70000, 0xFFFF0000, 4, 0x10040}) +
            kAsk + Words({t::FBWriteMode, 1}));
}

TEST_P(ZPick, AllCulledDrawsNothingAndIsNotVisible) {
    rig.ctx.CullMode = 2;
    const std::vector<D3DTLVERTEX> line = {Vertex(0, 0), Vertex(4, 4), Vertex(8, 8)};
    for (const auto facility : {Delta_Tri_Z_Visible, Glint_Tri_Z_Visible}) {
        Answer(0);
        EXPECT_EQ(Test(facility, line, 3), 0u);
        EXPECT_EQ(All(), kBegin + kAsk + Words({t::FBWriteMode, 1}));
        sent.clear();
    }
}

TEST_P(ZPick, WithoutTrianglesDeltaSaysVisibleAndGlintAsksTheChip) {
    EXPECT_EQ(Test(Delta_Tri_Z_Visible, {}, 0), 1u);
    EXPECT_TRUE(All().empty());
    EXPECT_TRUE(rig.bus.events.empty());
    Answer(0);
    EXPECT_EQ(Test(Glint_Tri_Z_Visible, {}, 0), 0u);
    EXPECT_EQ(All(), kBegin + kAsk + Words({t::FBWriteMode, 1}));
}

TEST_P(ZPick, GlintDropsAFlatTriangleAndLeavesItsVerticesOnWholeRows) {
    Answer(0);
    std::vector<D3DTLVERTEX> vertices = {Vertex(1, 10.4f), Vertex(5, 10.2f), Vertex(9, 9.6f)};
    D3DTRIANGLE record{0, 1, 2, 0};
    D3DINSTRUCTION ins{D3DOP_TRIANGLE, sizeof record, 1};
    EXPECT_EQ(Glint_Tri_Z_Visible(&rig.ctx, &ins, vertices.data(), &record), 0u);
    EXPECT_EQ(All(), kBegin + kAsk + Words({t::FBWriteMode, 1}));
    for (const D3DTLVERTEX& vertex : vertices) {
        EXPECT_EQ(vertex.sy, 10.0f);
    }
}

TEST_P(ZPick, DeltaLeavesTheVerticesAsTheyAre) {
    Answer(1);
    std::vector<D3DTLVERTEX> vertices = {Vertex(1, 10.4f), Vertex(5, 20.2f), Vertex(9, 9.6f)};
    D3DTRIANGLE record{0, 1, 2, 0};
    D3DINSTRUCTION ins{D3DOP_TRIANGLE, sizeof record, 1};
    Delta_Tri_Z_Visible(&rig.ctx, &ins, vertices.data(), &record);
    EXPECT_EQ(vertices[0].sy, 10.4f);
    EXPECT_EQ(vertices[1].sy, 20.2f);
    EXPECT_EQ(vertices[2].sy, 9.6f);
}

INSTANTIATE_TEST_SUITE_P(Carriers, ZPick, testing::Bool(),
                         [](const auto& info) { return info.param ? "DMA" : "FIFO"; });

using ZPickFIFO = ZPick;
INSTANTIATE_TEST_SUITE_P(Carriers, ZPickFIFO, testing::Values(false));

// Waits as they were made: words written before, entries waited for.
using Waits = std::vector<std::pair<size_t, uint32_t>>;

TEST_P(ZPickFIFO, WaitsAreForSevenEntriesThenForEachGroupThenForFour) {
    // One entry more at each read between two words: a wait for n takes n reads and leaves none.
    uint32_t granted = 0;
    rig.bus.readFIFOSpace = [&] {
        granted = rig.bus.events.empty() || rig.bus.events.back().kind != 'r' ? 1 : granted + 1;
        return granted;
    };
    const auto waits = [&] {
        Waits found;
        size_t words = 0;
        for (const test::BusEvent& event : rig.bus.events) {
            words += event.kind == 'f';
            if (event.kind == 'r' && event.offset == reg::InFIFOSpace) {
                if (found.empty() || found.back().first != words) {
                    found.emplace_back(words, 0);
                }
                ++found.back().second;
            }
        }
        rig.bus.Clear();
        return found;
    };
    const std::vector<D3DTLVERTEX> triangle = {Vertex(4, 4), Vertex(12, 8), Vertex(4, 8)};
    Answer(0);
    Test(Delta_Tri_Z_Visible, triangle, 2);
    EXPECT_EQ(waits(), (Waits{{0, 7}, {14, 12}, {28, 12}, {42, 4}}));
    Answer(0);
    Test(Glint_Tri_Z_Visible, triangle, 2);
    EXPECT_EQ(waits(), (Waits{{0, 7}, {14, 7}, {21, 9}, {30, 7}, {37, 9}, {46, 4}}));
}

using ZPickDMA = ZPick;
INSTANTIATE_TEST_SUITE_P(Carriers, ZPickDMA, testing::Values(true));

TEST_P(ZPickDMA, ReservationsAreOf128And512And64Bytes) {
    CommandStream& stream = rig.ctx.Stream;
    stream.SubBufferWords = stream.SubBufferFlushWords = 1000;
    // Transfers made by `call` with `room` words left in the sub-buffer.
    const auto sent = [&](size_t room, const auto& call) {
        rig.Take();
        stream.WritePointer = stream.Current().Linear + 1000 - room;
        stream.Guard.Allow(stream.WritePointer);
        transfers = 0;
        Answer(0);
        call();
        return transfers;
    };
    const auto begin = [&] { BeginZPickTest(&rig.driver, &rig.ctx); };
    EXPECT_EQ(sent(32, begin), 0);
    EXPECT_EQ(sent(31, begin), 1);
    const auto end = [&] { EndZPickTest(&rig.driver, &rig.ctx); };
    EXPECT_EQ(sent(16, end), 1);
    EXPECT_EQ(sent(15, end), 2);
    const std::vector<D3DTLVERTEX> triangle = {Vertex(4, 4), Vertex(12, 8), Vertex(4, 8)};
    for (const auto facility : {Delta_Tri_Z_Visible, Glint_Tri_Z_Visible}) {
        const auto all = [&] { Test(facility, triangle, 1); };
        EXPECT_EQ(sent(14 + 128, all), 1);
        EXPECT_EQ(sent(14 + 127, all), 2);
    }
}

TEST_P(ZPickDMA, EndGoesOnInTheNextSubBufferAndFromTheLastOneInTheFirst) {
    CommandStream& stream = rig.ctx.Stream;
    std::vector<uint32_t> second(1024);
    stream.SubBufferCount = 2;
    stream.SubBuffers[1] = {0, second.data(), second.data() + 1023};
    for (const uint32_t next : {1u, 0u}) {
        Answer(0);
        EndZPickTest(&rig.driver, &rig.ctx);
        EXPECT_EQ(stream.SubBufferIndex, next);
        EXPECT_EQ(rig.Take(), (Words{t::FBWriteMode, 1}));
    }
}

TEST_P(ZPickDMA, OnTheFirstPermediaTheNextSubBufferBeginsWithItsHead) {
    rig.chip.Family = FamilyPermedia;
    rig.chip.DeviceId = DevicePermedia;
    Answer(1);
    EndZPickTest(&rig.driver, &rig.ctx);
    EXPECT_EQ(sent, kAsk);
    EXPECT_EQ(rig.Take(), Pairs({{t::FogMode, 0},
                                 {t::TextureAddressMode, 0},
                                 {t::TextureColorMode, 0},
                                 {t::TextureReadMode, 0},
                                 {t::AlphaBlendMode, 0},
                                 {t::FogColor, 0xFFFFFFFF},
                                 {t::FBWriteMode, 1}}));
}

} // namespace
