// The untextured members of Permedia 2.
#include "driver/raster/p2_gour.h"
#include "driver/raster/stipple.h"
#include "tests/driver/raster/p2_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <bit>
#include <vector>

namespace {

using reference::P2Reference;
using test::Bits;
using test::Draw;
using test::DrawRecords;
using test::FanVertices;
using test::FullXYZ;
using test::kEven;
using test::P2Rig;
using test::Pairs;
using test::SetupRandom;
using test::TriangleRecord;
using test::Vertex;
using test::Words;
using test::XYZ;
using test::operator+;

TEST(P2Triangle, TheVerticesSignsAreAsTheTestsAssume) {
    const auto v = FanVertices();
    EXPECT_EQ(P2Reference::Det(v[0], v[1], v[2]), 300.0f);
    EXPECT_GT(P2Reference::Det(v[0], v[2], v[3]), 0.0f);
    EXPECT_GT(P2Reference::Det(v[0], v[3], v[4]), 0.0f);
}

TEST(P2Triangle, FlatSendsVerticesConstantColourAndDrawWord) {
    P2Rig rig;
    const auto v = FanVertices();
    EXPECT_EQ(Draw(rig, P2_Tri_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2)}),
              (Words{0x1C008230, 0x41A00000, 0x41200000, 0x3F000000, 0x1C008240, 0x41F00000,
                     0x41A00000, 0x3E800000, 0x1C008250, 0x41200000, 0x41F00000, 0x3F800000,
                     t::ConstantColor, 0x40302010, t::DrawTriangle, 0x10040}));
}

TEST(P2Triangle, FogGoesAheadAndGouraudColoursBehindTheVertices) {
    P2Rig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_FOG;
    const auto v = FanVertices();
    EXPECT_EQ(
        Draw(rig, P2_Tri_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2)}),
        ((Pairs(
             {{t::V0Fixed + 9, 0x40000}, {t::V1Fixed + 9, 0x80000}, {t::V2Fixed + 9, 0xC0000}})) +
         FullXYZ(v, 0, 1, 2) +
         Words{0x40008200, 0x40102030, 0x40008210, 0x80405060, 0x40008220, 0xC0708090,
               t::DrawTriangle, 0x10040}));
}

TEST(P2Triangle, SpecularIsAddedOnTheHostToEachVertexsColour) {
    P2Rig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_SPECULAR;
    auto v = FanVertices();
    v[0].specular = 0x00020202;
    v[1].specular = 0x00F00000; // red stops at 0xFE and carries into alpha's low bit
    v[2].specular = 0xFF000000; // alpha is not added
    const Words words = Draw(rig, P2_Tri_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(Words(words.end() - 8, words.end()),
              (Words{0x40008200, 0x40122232, 0x40008210, 0x81FE5060, 0x40008220, 0xC0708090,
                     t::DrawTriangle, 0x10040}));
    rig.ctx.RenderFlags = RF_SPECULAR;
    const Words flat = Draw(rig, P2_Tri_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(Words(flat.end() - 4, flat.end()),
              (Words{t::ConstantColor, 0x40322212, t::DrawTriangle, 0x10040}));
}

TEST(P2Triangle, WithCullModeNoneEveryTriangleIsSentInFullWhateverItsStripCode) {
    P2Rig rig;
    const auto v = FanVertices();
    for (uint32_t code = 0; code < 32; ++code) {
        const Words words = Draw(rig, P2_Tri_XYZ_RGBFS, v,
                                 {TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, code),
                                  TriangleRecord(0, 3, 4, code)});
        EXPECT_EQ(words.size(), 3 * 16u) << code;
    }
}

TEST(P2Triangle, AKeptTriangleContinuesWithOneVertexInTurnInSlotsOneAndTwo) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    rig.ctx.RenderFlags = RF_GOURAUD | RF_FOG;
    const auto v = FanVertices();
    const Words words = Draw(
        rig, P2_Tri_XYZ_RGBFS, v,
        {TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven), TriangleRecord(0, 3, 4, kEven)});
    EXPECT_EQ(Words(words.begin() + 26, words.end()),
              ((Words{t::V1Fixed + 9, 0x3FC000}) + XYZ(0x10, v[3]) +
               Words{0x40008240, 0xF0A0B0C0, t::DrawTriangle, 0x10040, t::V2Fixed + 9, 0x4000} +
               XYZ(0x20, v[4]) + Words{0x40008250, 0x00D0E0F0, t::DrawTriangle, 0x10040}));
}

