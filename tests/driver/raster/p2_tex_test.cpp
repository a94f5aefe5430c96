// The textured members of Permedia 2 for any state: triangles, wires and lines.
#include "driver/raster/p2_tex.h"
#include "driver/raster/stipple.h"
#include "tests/driver/raster/p2_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <bit>
#include <vector>

namespace {

using test::Bits;
using test::DrawRecords;
using test::IndexedTag;
using test::P2Rig;
using test::Pairs;
using test::SetupRandom;
using test::TexturedVertex;
using test::TriangleRecord;
using test::Vertex;
using test::Words;
using test::operator+;

constexpr uint32_t kState = RF_GOURAUD | RF_TEXTURE | RF_ZENABLE;

// Scaled by 1/8 and 1/16; 0, 1, 2 has det 300.
std::vector<D3DTLVERTEX> P2Vertices() {
    return {TexturedVertex(20, 10, 1.0f, 2.0f, 0.5f, 0x40102030, 0x80000000),
            TexturedVertex(30, 20, 2.0f, 4.0f, 0.25f, 0x80405060, 0x40000000),
            TexturedVertex(10, 30, 4.0f, 0.0f, 1.0f, 0xC0708090, 0x00FFFFFF),
            TexturedVertex(0, 20, 0.5f, 1.0f, 2.0f, 0xF0A0B0C0, 0xFFFFFFFF),
            TexturedVertex(2, 5, 0.0f, 0.0f, 1.0f, 0x00D0E0F0, 0)};
}

Words DrawTextured(P2Rig& rig, std::vector<D3DTLVERTEX> vertices,
                   const std::vector<D3DTRIANGLE>& records,
                   Renderer member = P2_Tri_XYZ_STQ_RGBFS) {
    DrawRecords(rig, member, vertices, records);
    return rig.Take();
}

// S and T of the three vertices of one triangle, affine and unscaled but for the chip's range.
struct DrawnCoordinates {
    std::vector<float> s, t;
};
DrawnCoordinates Drawn(P2Rig& rig, const float (&u)[3], const float (&v)[3]) {
    auto vertices = P2Vertices();
    for (int i = 0; i < 3; ++i) {
        vertices[i].tu = u[i];
        vertices[i].tv = v[i];
    }
    test::VertexStore store;
    store.Replay(DrawTextured(rig, vertices, {TriangleRecord(0, 1, 2)}));
    DrawnCoordinates out;
    for (const auto& slot : store.drawn.at(0).slots) {
        out.s.push_back(std::bit_cast<float>(slot.At(0)) * 8);
        out.t.push_back(std::bit_cast<float>(slot.At(1)) * 16);
    }
    return out;
}
std::vector<float> DrawnU(P2Rig& rig, float u0, float u1, float u2) {
    return Drawn(rig, {u0, u1, u2}, {0, 0, 0}).s;
}

TEST(P2Textured, AffineVerticesHaveQOfOne) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState;
    EXPECT_EQ(DrawTextured(rig, P2Vertices(), {TriangleRecord(0, 1, 2)}),
              (Words{IndexedTag(t::V0Float, 0x5C07), 0x3E000000, 0x3E000000, 0x3F800000, 0x41A00000,
                     0x41200000, 0x3F000000, 0x40102030} +
               Words{IndexedTag(t::V1Float, 0x5C07), 0x3E800000, 0x3E800000, 0x3F800000, 0x41F00000,
                     0x41A00000, 0x3F000000, 0x80405060} +
               Words{IndexedTag(t::V2Float, 0x5C07), 0x3F000000, 0x00000000, 0x3F800000, 0x41200000,
                     0x41F00000, 0x3F000000, 0xC0708090} +
               Words{t::DrawTriangle, 0x10040}));
}

