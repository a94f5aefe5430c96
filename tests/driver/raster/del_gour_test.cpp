// The untextured members of a Delta setup unit.
#include "driver/raster/del_gour.h"
#include "tests/driver/raster/del_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <vector>

namespace {

using reference::DeltaReference;
using test::Bits;
using test::DeltaRig;
using test::Draw;
using test::DrawRecords;
using test::FanVertices;
using test::FullXYZ;
using test::kEven;
using test::Pairs;
using test::SetupRandom;
using test::TriangleRecord;
using test::Vertex;
using test::Words;
using test::XY;
using test::XYZ;
using test::operator+;

TEST(DeltaTriangle, FlatSendsVerticesConstantColourAndDrawWord) {
    DeltaRig rig;
    const Words expected = {0x1C008230,       0x41A00000, 0x41200000,      0x3F000000,
                            0x1C008240,       0x41F00000, 0x41A00000,      0x3E800000,
                            0x1C008250,       0x41200000, 0x41F00000,      0x3F800000,
                            t::ConstantColor, 0x40302010, t::DrawTriangle, 0x10040};
    EXPECT_EQ(Draw(rig, Delta_Tri_XYZ_RGBF, FanVertices(), {TriangleRecord(0, 1, 2)}), expected);
}

TEST(DeltaTriangle, GouraudColoursAreFixedPointWordsAndFogGoesAhead) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_FOG;
    const auto v = FanVertices();
    const Words fog =
        Pairs({{t::V0Fixed + 9, 0x40000}, {t::V1Fixed + 9, 0x80000}, {t::V2Fixed + 9, 0xC0000}});
    // Red 0x10, green 0x20, blue 0x30 at bit 22 and so on.
    const Words colours = {0x00E08200, 0x10u << 22, 0x20u << 22, 0x30u << 22,
                           0x00E08210, 0x40u << 22, 0x50u << 22, 0x60u << 22,
                           0x00E08220, 0x70u << 22, 0x80u << 22, 0x90u << 22};
    const Words draw = {t::DrawTriangle, 0x10040};
    const Words words = Draw(rig, Delta_Tri_XYZ_RGBF, v, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(words, fog + FullXYZ(v, 0, 1, 2) + colours + draw);
}

TEST(DeltaTriangle, BlendingSendsAlphaUnlessItIsForcedToZero) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_BLEND;
    const auto v = FanVertices();
    const auto colours = [&] {
        const Words words = Draw(rig, Delta_Tri_XYZ_RGBF, v, {TriangleRecord(0, 1, 2)});
        return Words(words.begin() + 12, words.begin() + 17);
    };
    EXPECT_EQ(colours(), (Words{0x01E08200, 0x10u << 22, 0x20u << 22, 0x30u << 22, 0x40u << 22}));
    rig.ctx.BlendForcesZeroAlpha = 1;
    EXPECT_EQ(colours(), (Words{0x01E08200, 0x10u << 22, 0x20u << 22, 0x30u << 22, 0}));
}

TEST(DeltaTriangle, ForcedZeroAlphaHoldsForFlatColourAndContinuationsToo) {
    DeltaRig rig;
    rig.SetCull(D3DCULL_CCW);
    rig.ctx.BlendForcesZeroAlpha = 1;
    rig.ctx.RenderFlags = RF_BLEND;
    const auto v = FanVertices();
    const std::vector<D3DTRIANGLE> records = {TriangleRecord(0, 1, 2),
                                              TriangleRecord(0, 2, 3, kEven)};
    const Words flat = Draw(rig, Delta_Tri_XYZ_RGBF, v, records);
    EXPECT_EQ(flat[13], 0x00302010u);
    EXPECT_EQ(flat[21], 0x00302010u);
    rig.ctx.RenderFlags = RF_BLEND | RF_GOURAUD;
    const Words smooth = Draw(rig, Delta_Tri_XYZ_RGBF, v, records);
    EXPECT_EQ(smooth.back(), 0x10040u);
    EXPECT_EQ(smooth[smooth.size() - 3], 0u); // A of the last vertex
    EXPECT_EQ(smooth[smooth.size() - 7], 0x01E08210u);
}

TEST(DeltaTriangle, SpecularIsAddedToEachColour) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_SPECULAR;
    auto v = FanVertices();
    v[1].specular = 0x00FF0202; // red overflows to 0xFE and sets alpha's low bit, which is not sent
    const Words words = Draw(rig, Delta_Tri_XYZ_RGBF, v, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(Words(words.begin() + 16, words.begin() + 20),
              (Words{0x00E08210, 0xFEu << 22, 0x52u << 22, 0x62u << 22}));
}