TEST(P2Triangle, AFlatContinuationTakesTheFirstVertexsColour) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    const auto v = FanVertices();
    // 2, 0, 3 faces away, within a promised run.
    const Words words =
        Draw(rig, P2_Tri_XYZ_RGBFS, v,
             {TriangleRecord(0, 1, 2), TriangleRecord(0, 1, 2, 1), TriangleRecord(2, 0, 3, kEven)});
    EXPECT_EQ(Words(words.begin() + 32, words.end()),
              XYZ(0x10, v[3]) + (Words{t::ConstantColor, 0xC0908070, t::DrawTriangle, 0x10040}));
}

TEST(P2Triangle, OddTrianglesTakeTheFullPath) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    const auto v = FanVertices();
    const Words words = Draw(rig, P2_Tri_XYZ_RGBFS, v,
                             {TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, D3DTRIFLAG_ODD)});
    EXPECT_EQ(words.size(), 2 * 16u);
}

TEST(P2Triangle, AnEvenTriangleThatComesFirstIsSentInFull) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    const auto v = FanVertices();
    EXPECT_EQ(Draw(rig, P2_Tri_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2, kEven)}).size(), 16u);
}

TEST(P2Triangle, ACulledStartFlatSkipsItsFollowersAndTheNextTriangleIsSentInFull) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    const auto v = FanVertices();
    const D3DTRIANGLE kept = TriangleRecord(0, 1, 2), keptEven = TriangleRecord(0, 2, 3, kEven);
    for (const Renderer member : {P2_Tri_XYZ_RGBFS, P2_Tri_XY_FLATS}) {
        const size_t full = member == P2_Tri_XYZ_RGBFS ? 16 : 13;
        const size_t bracket = member == P2_Tri_XYZ_RGBFS ? 0 : 4;
        // After a kept one, as only then is the promise looked at.
        const Words words = Draw(rig, member, v,
                                 {kept, TriangleRecord(1, 0, 2, D3DTRIFLAG_STARTFLAT(3)), keptEven,
                                  keptEven, keptEven, keptEven});
        EXPECT_EQ(words.size(), bracket + 2 * full);
        // One that comes first, or follows a culled one, takes nothing with it.
        const Words first = Draw(rig, member, v,
                                 {TriangleRecord(1, 0, 2, D3DTRIFLAG_STARTFLAT(3)), kept,
                                  TriangleRecord(1, 0, 2, 0),
                                  TriangleRecord(1, 0, 2, D3DTRIFLAG_STARTFLAT(29)), kept});
        EXPECT_EQ(first.size(), bracket + 2 * full);
    }
}

TEST(P2Triangle, ACulledRunOfAnyLengthGoesWhole) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    auto v = FanVertices();
    for (const Renderer member : {P2_Tri_XYZ_RGBFS, P2_Tri_XY_FLATS}) {
        for (uint32_t n = 1; n <= 29; ++n) {
            std::vector<D3DTRIANGLE> records = {TriangleRecord(0, 1, 2),
                                                TriangleRecord(1, 0, 2, n)};
            records.insert(records.end(), n, TriangleRecord(0, 2, 3, kEven));
            records.push_back(TriangleRecord(0, 3, 4, kEven)); // in full, as nothing is there
            DrawRecords(rig, member, v, records);
            test::VertexStore store;
            store.Replay(rig.Take());
            ASSERT_EQ(store.drawn.size(), 2u) << n;
            EXPECT_EQ(store.verticesSent, 6u) << n;
            EXPECT_TRUE(test::HoldsTriangle(store.drawn[1], v, records.back())) << n;
        }
    }
}