TEST(P2Textured, PerspectiveMultipliesByRhwAndFogAndSpecularAddWords) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState | RF_PERSPECTIVE | RF_FOG | RF_SPECULAR;
    const Words words = DrawTextured(rig, P2Vertices(), {TriangleRecord(0, 1, 2)});
    // F is specular / 2^32. Ks of white: each product and sum rounded to a single.
    const float white =
        (255.0f * 0.001172549019608f + 255.0f * 0.000447058823529f) + 255.0f * 0.002301960784314f;
    EXPECT_EQ(
        words,
        (Words{IndexedTag(t::V0Float, 0x5E0F), Bits(0.0625f), Bits(0.0625f), Bits(0.5f), 0,
               Bits(0.5f), Bits(20), Bits(10), Bits(0.5f), 0x40102030} +
         Words{IndexedTag(t::V1Float, 0x5E0F), Bits(0.0625f), Bits(0.0625f), Bits(0.25f), 0,
               Bits(0.25f), Bits(30), Bits(20), Bits(0.5f), 0x80405060} +
         Words{IndexedTag(t::V2Float, 0x5E0F), Bits(0.5f), 0, Bits(1), Bits(white),
               Bits(16777215.0f / 4294967296.0f), Bits(10), Bits(30), Bits(0.5f), 0xC0708090} +
         Words{t::DrawTriangle, 0x10040}));
}

TEST(P2Textured, FogOfAWordWithMoreBitsThanASingleHoldsIsRounded) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState | RF_FOG;
    auto v = P2Vertices();
    v[0].specular = 0xFFFFFFFF; // to 2^32
    v[1].specular = 0x01000001; // a tie, to even: 2^24
    v[2].specular = 0x80000081; // above the tie: 0x80000100
    const Words words = DrawTextured(rig, v, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(words[4], Bits(1.0f));
    EXPECT_EQ(words[13], Bits(1.0f / 256));
    EXPECT_EQ(words[22], 0x3F000001u);
}

TEST(P2Textured, SpecularStrengthWeighsBlueMost) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState | RF_SPECULAR;
    auto v = P2Vertices();
    v[0].specular = 0x00FF0000;
    v[1].specular = 0x0000FF00;
    v[2].specular = 0x000000FF;
    const Words words = DrawTextured(rig, v, {TriangleRecord(0, 1, 2)});
    EXPECT_NEAR(std::bit_cast<float>(words[4]), 0.299, 1e-6);
    EXPECT_NEAR(std::bit_cast<float>(words[13]), 0.114, 1e-6);
    EXPECT_NEAR(std::bit_cast<float>(words[22]), 0.587, 1e-6);
}

TEST(P2Textured, FlatShadingSendsTheMaskedConstantColourAndAllKsOfTheFirstVertex) {
    P2Rig rig;
    rig.ctx.RenderFlags = RF_TEXTURE | RF_SPECULAR | RF_BLEND;
    rig.ctx.BlendForcesZeroAlpha = 1;
    auto v = P2Vertices();
    v[0].specular = 0x000000FF;
    const Words words = DrawTextured(rig, v, {TriangleRecord(0, 1, 2), TriangleRecord(0, 1, 3)});
    EXPECT_EQ(Words(words.begin(), words.begin() + 3),
              (Words{t::ConstantColor, 0x00302010, 0x1C0F8230}));
    const uint32_t ks = Bits(255.0f * 0.002301960784314f);
    EXPECT_EQ(words[6], ks);
    EXPECT_EQ(words[14], ks);
    EXPECT_EQ(words[22], ks);
    // Nothing is kept: a kept vertex's Ks would be another triangle's.
    EXPECT_EQ(words.size(), 2 * (2 + 3 * 8 + 2u));
}

TEST(P2Textured, VertexColoursAreMaskedAndNeverLit) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState | RF_SPECULAR | RF_BLEND;
    rig.ctx.BlendForcesZeroAlpha = 1;
    EXPECT_EQ(DrawTextured(rig, P2Vertices(), {TriangleRecord(2, 1, 0)})[8], 0x00708090u);
    rig.ctx.BlendForcesZeroAlpha = 2;
    EXPECT_EQ(DrawTextured(rig, P2Vertices(), {TriangleRecord(2, 1, 0)})[8], 0xC0708090u);
}