TEST(DeltaTriangle, AKeptTriangleContinuesWithOneVertexInTurnInSlotsOneAndTwo) {
    DeltaRig rig;
    rig.SetCull(D3DCULL_CCW);
    rig.ctx.RenderFlags = RF_GOURAUD | RF_FOG;
    const auto v = FanVertices();
    const Words words = Draw(
        rig, Delta_Tri_XYZ_RGBF, v,
        {TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven), TriangleRecord(0, 3, 4, kEven)});
    const Words second =
        Words{t::V1Fixed + 9, 0x3FC000} + XYZ(0x10, v[3]) +
        Words{0x00E08210, 0xA0u << 22, 0xB0u << 22, 0xC0u << 22, t::DrawTriangle, 0x10040};
    const Words third =
        Words{t::V2Fixed + 9, 0x4000} + XYZ(0x20, v[4]) +
        Words{0x00E08220, 0xD0u << 22, 0xE0u << 22, 0xF0u << 22, t::DrawTriangle, 0x10040};
    EXPECT_EQ(Words(words.begin() + 6 + 12 + 12 + 2, words.end()), second + third);
}

TEST(DeltaTriangle, StripsAreSentInFullWhileCullingIsOff) {
    DeltaRig rig;
    const auto v = FanVertices();
    const Words words =
        Draw(rig, Delta_Tri_XYZ_RGBF, v, {TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven)});
    EXPECT_EQ(words.size(), 2 * 16u);
}

TEST(DeltaTriangle, ACulledStartFlatSkipsItsRunAndTheNextGoesInFull) {
    DeltaRig rig;
    rig.SetCull(D3DCULL_CCW);
    const auto v = FanVertices();
    const Words words =
        Draw(rig, Delta_Tri_XYZ_RGBF, v,
             {TriangleRecord(0, 1, 2), TriangleRecord(1, 0, 2, D3DTRIFLAG_STARTFLAT(2)),
              TriangleRecord(0, 1, 2), TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven)});
    EXPECT_EQ(words.size(), 2 * 16u);
    EXPECT_EQ(Words(words.begin() + 16, words.begin() + 28), FullXYZ(v, 0, 2, 3));
}

TEST(DeltaTriangle, ACulledContinuationSendsNothingAndTheSlotsHaveSwapped) {
    DeltaRig rig;
    rig.SetCull(D3DCULL_CCW);
    const auto v = FanVertices();
    const Words words = Draw(
        rig, Delta_Tri_XYZ_RGBF, v,
        {TriangleRecord(0, 1, 2), TriangleRecord(0, 3, 2, kEven), TriangleRecord(0, 2, 3, kEven)});
    EXPECT_EQ(words.size(), 16u + 8u);
    EXPECT_EQ(words[16], 0x1C008250u);
}

TEST(DeltaTriangle, AZeroAreaIsDroppedByBothCullingDirectionsAndSentWithCullingOff) {
    const std::vector<D3DTLVERTEX> line = {Vertex(0, 0), Vertex(10, 10), Vertex(20, 20)};
    for (const Renderer member :
         {Delta_Tri_XYZ_RGBF, Delta_TriWire_XYZ_RGBF, Delta_TriPoint_XYZ_RGBF}) {
        for (const uint32_t cull : {1u, 2u, 3u}) {
            DeltaRig rig;
            rig.SetCull(cull);
            EXPECT_EQ(Draw(rig, member, line, {TriangleRecord(0, 1, 2, 0x700)}).empty(), cull != 1);
        }
    }
}

TEST(DeltaTriangle, NoSliverIsDroppedAndNoVertexIsWritten) {
    DeltaRig rig;
    rig.SetCull(D3DCULL_CCW);
    auto v =
        std::vector<D3DTLVERTEX>{Vertex(10.1f, 10.1f), Vertex(10.3f, 10.2f), Vertex(10.2f, 10.4f)};
    DrawRecords(rig, Delta_Tri_XYZ_RGBF, v, std::vector{TriangleRecord(0, 1, 2)});
    EXPECT_EQ(rig.Take().size(), 16u);
    EXPECT_EQ(v[0].sy, 10.1f);
}

TEST(DeltaTriangle, TheStippleIndexIsTheFirstVertexs) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_STIPPLEDALPHA;
    const auto v = FanVertices();
    const Words words =
        Draw(rig, Delta_Tri_XYZ_RGBF, v, {TriangleRecord(1, 2, 0), TriangleRecord(1, 2, 0)});
    const Words pattern = test::StippleWords(0xEE, 0x55, 0xAA, 0x55);
    const Words tail = {t::ConstantColor, 0x80605040, t::DrawTriangle, 0x10041};
    EXPECT_EQ(words, FullXYZ(v, 1, 2, 0) + pattern + tail + FullXYZ(v, 1, 2, 0) + tail);
}