TEST(P2Triangle, ARunThatIsPromisedPastTheEndEndsTheBatch) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    const auto v = FanVertices();
    for (const uint32_t n : {1u, 2u, 29u}) {
        const Words words =
            Draw(rig, P2_Tri_XYZ_RGBFS, v,
                 {TriangleRecord(0, 1, 2), TriangleRecord(1, 0, 2, n), TriangleRecord(0, 1, 2)});
        EXPECT_EQ(words.size(), 16u) << n;
    }
}

TEST(P2Triangle, AKeptStartFlatSparesItsFollowersTheCullTest) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    const auto v = FanVertices();
    // The three that follow face away, the first two of them within the run.
    const D3DTRIANGLE away = TriangleRecord(2, 0, 3, kEven);
    const Words words =
        Draw(rig, P2_Tri_XYZ_RGBFS, v,
             {TriangleRecord(0, 1, 2), TriangleRecord(0, 1, 2, D3DTRIFLAG_STARTFLAT(2)), away, away,
              away, TriangleRecord(0, 2, 3, kEven)});
    // The third is culled: nothing is sent, but the slots have swapped.
    EXPECT_EQ(words.size(), 2 * 16u + 3 * 8u);
    EXPECT_EQ(words[32], 0x1C008240u);
    EXPECT_EQ(words[40], 0x1C008250u);
    EXPECT_EQ(words[48], 0x1C008250u);
}

TEST(P2Triangle, ACulledContinuationSendsNothingAndTheNextOneStillContinues) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    const auto v = FanVertices();
    const Words words = Draw(
        rig, P2_Tri_XYZ_RGBFS, v,
        {TriangleRecord(0, 1, 2), TriangleRecord(2, 0, 3, kEven), TriangleRecord(0, 3, 4, kEven)});
    EXPECT_EQ(words,
              (FullXYZ(v, 0, 1, 2) + Words{t::ConstantColor, 0x40302010, t::DrawTriangle, 0x10040} +
               XYZ(0x20, v[4]) + Words{t::ConstantColor, 0x40302010, t::DrawTriangle, 0x10040}));
}

TEST(P2Triangle, CullingIsByTheSignBitSoThatAnAreaOfZeroSurvivesOneDirection) {
    const auto v = FanVertices();
    const D3DTRIANGLE positive = TriangleRecord(0, 1, 2), negative = TriangleRecord(1, 0, 2);
    const D3DTRIANGLE zero = TriangleRecord(0, 0, 0); // det +0
    const struct {
        uint32_t mode;
        bool positive, negative, zero;
    } cases[] = {{1, true, true, true}, {2, false, true, false}, {3, true, false, true}};
    for (const auto& expected : cases) {
        P2Rig rig;
        rig.SetCull(expected.mode);
        EXPECT_EQ(!Draw(rig, P2_Tri_XYZ_RGBFS, v, {positive}).empty(), expected.positive);
        EXPECT_EQ(!Draw(rig, P2_Tri_XYZ_RGBFS, v, {negative}).empty(), expected.negative);
        EXPECT_EQ(!Draw(rig, P2_Tri_XYZ_RGBFS, v, {zero}).empty(), expected.zero);
    }
    // -0: 0 * 1 - 0 * -1 is +0, and 0 * -1 - 0 * 1 is -0.
    std::vector<D3DTLVERTEX> flat = {Vertex(1, 5), Vertex(3, 5), Vertex(2, 5)};
    ASSERT_TRUE(std::signbit(P2Reference::Det(flat[0], flat[1], flat[2])));
    P2Rig rig;
    rig.SetCull(2);
    EXPECT_FALSE(Draw(rig, P2_Tri_XYZ_RGBFS, flat, {TriangleRecord(0, 1, 2)}).empty());
    rig.SetCull(3);
    EXPECT_TRUE(Draw(rig, P2_Tri_XYZ_RGBFS, flat, {TriangleRecord(0, 1, 2)}).empty());
}