TEST(P2Textured, StippleAndFlatColourGoAheadOfTheVertices) {
    P2Rig rig;
    rig.ctx.RenderFlags = RF_TEXTURE | RF_STIPPLEDALPHA;
    const Words words =
        DrawTextured(rig, P2Vertices(), {TriangleRecord(1, 2, 0), TriangleRecord(1, 0, 3)});
    EXPECT_EQ(Words(words.begin(), words.begin() + 12),
              (test::StippleWords(0xEE, 0x55, 0xAA, 0x55) +
               Words{t::ConstantColor, 0x80605040, 0x1C078230}));
    EXPECT_EQ(words[33], 0x10041u);
    // The second has the pattern, and both its first vertices.
    EXPECT_EQ(Words(words.begin() + 34, words.begin() + 37),
              (Words{t::ConstantColor, 0x80605040, 0x1C078240}));
    EXPECT_EQ(words.size(), 34 + 2 + 7 + 2u);
}

TEST(P2Textured, ASharedFirstVertexKeepsItsSlotAndTheNewestTakesWhatIsLeft) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState;
    const auto headers = [&](std::vector<D3DTRIANGLE> records) {
        Words found;
        for (const uint32_t word : DrawTextured(rig, P2Vertices(), records)) {
            if (word >> 16 == 0x5C07) {
                found.push_back((word - 0x5C078230) >> 4);
            }
        }
        return found;
    };
    const Words first = {0, 1, 2};
    // Shares A and C: one vertex goes, in B's old slot.
    EXPECT_EQ(headers({TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3)}), first + Words{1});
    EXPECT_EQ(headers({TriangleRecord(0, 1, 2), TriangleRecord(2, 1, 3)}), first + Words{0});
    EXPECT_EQ(headers({TriangleRecord(0, 1, 2), TriangleRecord(0, 1, 3)}), first + Words{2});
    // A as the last B, or B as the last A, is not looked for.
    EXPECT_EQ(headers({TriangleRecord(0, 1, 2), TriangleRecord(1, 0, 3)}), first + first);
    // One shared: the other takes the lowest free slot.
    EXPECT_EQ(headers({TriangleRecord(0, 1, 2), TriangleRecord(3, 1, 4)}), (first + Words{0, 2}));
    EXPECT_EQ(headers({TriangleRecord(0, 1, 2), TriangleRecord(2, 3, 4)}), (first + Words{0, 1}));
    EXPECT_EQ(headers({TriangleRecord(0, 1, 2), TriangleRecord(3, 4, 1)}), first + first);
    // The third is sent even if the last triangle had it.
    EXPECT_EQ(headers({TriangleRecord(0, 1, 2), TriangleRecord(0, 1, 2)}), first + Words{2});
    // The first two one vertex: two slots are free, the third vertex takes the lower.
    EXPECT_EQ(headers({TriangleRecord(0, 1, 2), TriangleRecord(2, 2, 3)}), first + Words{0});
}

TEST(P2Textured, ADroppedTriangleLeavesWhatIsKept) {
    P2Rig rig;
    rig.SetCull(D3DCULL_CCW);
    rig.ctx.RenderFlags = kState;
    const Words words =
        DrawTextured(rig, P2Vertices(),
                     {TriangleRecord(0, 1, 2), TriangleRecord(1, 0, 4), TriangleRecord(0, 2, 3)});
    EXPECT_EQ(words.size(), 26 + 10u);
    EXPECT_EQ(words[26], 0x5C078240u);
}

TEST(P2Textured, EachCallStartsWithAnEmptyStore) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState;
    EXPECT_EQ(DrawTextured(rig, P2Vertices(), {TriangleRecord(0, 1, 2)}).size(), 26u);
    EXPECT_EQ(DrawTextured(rig, P2Vertices(), {TriangleRecord(0, 1, 3)}).size(), 26u);
}