TEST(DeltaFlatTriangle, SendsTwoCoordinatesAndTheBlockColourWithinTheBracket) {
    DeltaRig rig;
    rig.ctx.RenderCommand = 0x50000;
    const auto v = FanVertices();
    const Words words = Draw(rig, Delta_Tri_XY_FLAT, v, {TriangleRecord(0, 1, 2)});
    // Red 2, green 4, blue 6 of 0x102030 in 5:5:5; bit 18 goes on Permedia.
    const Words begin = {t::ColorDDAMode, 0},
                end = {t::FBBlockColor, 0x08860886, t::DrawTriangle, 0x10048, t::ColorDDAMode, 3};
    EXPECT_EQ(words, begin + XY(0, v[0]) + XY(0x10, v[1]) + XY(0x20, v[2]) + end);
    rig.chip.Family = FamilyGlint;
    rig.ctx.BytesPerPixel = 4;
    const Words glint = Draw(rig, Delta_Tri_XY_FLAT, v, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(
        Words(glint.begin() + 11, glint.end()),
        Pairs({{t::FBBlockColor, 0x102030}, {t::DrawTriangle, 0x50048}, {t::ColorDDAMode, 3}}));
}

TEST(DeltaFlatTriangle, ContinuesWithOneVertexAndTheColourOfItsOwnFirst) {
    DeltaRig rig;
    rig.SetCull(D3DCULL_CCW);
    rig.ctx.BytesPerPixel = 4;
    rig.ctx.RenderFlags = RF_SPECULAR | RF_FOG | RF_STIPPLEDALPHA;
    auto v = FanVertices();
    v[2].specular = 0x00020202;
    const Words words =
        Draw(rig, Delta_Tri_XY_FLAT, v, {TriangleRecord(0, 1, 2), TriangleRecord(2, 3, 0, kEven)});
    EXPECT_EQ(
        Words(words.begin() + 15, words.end()),
        XY(0x10, v[0]) +
            Pairs({{t::FBBlockColor, 0x728292}, {t::DrawTriangle, 0x10048}, {t::ColorDDAMode, 3}}));
}

TEST(DeltaFlatTriangle, MonoTakesItsGreyFromBlueAtAnyPixelSizeAndIgnoresSpecular) {
    for (const uint32_t bytes : {2u, 4u}) {
        DeltaRig rig;
        rig.ctx.BytesPerPixel = bytes;
        rig.ctx.RenderFlags = RF_SPECULAR;
        auto v = FanVertices();
        v[0].color = 0xFFFFFF37; // bits 3 to 7 are 6
        v[0].specular = 0x00FFFFFF;
        const Words words = Draw(rig, Delta_Tri_XY_16BIT_MONO_FLAT, v, {TriangleRecord(0, 1, 2)});
        EXPECT_EQ(words[12], (6u | 6 << 5 | 6 << 10) * 0x10001);
        EXPECT_EQ(words.size(), 17u);
    }
}

TEST(DeltaWire, DrawsThreeEdgesFromLeftToRightWithTheStippleRestartedOnTheFirst) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_FOG;
    rig.ctx.RenderCommand = 0x10040;
    const auto v = FanVertices();
    const Words c0 = {0x00E08200, 0x10u << 22, 0x20u << 22, 0x30u << 22};
    const Words c1 = {0x00E08210, 0x40u << 22, 0x50u << 22, 0x60u << 22};
    const Words c2 = {0x00E08200, 0x70u << 22, 0x80u << 22, 0x90u << 22};
    const Words again = {0x00E08210, 0x10u << 22, 0x20u << 22, 0x30u << 22};
    const Words words = Draw(rig, Delta_TriWire_XYZ_RGBF, v, {TriangleRecord(0, 1, 2, 0x700)});
    // x of A, B, C is 20, 30, 10; slot 0 has the left end each time: A, then C twice.
    const Words fogAB = {t::V0Fixed + 9, 0x40000, t::V1Fixed + 9, 0x80000},
                fogC = {t::V0Fixed + 9, 0xC0000};
    const Words fogA = {t::V1Fixed + 9, 0x40000}, first = {t::DrawLine01, 0x10004},
                later = {t::DrawLine01, 0x10000};
    EXPECT_EQ(words, XYZ(0, v[0]) + XYZ(0x10, v[1]) + fogAB + c0 + c1 + first + XYZ(0, v[2]) +
                         fogC + c2 + later + XYZ(0x10, v[0]) + fogA + again + later);
}