TEST(P2Triangle, UntexturedTrianglesAreNotTestedForSlivers) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    std::vector<D3DTLVERTEX> tiny = {Vertex(10.1f, 10), Vertex(10.2f, 10.1f), Vertex(10, 10.2f)};
    ASSERT_GT(P2Reference::Det(tiny[0], tiny[1], tiny[2]), 0.0f);
    EXPECT_FALSE(Draw(rig, P2_Tri_XYZ_RGBFS, tiny, {TriangleRecord(0, 1, 2)}).empty());
    EXPECT_EQ(Draw(rig, P2_Tri_XY_FLATS, tiny, {TriangleRecord(0, 1, 2)}).size(), 4u + 13u);
}

TEST(P2Triangle, ABlendedContinuationKeepsItsAlphaWhileTheFullPathStripsIt) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    rig.ctx.RenderFlags = RF_GOURAUD | RF_BLEND;
    rig.ctx.BlendForcesZeroAlpha = 1;
    const auto v = FanVertices();
    const std::vector<D3DTRIANGLE> strip = {TriangleRecord(0, 1, 2),
                                            TriangleRecord(0, 2, 3, kEven)};
    Words words = Draw(rig, P2_Tri_XYZ_RGBFS, v, strip);
    EXPECT_EQ(words[13], 0x00102030u);
    EXPECT_EQ(words[15], 0x00405060u);
    EXPECT_EQ(words[17], 0x00708090u);
    EXPECT_EQ(words[25], 0xF0A0B0C0u);
    rig.ctx.RenderFlags = RF_BLEND;
    words = Draw(rig, P2_Tri_XYZ_RGBFS, v, strip);
    EXPECT_EQ(words[13], 0x00302010u);
    EXPECT_EQ(words[21], 0x40302010u);
    // Neither the field nor the flag alone strips alpha.
    rig.ctx.RenderFlags = 0;
    EXPECT_EQ(Draw(rig, P2_Tri_XYZ_RGBFS, v, strip)[13], 0x40302010u);
    rig.ctx.RenderFlags = RF_BLEND;
    rig.ctx.BlendForcesZeroAlpha = 0;
    EXPECT_EQ(Draw(rig, P2_Tri_XYZ_RGBFS, v, strip)[13], 0x40302010u);
}

TEST(P2Triangle, StippleIsTheFirstVertexsAndLoadedOnce) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    rig.ctx.RenderFlags = RF_STIPPLEDALPHA;
    const auto v = FanVertices();
    const Words words =
        Draw(rig, P2_Tri_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven)});
    const Words four = test::StippleWords(0xAA, 0x44, 0xAA, 0x00);
    EXPECT_EQ(words,
              (FullXYZ(v, 0, 1, 2) + four +
               Words{t::ConstantColor, 0x40302010, t::DrawTriangle, 0x10041} + XYZ(0x10, v[3]) +
               Words{t::ConstantColor, 0x40302010, t::DrawTriangle, 0x10041}));
    EXPECT_EQ(rig.ctx.StippleIndex, 4u);
    EXPECT_EQ(rig.ctx.RenderCommand, 0x10000u);
    // A continuation loads its own first vertex's.
    rig.ctx.StippleIndex = 4;
    const Words other =
        Draw(rig, P2_Tri_XYZ_RGBFS, v,
             {TriangleRecord(0, 1, 2), TriangleRecord(0, 1, 2, 1), TriangleRecord(2, 0, 3, kEven)});
    const Words twelve = test::StippleWords(0xFF, 0xDD, 0xFF, 0x55);
    EXPECT_EQ(
        Words(other.begin() + 32, other.end()),
        (XYZ(0x10, v[3]) + twelve + Words{t::ConstantColor, 0xC0908070, t::DrawTriangle, 0x10041}));
}