TEST(P2Textured, RangeReductionSlidesByWholeRepeats) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState;
    const auto near = [](const std::vector<float>& have, const std::vector<float>& want) {
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(have[i], want[i], 1e-5) << i;
        }
    };
    near(DrawnU(rig, 9.3f, 0, 1), {7.3f, -2, -1});
    near(DrawnU(rig, -9.3f, 0, 1), {-7.3f, 2, 3});
    near(DrawnU(rig, 7.9f, 0, -7.9f), {7.9f, 0, -7.9f});
    near(DrawnU(rig, 8.0f, 0, 0), {7, -1, -1});
    near(DrawnU(rig, -8.0f, 0, 0), {-7, 1, 1});
    // The positive end decides first.
    near(DrawnU(rig, 9.0f, -9.0f, 0), {7, -11, -2});
    // V has a range of its own: 16, 15.
    const auto both = Drawn(rig, {9.3f, 0, 0}, {9.3f, -17.2f, 0});
    near(both.s, {7.3f, -2, -2});
    near(both.t, {11.3f, -15.2f, 2});
}

TEST(P2Textured, WrappingTakesTheLoneVertexOrItsFellowsToTheNextRepeat) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState | RF_WRAPU;
    const auto near = [](const std::vector<float>& have, const std::vector<float>& want) {
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(have[i], want[i], 1e-6) << i;
        }
    };
    near(DrawnU(rig, 0.9f, 0.1f, 0.2f), {0.9f, 1.1f, 1.2f}); // vertex 0 alone
    near(DrawnU(rig, 0.1f, 0.9f, 0.9f), {1.1f, 0.9f, 0.9f});
    near(DrawnU(rig, 0.1f, 0.9f, 0.2f), {1.1f, 0.9f, 1.2f}); // vertex 1
    near(DrawnU(rig, 0.9f, 0.1f, 0.8f), {0.9f, 1.1f, 0.8f});
    near(DrawnU(rig, 0.1f, 0.2f, 0.9f), {1.1f, 1.2f, 0.9f}); // vertex 2
    near(DrawnU(rig, 0.8f, 0.9f, 0.1f), {0.8f, 0.9f, 1.1f});
    near(DrawnU(rig, 0.1f, 0.6f, 0.3f), {0.1f, 0.6f, 0.3f}); // 0.5 is not far
    // Each axis under its own flag.
    const auto u = Drawn(rig, {0.9f, 0.1f, 0.2f}, {0.9f, 0.1f, 0.2f});
    near(u.t, {0.9f, 0.1f, 0.2f});
    rig.ctx.RenderFlags = kState | RF_WRAPV;
    const auto v = Drawn(rig, {0.9f, 0.1f, 0.2f}, {0.9f, 0.1f, 0.2f});
    near(v.s, {0.9f, 0.1f, 0.2f});
    near(v.t, {0.9f, 1.1f, 1.2f});
}

TEST(P2Textured, AWrappedTriangleAndTheOneBehindItSendAllTheirVertices) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState | RF_WRAPU;
    auto v = P2Vertices();
    v[0].tu = v[1].tu = v[2].tu = v[3].tu = 0.2f;
    v[4].tu = 0.9f;
    const auto sent = [&](std::vector<D3DTRIANGLE> records) {
        test::VertexStore store;
        store.Replay(DrawTextured(rig, v, records));
        return store.verticesSent;
    };
    const D3DTRIANGLE plain = TriangleRecord(0, 1, 2), plainToo = TriangleRecord(0, 1, 3);
    const D3DTRIANGLE wraps = TriangleRecord(0, 1, 4);
    EXPECT_EQ(sent({plain, plainToo}), 3 + 1u);
    EXPECT_EQ(sent({plain, wraps}), 3 + 3u);
    EXPECT_EQ(sent({plain, wraps, plainToo}), 3 + 3 + 3u);
    EXPECT_EQ(sent({plain, wraps, plainToo, plain}), 3 + 3 + 3 + 1u);
    // A slide does not count.
    rig.ctx.RenderFlags = kState;
    v[4].tu = 20.2f;
    EXPECT_EQ(sent({plain, wraps, plainToo}), 3 + 1 + 1u);
}