TEST(DeltaWire, FlatColourGoesOnceFromTheFirstVertex) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_SPECULAR;
    auto v = FanVertices();
    v[0].specular = 0x00020202;
    const Words words = Draw(rig, Delta_TriWire_XYZ_RGBF, v, {TriangleRecord(0, 1, 2, 0)});
    EXPECT_EQ(words, XYZ(0, v[0]) + XYZ(0x10, v[1]) + (Words{t::ConstantColor, 0x40322212}) +
                         XYZ(0, v[2]));
}

TEST(DeltaPoint, EachVertexIsALineOneRowLongDrawnByItsEdgeFlag) {
    DeltaRig rig;
    rig.ctx.RenderCommand = 0x12040;
    rig.ctx.RenderFlags = RF_BLEND | RF_GOURAUD;
    const auto v = FanVertices();
    const Words words = Draw(rig, Delta_TriPoint_XYZ_RGBF, v, {TriangleRecord(0, 1, 2, 0x200)});
    const auto point = [&](const D3DTLVERTEX& at, uint32_t a) {
        const uint32_t r = (at.color >> 16 & 0xFF) << 22, g = (at.color >> 8 & 0xFF) << 22,
                       b = (at.color & 0xFF) << 22;
        return XYZ(0, at) + Words{0x1C008240, Bits(at.sx), Bits(at.sy + 1), Bits(at.sz)} +
               Words{0x01E08200, r, g, b, a << 22, 0x01E08210, r, g, b, a << 22};
    };
    const Words draw = {t::DrawLine01, 0x10000};
    EXPECT_EQ(words, point(v[0], 0x40) + point(v[1], 0x80) + draw + point(v[2], 0xC0));
}

TEST(DeltaUntextured, EveryMemberMatchesThePlainReferenceOverRandomBatches) {
    SetupRandom random(31);
    DeltaRig rig;
    for (int round = 0; round < 300; ++round) {
        random.State(rig, random.Pick(0x800));
        const auto vertices = random.Vertices(9);
        const auto records = random.Records(vertices.size());
        using R = DeltaReference;
        test::ExpectLikeReference<R>(rig, Delta_Tri_XYZ_RGBF, vertices, records, true, [&](R& r) {
            r.Solid(reference::kPlainMember, vertices, records);
        });
        test::ExpectLikeReference<R>(rig, Delta_Tri_XY_FLAT, vertices, records, true,
                                     [&](R& r) { r.Block(false, vertices, records); });
        test::ExpectLikeReference<R>(rig, Delta_Tri_XY_16BIT_MONO_FLAT, vertices, records, true,
                                     [&](R& r) { r.Block(true, vertices, records); });
        test::ExpectLikeReference<R>(
            rig, Delta_TriWire_XYZ_RGBF, vertices, records, true,
            [&](R& r) { r.Wire(reference::kPlainMember, vertices, records); });
        test::ExpectLikeReference<R>(rig, Delta_TriPoint_XYZ_RGBF, vertices, records, true,
                                     [&](R& r) { r.Points(vertices, records); });
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

TEST(DeltaUntextured, TheStoreHoldsEachDrawnRecordsVerticesButBehindACulledContinuation) {
    SetupRandom random(32);
    size_t complete = 0, others = 0;
    DeltaRig rig;
    for (int round = 0; round < 100; ++round) {
        random.State(rig, RF_GOURAUD | random.Pick(2) * RF_FOG | random.Pick(2) * RF_BLEND);
        auto vertices = random.Vertices(40);
        const auto records = test::RandomFans(random, 40, 60);
        for (const Renderer member :
             {Delta_Tri_XYZ_RGBF, Delta_Tri_XY_FLAT, Delta_Tri_XY_16BIT_MONO_FLAT}) {
            DrawRecords(rig, member, vertices, records);
            test::VertexStore store;
            store.Replay(rig.Take());
            const auto drawn =
                test::RecordsDrawn<DeltaReference>(rig.ctx.CullMode, vertices, records);
            ASSERT_EQ(store.drawn.size(), drawn.size());
            for (size_t i = 0; i < drawn.size(); ++i) {
                if (!drawn[i].complete) {
                    ++others;
                    continue;
                }
                ++complete;
                ASSERT_TRUE(test::HoldsTriangle(store.drawn[i], vertices, records[drawn[i].record]))
                    << round << " triangle " << i;
            }
        }
    }
    EXPECT_GT(complete, 5000u);
    EXPECT_GT(others, 300u);
}

} // namespace