TEST(P2Triangle, BlockFilledTrianglesAreBracketedAndSendTheirColourBehindTheVertices) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    rig.ctx.RenderCommand = 0x50000;
    rig.ctx.RenderFlags = RF_STIPPLEDALPHA | RF_FOG; // neither is looked at
    const auto v = FanVertices();
    const Words words =
        Draw(rig, P2_Tri_XY_FLATS, v, {TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven)});
    // 0x102030 is red 2, green 4, blue 6 in 5:5:5.
    EXPECT_EQ(words, (Words{t::ColorDDAMode, 0,
                            0x0C008230,      Bits(20),
                            Bits(10),        0x0C008240,
                            Bits(30),        Bits(20),
                            0x0C008250,      Bits(10),
                            Bits(30),        t::FBBlockColor,
                            0x08860886,      t::DrawTriangle,
                            0x10048,         0x0C008240,
                            Bits(0),         Bits(20),
                            t::FBBlockColor, 0x08860886,
                            t::DrawTriangle, 0x10048,
                            t::ColorDDAMode, 3}));
    rig.chip.Family = FamilyGlint;
    rig.ctx.BytesPerPixel = 4;
    rig.ctx.RenderFlags = RF_SPECULAR;
    auto lit = v;
    lit[0].specular = 0x00020406;
    const Words glint = Draw(rig, P2_Tri_XY_FLATS, lit, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(
        Words(glint.begin() + 11, glint.end()),
        Pairs({{t::FBBlockColor, 0x122436}, {t::DrawTriangle, 0x50048}, {t::ColorDDAMode, 3}}));
}

TEST(P2Triangle, SYIsNeverRewritten) {
    P2Rig rig;
    auto v = FanVertices();
    v[0].sy = 10.4f;
    DrawRecords(rig, P2_Tri_XYZ_RGBFS, v, std::vector{TriangleRecord(0, 1, 2)});
    EXPECT_EQ(v[0].sy, 10.4f);
    EXPECT_EQ(rig.Take()[2], Bits(10.4f));
}

TEST(P2Triangle, ReservesFor512BytesPerDrawnTriangle) {
    for (const Renderer member : {P2_Tri_XYZ_RGBFS, P2_TriWire_XYZ_RGBFS, P2_TriPoint_XYZ_RGBFS}) {
        P2Rig rig;
        const auto v = FanVertices();
        const auto one = static_cast<uint32_t>(Draw(rig, member, v).size());
        EXPECT_EQ(test::TransfersOfTwo(rig, member, v, 128 + one - 1), Words{one});
        EXPECT_EQ(test::TransfersOfTwo(rig, member, v, 128 + one), Words{});
    }
}

TEST(P2Triangle, ReservesFor512BytesPerContinuation) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW); // with culling off nothing is continued
    const auto v = FanVertices();
    const auto one = static_cast<uint32_t>(Draw(rig, P2_Tri_XYZ_RGBFS, v).size());
    const D3DTRIANGLE next = TriangleRecord(0, 2, 3, kEven);
    ASSERT_EQ(Draw(rig, P2_Tri_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2), next}).size(), one + 8);
    EXPECT_EQ(test::TransfersOfTwo(rig, P2_Tri_XYZ_RGBFS, v, 128 + one - 1, next), Words{one});
    EXPECT_EQ(test::TransfersOfTwo(rig, P2_Tri_XYZ_RGBFS, v, 128 + one, next), Words{});
}

TEST(P2Triangle, RecordsAdvanceByTheInstructionsSizeAlsoOverASkippedRun) {
    for (const uint32_t bytes : {8u, 12u, 20u}) {
        P2Rig rig;
        rig.SetCull(D3DCULL_CCW);
        auto v = FanVertices();
        DrawRecords(
            rig, P2_Tri_XYZ_RGBFS, v,
            std::vector{TriangleRecord(0, 1, 2), TriangleRecord(1, 0, 2, D3DTRIFLAG_STARTFLAT(2)),
                        TriangleRecord(4, 4, 4), TriangleRecord(4, 4, 4), TriangleRecord(0, 3, 4)},
            bytes);
        EXPECT_EQ(
            rig.Take(),
            (FullXYZ(v, 0, 1, 2) + Words{t::ConstantColor, 0x40302010, t::DrawTriangle, 0x10040} +
             FullXYZ(v, 0, 3, 4) + Words{t::ConstantColor, 0x40302010, t::DrawTriangle, 0x10040}))
            << bytes;
    }
}