TEST(P2Textured, TinyTrianglesWithinOneRowOrColumnAreSlivers) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState;
    const auto drawn = [&rig](std::vector<D3DTLVERTEX> v) {
        return !DrawTextured(rig, v, {TriangleRecord(0, 1, 2)}).empty();
    };
    // One row; det 0.4 * 7.4 = 2.96, then 0.4 * 7.5 = 3.0 (det * 2 in binary fractions: 0.375 * 8).
    const std::vector<D3DTLVERTEX> below = {Vertex(17.5f, 10), Vertex(10, 10.375f), Vertex(10, 10)};
    const std::vector<D3DTLVERTEX> at = {Vertex(18, 10), Vertex(10, 10.375f), Vertex(10, 10)};
    ASSERT_EQ(reference::P2Reference::Det(below[0], below[1], below[2]), 2.8125f);
    ASSERT_EQ(reference::P2Reference::Det(at[0], at[1], at[2]), 3.0f);
    rig.SetCull(D3DCULL_CCW);
    EXPECT_FALSE(drawn(below));
    EXPECT_TRUE(drawn(at));
    rig.SetCull(D3DCULL_NONE);
    EXPECT_TRUE(drawn(below));
    // The other facing has the same limits.
    rig.SetCull(D3DCULL_CW);
    EXPECT_FALSE(drawn({below[1], below[0], below[2]}));
    EXPECT_TRUE(drawn({at[1], at[0], at[2]}));
    rig.SetCull(D3DCULL_CCW);
    // Two rows and two columns.
    EXPECT_TRUE(drawn({Vertex(17.5f, 10.25f), Vertex(10, 10.625f), Vertex(10, 10.25f)}));
    // One column.
    EXPECT_FALSE(drawn({Vertex(10.375f, 10), Vertex(10, 17.5f), Vertex(10, 10)}));
    EXPECT_TRUE(drawn({Vertex(10.625f, 10), Vertex(10.25f, 17.5f), Vertex(10.25f, 10)}));
}

TEST(P2Textured, ReservesFor256Bytes) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState;
    EXPECT_EQ(test::TransfersOfTwo(rig, P2_Tri_XYZ_STQ_RGBFS, P2Vertices(), 64 + 26 - 1),
              Words{26});
    EXPECT_EQ(test::TransfersOfTwo(rig, P2_Tri_XYZ_STQ_RGBFS, P2Vertices(), 64 + 26), Words{});
}

TEST(P2Textured, FifoSpaceIsWaitedForPerVertexWithoutCountingFog) {
    const auto looks = [](uint32_t flags) {
        P2Rig rig(false);
        rig.ctx.RenderFlags = flags;
        std::vector<uint32_t> asked;
        rig.bus.fifoSpace = 9; // never enough for two waits
        auto v = P2Vertices();
        DrawRecords(rig, P2_Tri_XYZ_STQ_RGBFS, v, std::vector{TriangleRecord(0, 1, 2)});
        return rig.bus.ReadsOf(reg::InFIFOSpace);
    };
    // 9 for each vertex, then 2. With 10 or more it would never end.
    EXPECT_EQ(looks(kState | RF_SPECULAR | RF_FOG), 4u);
    // 8 for each vertex: 1 left each time.
    EXPECT_EQ(looks(kState | RF_FOG), 4u);
}