TEST(P2Wire, DrawsThreeEdgesFromLeftToRightWithTheStippleRestartedOnTheFirst) {
    P2Rig rig;
    rig.ctx.RenderCommand = 0x10040;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_FOG;
    const auto v = FanVertices();
    // A is left of B: 01. C, then in slot 0, is left of B: 01. C is left of A, now in slot 1: 01.
    EXPECT_EQ(Draw(rig, P2_TriWire_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2, 0x700)}),
              (XYZ(0, v[0]) + XYZ(0x10, v[1]) +
               Words{t::V0Fixed + 9, 0x40000, t::V1Fixed + 9, 0x80000, 0x40008200, 0x40102030,
                     0x40008210, 0x80405060, t::DrawLine01, 0x10004} +
               XYZ(0, v[2]) +
               Words{t::V0Fixed + 9, 0xC0000, 0x40008200, 0xC0708090, t::DrawLine01, 0x10000} +
               XYZ(0x10, v[0]) +
               Words{t::V1Fixed + 9, 0x40000, 0x40008210, 0x40102030, t::DrawLine01, 0x10000}));
}

TEST(P2Wire, EdgesTheOtherWayRoundAndVerticalOnesStartFromSlotOne) {
    P2Rig rig;
    const auto lines = [&rig](float a, float b, float c) {
        const Words words =
            Draw(rig, P2_TriWire_XYZ_RGBFS, {Vertex(a, 1), Vertex(b, 2), Vertex(c, 3)},
                 {TriangleRecord(0, 1, 2, 0x700)});
        return Words{words[10], words[16], words[22]};
    };
    EXPECT_EQ(lines(1, 2, 3), (Words{t::DrawLine01, t::DrawLine10, t::DrawLine10}));
    EXPECT_EQ(lines(3, 2, 1), (Words{t::DrawLine10, t::DrawLine01, t::DrawLine01}));
    EXPECT_EQ(lines(2, 2, 2), (Words{t::DrawLine10, t::DrawLine10, t::DrawLine10}));
}

TEST(P2Wire, EdgeFlagsDecideOnDrawingAndOnTheThirdLoad) {
    P2Rig rig;
    const auto v = FanVertices();
    const Words head = XYZ(0, v[0]) + XYZ(0x10, v[1]) + Words{t::ConstantColor, 0x40302010};
    const auto draw = [&](uint32_t edges) {
        return Draw(rig, P2_TriWire_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2, edges)});
    };
    EXPECT_EQ(draw(0), head + XYZ(0, v[2]));
    // The first edge's stipple bit is gone though it was not drawn.
    EXPECT_EQ(draw(0x200), (head + XYZ(0, v[2]) + Words{t::DrawLine01, 0x10000}));
    EXPECT_EQ(draw(0x400), (head + XYZ(0, v[2]) + XYZ(0x10, v[0]) + Words{t::DrawLine01, 0x10000}));
    EXPECT_EQ(draw(0x100), (head + Words{t::DrawLine01, 0x10004} + XYZ(0, v[2])));
}

TEST(P2Wire, ACulledTriangleSendsNothing) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CW);
    const auto v = FanVertices();
    const D3DTRIANGLE away = TriangleRecord(0, 1, 2, 0x700);
    EXPECT_TRUE(Draw(rig, P2_TriWire_XYZ_RGBFS, v, {away}).empty());
    EXPECT_TRUE(Draw(rig, P2_TriPoint_XYZ_RGBFS, v, {away}).empty());
}

TEST(P2Point, EachVertexIsALineOneRowLongDrawnByItsEdgeFlag) {
    P2Rig rig;
    rig.ctx.RenderCommand = 0x16040;
    rig.ctx.RenderFlags = RF_FOG;
    const auto v = FanVertices();
    const auto point = [&v](int i, uint32_t fog, uint32_t colour) {
        D3DTLVERTEX below = v[i];
        below.sy += 1.0f;
        return XYZ(0, v[i]) + XYZ(0x10, below) +
               Pairs({{t::V0Fixed + 9, fog}, {t::V1Fixed + 9, fog}, {t::ConstantColor, colour}});
    };
    EXPECT_EQ(Draw(rig, P2_TriPoint_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2, 0x500)}),
              (point(0, 0x40000, 0x40302010) + Words{t::DrawLine01, 0x14000} +
               point(1, 0x80000, 0x80605040) + point(2, 0xC0000, 0xC0908070) +
               Words{t::DrawLine01, 0x14000}));
}

TEST(P2Point, BothEndsOfAGouraudPointHaveItsLitColour) {
    P2Rig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_SPECULAR;
    auto v = FanVertices();
    v[0].specular = 0x00020202;
    const Words words = Draw(rig, P2_TriPoint_XYZ_RGBFS, v, {TriangleRecord(0, 1, 2, 0x100)});
    EXPECT_EQ(Words(words.begin() + 8, words.begin() + 14),
              (Words{0x40008200, 0x40122232, 0x40008210, 0x40122232, t::DrawLine01, 0x10000}));
}

TEST(P2Untextured, EveryMemberMatchesThePlainReferenceOverRandomBatches) {
    SetupRandom random(11);
    P2Rig rig;
    for (int round = 0; round < 1000; ++round) {
        random.State(rig, random.Pick(0x800) & ~(RF_TEXTURE | RF_PERSPECTIVE));
        const auto vertices = random.Vertices(9);
        const auto records = random.Records(vertices.size());
        using R = P2Reference;
        test::ExpectLikeReference<R>(rig, P2_Tri_XYZ_RGBFS, vertices, records, true,
                                     [&](R& r) { r.Solid(vertices, records); });
        test::ExpectLikeReference<R>(rig, P2_Tri_XY_FLATS, vertices, records, true,
                                     [&](R& r) { r.Block(false, vertices, records); });
        test::ExpectLikeReference<R>(rig, P2_TriWire_XYZ_RGBFS, vertices, records, true, [&](R& r) {
            r.Wire(reference::kPlainMember, vertices, records);
        });
        test::ExpectLikeReference<R>(rig, P2_TriPoint_XYZ_RGBFS, vertices, records, true,
                                     [&](R& r) { r.Points(vertices, records); });
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

// Strips whose records really share what their flags say, cut anywhere by culled triangles and runs
// of every length. The one case in which the store does not hold the record's vertices is a
// continuation behind a culled continuation: the culled one's vertex was never sent.
TEST(P2Untextured, TheStoreHoldsEachDrawnRecordsVerticesButBehindACulledContinuation) {
    SetupRandom random(12);
    size_t trusted = 0, behindCulled = 0;
    P2Rig rig;
    for (int round = 0; round < 300; ++round) {
        random.State(rig, RF_GOURAUD | random.Pick(2) * RF_FOG);
        auto vertices = random.Vertices(40);
        const auto records = test::RandomFans(random, 40, 60);
        for (const bool depth : {true, false}) {
            DrawRecords(rig, depth ? P2_Tri_XYZ_RGBFS : P2_Tri_XY_FLATS, vertices, records);
            test::VertexStore store;
            store.Replay(rig.Take());
            const auto fates = test::RecordsDrawn<P2Reference>(rig.ctx.CullMode, vertices, records);
            ASSERT_EQ(store.drawn.size(), fates.size());
            for (size_t i = 0; i < fates.size(); ++i) {
                if (!fates[i].complete) {
                    ++behindCulled;
                    continue;
                }
                ++trusted;
                ASSERT_TRUE(test::HoldsTriangle(store.drawn[i], vertices, records[fates[i].record]))
                    << round << " triangle " << i;
            }
        }
    }
    EXPECT_GT(trusted, 5000u);
    EXPECT_GT(behindCulled, 500u);
}

} // namespace