TEST(P2Textured, NoFifoSpaceIsReadWithDisconnectOn) {
    P2Rig rig(false);
    rig.ctx.Stream.DisconnectMode = 1;
    rig.ctx.RenderFlags = kState | RF_PERSPECTIVE;
    auto v = P2Vertices();
    DrawRecords(rig, P2_Tri_XYZ_STQ_RGBFS, v, std::vector{TriangleRecord(0, 1, 2)});
    EXPECT_EQ(rig.bus.ReadsOf(reg::InFIFOSpace), 0u);
    EXPECT_EQ(rig.Take().size(), 26u);
}

TEST(P2TexturedWire, CarriesSTQAndKsAndLightsItsColoursToo) {
    P2Rig rig;
    rig.ctx.RenderFlags = kState | RF_PERSPECTIVE | RF_SPECULAR;
    auto v = P2Vertices();
    v[0].specular = 0x000002FF;
    const Words words =
        DrawTextured(rig, v, {TriangleRecord(0, 1, 2, 0x700)}, P2_TriWire_XYZ_STQ_RGBFS);
    const uint32_t ks = Bits(2.0f * 0.000447058823529f + 255.0f * 0.002301960784314f);
    const Words a = {Bits(0.0625f), Bits(0.0625f), Bits(0.5f), ks, Bits(20), Bits(10), Bits(0.5f)};
    EXPECT_EQ(Words(words.begin(), words.begin() + 8), Words{0x1C0F8230} + a);
    EXPECT_EQ(words[8], 0x1C0F8240u);
    // Blue 0x30 and 0xFE: full, and a carry into green.
    EXPECT_EQ(Words(words.begin() + 16, words.begin() + 22),
              (Words{IndexedTag(t::V0Fixed, 0x4000), 0x401023FE} +
               Words{IndexedTag(t::V1Fixed, 0x4000), 0x80405060} + Words{t::DrawLine01, 0x10004}));
    EXPECT_EQ(words[22], 0x1C0F8230u);
    EXPECT_EQ(Words(words.begin() + 34, words.begin() + 42), Words{0x1C0F8240} + a);
}

TEST(P2TexturedWire, KsGoesWithoutSpecularTooAndIsTheFirstVertexsWhenFlat) {
    P2Rig rig;
    auto v = P2Vertices();
    v[0].specular = 0x000000FF;
    rig.ctx.RenderFlags = RF_TEXTURE | RF_GOURAUD;
    Words words = DrawTextured(rig, v, {TriangleRecord(0, 1, 2)}, P2_TriWire_XYZ_STQ_RGBFS);
    const uint32_t ks = Bits(255.0f * 0.002301960784314f);
    EXPECT_EQ(words[4], ks);
    rig.ctx.RenderFlags = RF_TEXTURE | RF_SPECULAR;
    words = DrawTextured(rig, v, {TriangleRecord(0, 1, 2)}, P2_TriWire_XYZ_STQ_RGBFS);
    EXPECT_EQ(words[4], ks);
    EXPECT_EQ(words[12], ks);
    EXPECT_EQ(words[22], ks); // C, behind the flat colour
}

Words DrawLine(P2Rig& rig, std::vector<D3DTLVERTEX> v, uint32_t a = 0, uint32_t b = 1) {
    D3DLINE line{};
    line.v1 = static_cast<WORD>(a);
    line.v2 = static_cast<WORD>(b);
    DrawRecords(rig, P2_Line_XYZ_STQ_RGBFS, v, std::vector{line});
    return rig.Take();
}

TEST(P2Line, AnUntexturedFlatLineIsBracketedByTheRasterizerMode) {
    P2Rig rig;
    rig.ctx.RenderCommand = 0x10040;
    EXPECT_EQ(
        DrawLine(rig, P2Vertices()),
        (Words{t::RasterizerMode, 0x20} +
         Words{IndexedTag(t::V0Float, 0x1C00), Bits(20), Bits(10), Bits(0.5f)} +
         Words{IndexedTag(t::V1Float, 0x1C00), Bits(30), Bits(20), Bits(0.5f)} +
         Pairs(
             {{t::ConstantColor, 0x40302010}, {t::DrawLine01, 0x10004}, {t::RasterizerMode, 0}})));
}

TEST(P2Line, FogColoursAndTheEndPixelFollowTheVertices) {
    P2Rig rig;
    // Specular light is not added.
    rig.ctx.RenderFlags = RF_GOURAUD | RF_FOG | RF_LASTPIXEL | RF_SPECULAR | RF_BLEND;
    rig.ctx.BlendForcesZeroAlpha = 1;
    auto v = P2Vertices();
    v[0].specular = 0x80FFFFFF;
    const Words words = DrawLine(rig, v);
    EXPECT_EQ(Words(words.begin() + 10, words.end()),
              (Pairs({{t::V0Fixed + 9, 0x200000}, {t::V1Fixed + 9, 0x100000}}) +
               Words{IndexedTag(t::V0Fixed, 0x4000), 0x00102030} +
               Words{IndexedTag(t::V1Fixed, 0x4000), 0x00405060} +
               Pairs({{t::DrawLine01, 0x10004}, {t::ContinueNewLine, 1}, {t::RasterizerMode, 0}})));
}

TEST(P2Line, TexturedEndsCarrySTQAndKsOfTheirOwn) {
    P2Rig rig;
    rig.ctx.RenderFlags = RF_TEXTURE | RF_PERSPECTIVE | RF_SPECULAR;
    auto v = P2Vertices();
    v[1].specular = 0x000000FF;
    const Words words = DrawLine(rig, v);
    EXPECT_EQ(Words(words.begin() + 2, words.begin() + 18),
              (Words{IndexedTag(t::V0Float, 0x1C0F), Bits(0.0625f), Bits(0.0625f), Bits(0.5f), 0,
                     Bits(20), Bits(10), Bits(0.5f)} +
               Words{IndexedTag(t::V1Float, 0x1C0F), Bits(0.0625f), Bits(0.0625f), Bits(0.25f),
                     Bits(255.0f * 0.002301960784314f), Bits(30), Bits(20), Bits(0.5f)}));
    rig.ctx.RenderFlags = RF_TEXTURE;
    const Words affine = DrawLine(rig, v);
    EXPECT_EQ(Words(affine.begin() + 2, affine.begin() + 9),
              (Words{IndexedTag(t::V0Float, 0x1C07), Bits(0.125f), Bits(0.125f), Bits(1), Bits(20),
                     Bits(10), Bits(0.5f)}));
}

TEST(P2Line, TheSmallerOfTwoFarCoordinatesWraps) {
    P2Rig rig;
    rig.ctx.RenderFlags = RF_TEXTURE | RF_WRAPU | RF_WRAPV;
    rig.ctx.TextureWidthScale = rig.ctx.TextureHeightScale = 1.0f;
    auto v = P2Vertices();
    v[0].tu = 0.25f;
    v[1].tu = 0.875f;
    v[0].tv = 0.875f;
    v[1].tv = 0.25f;
    const Words words = DrawLine(rig, v);
    EXPECT_EQ((Words{words[3], words[4], words[10], words[11]}),
              (Words{Bits(1.25f), Bits(0.875f), Bits(0.875f), Bits(1.25f)}));
    v[0].tu = 0.375f; // exactly half is not far
    EXPECT_EQ(DrawLine(rig, v)[3], Bits(0.375f));
}

TEST(P2Line, OnlyPermediasScaleTheirCoordinates) {
    P2Rig rig;
    rig.chip.Family = FamilyGlint;
    rig.ctx.RenderFlags = RF_TEXTURE;
    const Words words = DrawLine(rig, P2Vertices());
    EXPECT_EQ((Words{words[3], words[4]}), (Words{Bits(1), Bits(2)}));
}

TEST(P2Textured, EveryMemberMatchesThePlainReferenceOverRandomBatches) {
    SetupRandom random(21);
    P2Rig rig;
    for (int round = 0; round < 1500; ++round) {
        random.State(rig, random.Pick(0x800) | random.Pick(2) * RF_LASTPIXEL);
        rig.chip.Family = random.Pick(3) == 0 ? FamilyGlint : FamilyPermedia;
        const auto vertices = random.Vertices(6 + random.Pick(6));
        const auto records = random.Records(vertices.size());
        const auto lines = random.Lines(vertices.size());
        using R = reference::P2Reference;
        test::ExpectLikeReference<R>(rig, P2_Tri_XYZ_STQ_RGBFS, vertices, records, true,
                                     [&](R& r) { r.Textured({}, vertices, records); });
        test::ExpectLikeReference<R>(
            rig, P2_TriWire_XYZ_STQ_RGBFS, vertices, records, true,
            [&](R& r) { r.Wire(reference::kP2TexturedWire, vertices, records); });
        test::ExpectLikeReference<R>(rig, P2_Line_XYZ_STQ_RGBFS, vertices, lines, true,
                                     [&](R& r) { r.Lines(3, vertices, lines); });
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

// Every triangle finds its own vertices in the store: place, texture words, Ks, F and colour. Two
// cases are left out, as the members do otherwise: a record whose first two vertices are one (the
// third slot then holds an older vertex), and coordinates slid into range, which differ from
// triangle to triangle (those are checked for their places alone).
TEST(P2Textured, TheStoreHoldsEachDrawnRecordsVertices) {
    SetupRandom random(22);
    P2Rig rig;
    size_t checked = 0;
    for (int round = 0; round < 600; ++round) {
        random.State(rig, kState | RF_PERSPECTIVE | random.Pick(4) * RF_SPECULAR);
        rig.SetCull(D3DCULL_NONE);
        const bool slides = random.Pick(4) == 0;
        auto vertices = random.Vertices(5 + random.Pick(8));
        for (D3DTLVERTEX& v : vertices) {
            v.tu = random.Unit() * (slides ? 20.0f : 7.0f);
            v.tv = random.Unit() * 7.0f;
        }
        std::vector<D3DTRIANGLE> records;
        for (const D3DTRIANGLE& record : random.Records(vertices.size())) {
            if (record.v1 != record.v2) {
                records.push_back(record);
            }
        }
        if (records.empty()) {
            continue;
        }
        DrawRecords(rig, P2_Tri_XYZ_STQ_RGBFS, vertices, records);
        test::VertexStore store;
        store.Replay(rig.Take());
        ASSERT_EQ(store.drawn.size(), records.size());
        for (size_t i = 0; i < records.size(); ++i) {
            ASSERT_TRUE(test::HoldsTriangle(store.drawn[i], vertices, records[i])) << round;
            for (const uint32_t index : {records[i].v1, records[i].v2, records[i].v3}) {
                const D3DTLVERTEX& v = vertices[index];
                bool found = false;
                for (const test::StoredVertex& slot : store.drawn[i].slots) {
                    const uint32_t flags = rig.ctx.RenderFlags;
                    found |= slot.At(10) == Bits(v.sx) && slot.At(11) == Bits(v.sy) &&
                             slot.At(12) == Bits(v.sz) && slot.At(2) == Bits(v.rhw) &&
                             slot.At(14) == v.color &&
                             (slides ||
                              (slot.At(0) == Bits(rig.ctx.TextureWidthScale * v.tu * v.rhw) &&
                               slot.At(1) == Bits(rig.ctx.TextureHeightScale * v.tv * v.rhw))) &&
                             ((flags & RF_SPECULAR) == 0 ||
                              slot.At(3) == Bits(reference::Strength(v.specular)));
                }
                ASSERT_TRUE(found) << round << " triangle " << i;
                ++checked;
            }
        }
    }
    EXPECT_GT(checked, 10000u);
}

} // namespace
