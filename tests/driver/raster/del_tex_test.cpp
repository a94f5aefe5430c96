// The textured members of a Delta setup unit, and its lines.
#include "driver/raster/del_tex.h"
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
using test::kEven;
using test::Pairs;
using test::SetupRandom;
using test::TexturedVertex;
using test::TriangleRecord;
using test::Vertex;
using test::Words;
using test::operator+;

struct DeltaMember {
    const char* name;
    Renderer renderer;
    reference::SetupMember traits;
};

const DeltaMember kTriangles[] = {
    {"RGBF", Delta_Tri_XYZ_STQ_RGBF, reference::kDeltaRGBF},
    {"FogSpecular", Delta_Tri_XYZ_STQ_RGB_FogSpecular, reference::kDeltaFogSpecular},
    {"RGBFS", Delta_Tri_XYZ_STQ_RGBFS, reference::kDeltaRGBFS},
};
const DeltaMember kWires[] = {
    {"RGBF", Delta_TriWire_XYZ_STQ_RGBF, reference::kDeltaRGBF},
    {"FogSpecular", Delta_TriWire_XYZ_STQ_RGB_FogSpecular, reference::kDeltaFogSpecular},
    {"RGBFS", Delta_TriWire_XYZ_STQ_RGBFS, reference::kDeltaRGBFS},
};

// 0, 1, 2 and 0, 2, 3 have areas of one sign. Specular is black but for its top byte.
std::vector<D3DTLVERTEX> DeltaVertices() {
    return {TexturedVertex(20, 10, 0.5f, 0.25f, 0.5f, 0x40808080, 0x10000000),
            TexturedVertex(30, 20, 0.25f, 0.75f, 0.25f, 0x80010101, 0x20000000),
            TexturedVertex(10, 30, 0.125f, 0.5f, 1.0f, 0xC0FFFFFF, 0x30000000),
            TexturedVertex(0, 20, 0.375f, 1.0f, 2.0f, 0xF0000000, 0xFF000000)};
}

// Both scales are 1/4.
void BindQuarterScales(DeltaRig& rig) {
    rig.ctx.TextureWidthScale = rig.ctx.TextureHeightScale = 0.25f;
    rig.ctx.TextureRepeatU = rig.ctx.TextureRepeatV = 4.0f;
    rig.ctx.TextureRepeatMaskU = rig.ctx.TextureRepeatMaskV = 3;
}

template <class Record>
Words DrawBound(DeltaRig& rig, Renderer member, std::vector<D3DTLVERTEX> vertices,
                const std::vector<Record>& records) {
    BindQuarterScales(rig);
    return Draw(rig, member, vertices, records);
}
Words DrawOne(DeltaRig& rig, Renderer member, const std::vector<D3DTLVERTEX>& vertices) {
    return DrawBound(rig, member, vertices, std::vector{TriangleRecord(0, 1, 2)});
}

// S, T and Q of DeltaVertices() under perspective, scaled.
Words STQ(const D3DTLVERTEX& v) {
    return {Bits(v.tu / 4 * v.rhw), Bits(v.tv / 4 * v.rhw), Bits(v.rhw)};
}
Words Place(const D3DTLVERTEX& v) {
    return {Bits(v.sx), Bits(v.sy), Bits(v.sz)};
}
// 0x80 through gamma: red 181, green 179, blue 180.
const Words kGrey = {181u << 22, 179u << 22, 180u << 22};

TEST(DeltaTextured, FullTriangleSendsVerticesFogColoursAndDrawWord) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_PERSPECTIVE | RF_FOG;
    rig.ctx.RenderCommand = 0x12000;
    const auto v = DeltaVertices();
    Words expected;
    for (uint32_t i = 0; i < 3; ++i) {
        expected = expected + Words{0x1C078230 + 0x10 * i} + STQ(v[i]) + Place(v[i]);
    }
    const Words fog =
        Pairs({{t::V0Fixed + 9, 0x40000}, {t::V1Fixed + 9, 0x80000}, {t::V2Fixed + 9, 0xC0000}});
    const Words c1 = {0x00E08210, 16u << 22, 14u << 22, 15u << 22};
    const Words c2 = {0x00E08220, 255u << 22, 254u << 22, 255u << 22};
    EXPECT_EQ(DrawOne(rig, Delta_Tri_XYZ_STQ_RGBF, v), expected + fog + Words{0x00E08200} + kGrey +
                                                           c1 + c2 +
                                                           (Words{t::DrawTriangle, 0x12040}));
}

TEST(DeltaTextured, WithoutPerspectiveQIsOne) {
    DeltaRig rig;
    const auto v = DeltaVertices();
    const Words words = DrawOne(rig, Delta_Tri_XYZ_STQ_RGBF, v);
    EXPECT_EQ(Words(words.begin() + 1, words.begin() + 4),
              (Words{Bits(0.125f), Bits(0.0625f), Bits(1.0f)}));
}

TEST(DeltaTextured, GlintTakesUnscaledCoordinates) {
    for (const auto& member : kTriangles) {
        DeltaRig rig;
        rig.chip.Family = FamilyGlint;
        const Words words = DrawOne(rig, member.renderer, DeltaVertices());
        EXPECT_EQ(Words(words.begin() + 1, words.begin() + 3), (Words{Bits(0.5f), Bits(0.25f)}));
    }
}

TEST(DeltaTextured, GouraudColoursGoThroughGammaButOnRGBFS) {
    for (const auto& member : kTriangles) {
        DeltaRig rig;
        rig.ctx.RenderFlags = RF_GOURAUD;
        const Words words = DrawOne(rig, member.renderer, DeltaVertices());
        const auto at = std::find(words.begin(), words.end(), 0x00E08200u);
        ASSERT_NE(at, words.end());
        const Words sent(at + 1, at + 4);
        EXPECT_EQ(sent, member.traits.gamma ? kGrey : Words(3, 128u << 22)) << member.name;
    }
}

TEST(DeltaTextured, FlatColourGoesThroughGammaButOnRGBFS) {
    for (const auto& member : kTriangles) {
        DeltaRig rig;
        const Words words = DrawOne(rig, member.renderer, DeltaVertices());
        EXPECT_EQ(Words(words.end() - 4, words.end() - 2),
                  (Words{t::ConstantColor, member.traits.gamma ? 0x40B4B3B5u : 0x40808080u}))
            << member.name;
    }
}

TEST(DeltaTextured, SpecularIsIgnoredByRGBFAndNeverAddedToColours) {
    for (const auto& member : kTriangles) {
        DeltaRig rig;
        auto v = DeltaVertices();
        for (D3DTLVERTEX& vertex : v) {
            vertex.specular |= 0x00404040;
        }
        rig.ctx.RenderFlags = RF_GOURAUD;
        const Words without = DrawOne(rig, member.renderer, v);
        rig.ctx.RenderFlags = RF_GOURAUD | RF_SPECULAR;
        const Words with = DrawOne(rig, member.renderer, v);
        EXPECT_EQ(Words(without.end() - 14, without.end()), Words(with.end() - 14, with.end()));
        EXPECT_EQ(without == with, member.traits.strength == 0);
    }
}

// The strength words of the three vertices.
std::vector<float> Strengths(const Words& words, size_t vertexWords = 8) {
    std::vector<float> strengths;
    for (size_t i = 0; i < 3; ++i) {
        strengths.push_back(std::bit_cast<float>(words[i * vertexWords + 4]));
    }
    return strengths;
}

TEST(DeltaTextured, FogSpecularSendsWhatSpecularLeaves) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_SPECULAR | RF_FOG;
    auto v = DeltaVertices();
    v[1].specular = 0xFFFFFFFF;
    v[2].specular = 0x000000FF;
    const Words words = DrawOne(rig, Delta_Tri_XYZ_STQ_RGB_FogSpecular, v);
    EXPECT_EQ((Words{words[0], words[8], words[16]}), (Words{0x1E078230, 0x1E078240, 0x1E078250}));
    const auto f = Strengths(words);
    EXPECT_EQ(f[0], 1.0f);
    EXPECT_NEAR(f[1], 0.0f, 1e-6f);
    EXPECT_NEAR(f[2], 1.0f - 0.587f, 1e-6f);
    EXPECT_EQ(std::count(words.begin(), words.end(), 0x209u), 0); // no real fog
}

TEST(DeltaTextured, RGBFSSendsKsAndRealFog) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_SPECULAR | RF_FOG;
    auto v = DeltaVertices();
    v[1].specular = 0x2000FF00;
    v[2].specular = 0x30FF0000;
    const Words words = DrawOne(rig, Delta_Tri_XYZ_STQ_RGBFS, v);
    EXPECT_EQ((Words{words[0], words[8], words[16]}), (Words{0x1C0F8230, 0x1C0F8240, 0x1C0F8250}));
    const auto ks = Strengths(words);
    EXPECT_EQ(ks[0], 0.0f);
    EXPECT_EQ(ks[1], 255.0f * 0.000447058823529f);
    EXPECT_EQ(ks[2], 255.0f * 0.001172549019608f);
    EXPECT_EQ(
        Words(words.begin() + 24, words.begin() + 30),
        Pairs({{t::V0Fixed + 9, 0x40000}, {t::V1Fixed + 9, 0x80000}, {t::V2Fixed + 9, 0xC0000}}));
}

TEST(DeltaTextured, WithSpecularOffTheHeadersStayAndLIsZero) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD;
    auto v = DeltaVertices();
    for (D3DTLVERTEX& vertex : v) {
        vertex.specular = 0x00FFFFFF;
    }
    const Words fog = DrawOne(rig, Delta_Tri_XYZ_STQ_RGB_FogSpecular, v);
    EXPECT_EQ(fog[0], 0x1E078230u);
    EXPECT_EQ(Strengths(fog), (std::vector<float>{1, 1, 1}));
    const Words ks = DrawOne(rig, Delta_Tri_XYZ_STQ_RGBFS, v);
    EXPECT_EQ(ks[0], 0x1C0F8230u);
    EXPECT_EQ(Strengths(ks), (std::vector<float>{0, 0, 0}));
}

TEST(DeltaTextured, FlatShadingTakesTheFirstVertexsStrengthForAllAndOnContinuations) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_SPECULAR;
    rig.SetCull(D3DCULL_CCW);
    auto v = DeltaVertices();
    v[0].specular = 0x000000FF;
    const Words words =
        DrawBound(rig, Delta_Tri_XYZ_STQ_RGBFS, v,
                  std::vector{TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven)});
    const float ks = 255.0f * 0.002301960784314f;
    EXPECT_EQ(Strengths(words), (std::vector<float>{ks, ks, ks}));
    EXPECT_EQ(words[28], 0x1C0F8240u);
    EXPECT_EQ(words[32], Bits(ks));
}

TEST(DeltaTextured, AContinuationSendsVertexFogAndColourOfTheThird) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_PERSPECTIVE | RF_FOG;
    rig.SetCull(D3DCULL_CCW);
    const auto v = DeltaVertices();
    const Words words =
        DrawBound(rig, Delta_Tri_XYZ_STQ_RGBF, v,
                  std::vector{TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven)});
    EXPECT_EQ(Words(words.begin() + 41, words.end()),
              Words{0x1C078240} + STQ(v[3]) + Place(v[3]) +
                  (Words{t::V1Fixed + 9, 0x3FC000, 0x00E08210, 0, 0, 0, 0x261, 0x10040}));
}

TEST(DeltaTextured, CoordinatesAreSlidAndWrappedOnTheFullPath) {
    DeltaRig rig;
    auto v = DeltaVertices();
    // Slid by round(6.25) - 3 = 3: 3.25, 2.5, 2.25. Then vertex 0 is alone: the others go up.
    v[0].tu = 6.25f;
    v[1].tu = 5.5f;
    v[2].tu = 5.25f;
    rig.ctx.RenderFlags = RF_WRAPU;
    const Words words = DrawOne(rig, Delta_Tri_XYZ_STQ_RGBF, v);
    EXPECT_EQ((Words{words[1], words[8], words[15]}),
              (Words{Bits(3.25f / 4), Bits(3.5f / 4), Bits(3.25f / 4)}));
}

TEST(DeltaTextured, OnAContinuationARuleThatRaisesTheOthersChangesNothing) {
    // Coordinates of the continuation's A, B and C, and what C goes out as.
    const struct {
        float u0, u1, u2, sent;
    } cases[] = {
        {0.1f, 0.9f, 0.9f, 0.9f}, // vertex 0 alone and below: it would go up
        {0.9f, 0.1f, 0.2f, 1.2f}, // vertex 0 alone and above: C goes up with B
        {0.1f, 0.9f, 0.2f, 1.2f}, // vertex 1 alone and above: C goes up with A
        {0.9f, 0.1f, 0.9f, 0.9f}, // vertex 1 alone and below: it would go up
        {0.2f, 0.1f, 0.9f, 0.9f}, // vertex 2 alone and above: A and B would go up
        {0.9f, 0.9f, 0.1f, 1.1f}, // vertex 2 alone and below: C goes up
        {0.1f, 0.2f, 0.3f, 0.3f}, // nobody alone
    };
    for (const auto& c : cases) {
        DeltaRig rig;
        rig.SetCull(D3DCULL_CCW);
        auto v = DeltaVertices();
        v[0].tu = c.u0;
        v[2].tu = c.u1;
        v[3].tu = c.u2;
        const std::vector records = {TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven)};
        rig.ctx.RenderFlags = RF_WRAPU;
        const Words words = DrawBound(rig, Delta_Tri_XYZ_STQ_RGBF, v, records);
        ASSERT_EQ(words[25], 0x1C078240u);
        EXPECT_EQ(words[26], Bits(c.sent / 4)) << c.u0 << ' ' << c.u1 << ' ' << c.u2;
        rig.ctx.RenderFlags = RF_WRAPV;
        EXPECT_EQ(DrawBound(rig, Delta_Tri_XYZ_STQ_RGBF, v, records)[26], Bits(c.u2 / 4));
    }
}

TEST(DeltaTextured, AContinuationIsSlidByAllThreeCoordinates) {
    DeltaRig rig;
    rig.SetCull(D3DCULL_CCW);
    auto v = DeltaVertices();
    v[2].tu = 6.0f; // round(6) - 3: everything by 3
    const Words words =
        DrawBound(rig, Delta_Tri_XYZ_STQ_RGBF, v,
                  std::vector{TriangleRecord(0, 1, 2), TriangleRecord(0, 2, 3, kEven)});
    EXPECT_EQ(words[26], Bits((0.375f - 3.0f) / 4));
}

TEST(DeltaTextured, BlendingSendsAlphaUnlessItIsForcedToZero) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_BLEND;
    Words words = DrawOne(rig, Delta_Tri_XYZ_STQ_RGBF, DeltaVertices());
    EXPECT_EQ(Words(words.begin() + 21, words.begin() + 26),
              Words{0x01E08200} + kGrey + Words{0x40u << 22});
    rig.ctx.BlendForcesZeroAlpha = 1;
    words = DrawOne(rig, Delta_Tri_XYZ_STQ_RGBF, DeltaVertices());
    EXPECT_EQ(words[25], 0u);
}

TEST(DeltaTextured, StippleComesBehindFogAndIsTheFirstVertexsOwn) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_STIPPLEDALPHA | RF_FOG;
    const Words words = DrawOne(rig, Delta_Tri_XYZ_STQ_RGBF, DeltaVertices());
    EXPECT_EQ(words[25], 0x229u);
    EXPECT_EQ(Words(words.begin() + 27, words.begin() + 31), (Words{0x00FF8040, 0xAA, 0x44, 0xAA}));
    EXPECT_EQ(words.back(), 0x10041u);
}

TEST(DeltaTextured, EveryMemberMatchesThePlainReferenceOverRandomBatches) {
    SetupRandom random(41);
    DeltaRig rig;
    for (int round = 0; round < 300; ++round) {
        random.State(rig, random.Pick(0x800));
        const auto vertices = random.Vertices(9);
        const auto records = random.Records(vertices.size());
        using R = DeltaReference;
        for (const DeltaMember& member : kTriangles) {
            test::ExpectLikeReference<R>(rig, member.renderer, vertices, records, true,
                                         [&](R& r) { r.Solid(member.traits, vertices, records); });
        }
        for (const DeltaMember& member : kWires) {
            test::ExpectLikeReference<R>(rig, member.renderer, vertices, records, true,
                                         [&](R& r) { r.Wire(member.traits, vertices, records); });
        }
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

TEST(DeltaTextured, TheStoreHoldsEachDrawnRecordsVerticesButBehindACulledContinuation) {
    SetupRandom random(42);
    size_t complete = 0;
    DeltaRig rig;
    for (int round = 0; round < 100; ++round) {
        random.State(rig, RF_PERSPECTIVE | random.Pick(2) * RF_FOG | random.Pick(2) * RF_GOURAUD);
        auto vertices = random.Vertices(40);
        const auto records = test::RandomFans(random, 40, 60);
        for (const DeltaMember& member : kTriangles) {
            DrawRecords(rig, member.renderer, vertices, records);
            test::VertexStore store;
            store.Replay(rig.Take());
            const auto drawn =
                test::RecordsDrawn<DeltaReference>(rig.ctx.CullMode, vertices, records);
            ASSERT_EQ(store.drawn.size(), drawn.size());
            for (size_t i = 0; i < drawn.size(); ++i) {
                if (drawn[i].complete) {
                    ++complete;
                    ASSERT_TRUE(
                        test::HoldsTriangle(store.drawn[i], vertices, records[drawn[i].record]))
                        << round << " triangle " << i;
                }
            }
        }
    }
    EXPECT_GT(complete, 5000u);
}

TEST(DeltaTexturedWire, SendsTheTrianglesWordsForTwoEndsAtATime) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_PERSPECTIVE | RF_SPECULAR;
    const auto v = DeltaVertices();
    const Words words = DrawBound(rig, Delta_TriWire_XYZ_STQ_RGBFS, v,
                                  std::vector{TriangleRecord(0, 1, 2, D3DTRIFLAG_EDGEENABLE2)});
    const auto vertex = [&](uint32_t slot, const D3DTLVERTEX& at) {
        return Words{0x1C0F8230 + slot} + STQ(at) + Words{0} + Place(at);
    };
    const Words colour = {t::ConstantColor, 0x40808080}, draw = {t::DrawLine01, 0x10000};
    EXPECT_EQ(words, vertex(0, v[0]) + vertex(0x10, v[1]) + colour + vertex(0, v[2]) + draw);
}

std::vector<D3DLINE> OneLine(uint32_t a, uint32_t b) {
    D3DLINE line{};
    line.v1 = static_cast<WORD>(a);
    line.v2 = static_cast<WORD>(b);
    return {line};
}

TEST(DeltaLine, BracketsTheBatchAndDrawsFromTheFirstEnd) {
    DeltaRig rig;
    rig.ctx.RenderCommand = 0x10040;
    rig.ctx.RenderFlags = RF_LASTPIXEL;
    const auto v = DeltaVertices();
    for (const Renderer member : {Delta_Line_XYZ_STQ_RGBF, Delta_Line_XYZ_STQ_RGBFS}) {
        const Words begin = {t::RasterizerMode, 0x20, 0x1C008230}, second = {0x1C008240};
        const Words end = Pairs({{t::ConstantColor, 0x40808080},
                                 {t::DrawLine01, 0x10004},
                                 {t::ContinueNewLine, 1},
                                 {t::RasterizerMode, 0}});
        EXPECT_EQ(DrawBound(rig, member, v, OneLine(0, 1)),
                  begin + Place(v[0]) + second + Place(v[1]) + end);
    }
}

TEST(DeltaLine, ColoursAreFixedPointWordsWithoutGammaOrSpecular) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_BLEND | RF_SPECULAR;
    auto v = DeltaVertices();
    v[0].specular = 0x00404040;
    const Words words = DrawBound(rig, Delta_Line_XYZ_STQ_RGBF, v, OneLine(0, 1));
    EXPECT_EQ(Words(words.begin() + 10, words.begin() + 20),
              (Words{0x01E08200, 128u << 22, 128u << 22, 128u << 22, 0x40u << 22, 0x01E08210,
                     1u << 22, 1u << 22, 1u << 22, 0x80u << 22}));
    rig.ctx.BlendForcesZeroAlpha = 1;
    EXPECT_EQ(DrawBound(rig, Delta_Line_XYZ_STQ_RGBF, v, OneLine(0, 1))[14], 0u);
}

TEST(DeltaLine, SpecularIsFOrKsOfEachEndAndRealFogMayGoToo) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_TEXTURE | RF_PERSPECTIVE | RF_SPECULAR | RF_FOG;
    auto v = DeltaVertices();
    v[1].specular = 0x200000FF;
    const float l = 255.0f * 0.002301960784314f;
    const Words fog = {t::V0Fixed + 9, 0x40000, t::V1Fixed + 9, 0x80000};
    const Words rgbf = DrawBound(rig, Delta_Line_XYZ_STQ_RGBF, v, OneLine(0, 1));
    EXPECT_EQ(Words(rgbf.begin() + 2, rgbf.begin() + 22),
              Words{0x1E078230} + STQ(v[0]) + Words{Bits(1.0f)} + Place(v[0]) + Words{0x1E078240} +
                  STQ(v[1]) + Words{Bits(1.0f - l)} + Place(v[1]) + fog);
    const Words rgbfs = DrawBound(rig, Delta_Line_XYZ_STQ_RGBFS, v, OneLine(0, 1));
    EXPECT_EQ(Words(rgbfs.begin() + 2, rgbfs.begin() + 22),
              Words{0x1C0F8230} + STQ(v[0]) + Words{0} + Place(v[0]) + Words{0x1C0F8240} +
                  STQ(v[1]) + Words{Bits(l)} + Place(v[1]) + fog);
    rig.ctx.RenderFlags = RF_TEXTURE | RF_PERSPECTIVE;
    EXPECT_EQ(DrawBound(rig, Delta_Line_XYZ_STQ_RGBFS, v, OneLine(0, 1))[2], 0x1C078230u);
}

TEST(DeltaLine, EndsOnOnePixelAreDrawnOnePixelLongAndTheVertexStaysAsItWas) {
    DeltaRig rig;
    rig.ctx.RenderFlags = RF_LASTPIXEL;
    std::vector<D3DTLVERTEX> v = {Vertex(10.4f, 10.2f), Vertex(10.3f, 10.1f)};
    DrawRecords(rig, Delta_Line_XYZ_STQ_RGBF, v, OneLine(0, 1));
    const Words words = rig.Take();
    EXPECT_EQ(words[4], Bits(10.2f - 1.0f));
    EXPECT_EQ(words[8], Bits(10.1f));
    EXPECT_EQ(Words(words.end() - 4, words.end()),
              (Words{t::ContinueNewLine, 1, t::RasterizerMode, 0}));
    EXPECT_EQ(v[0].sy, 10.2f);
    EXPECT_EQ(v[1].sy, 10.1f);
}

TEST(DeltaLine, EndsOnNeighbouringPixelsStayAsTheyAre) {
    DeltaRig rig;
    // 10.5 goes to 10, ties to even; 11.5 to 12.
    for (const auto& [x, y, lowered] :
         {std::tuple{10.6f, 10.1f, false}, std::tuple{10.5f, 10.5f, true},
          std::tuple{10.3f, 11.5f, false}}) {
        std::vector<D3DTLVERTEX> v = {Vertex(10.4f, 10.25f), Vertex(x, y)};
        DrawRecords(rig, Delta_Line_XYZ_STQ_RGBFS, v, OneLine(0, 1));
        EXPECT_EQ(rig.Take()[4], Bits(lowered ? 9.25f : 10.25f)) << x;
    }
}

TEST(DeltaLine, WithOneVertexForBothEndsBothAreLowered) {
    DeltaRig rig;
    std::vector<D3DTLVERTEX> v = {Vertex(10.4f, 10.25f)};
    DrawRecords(rig, Delta_Line_XYZ_STQ_RGBF, v, OneLine(0, 0));
    const Words words = rig.Take();
    EXPECT_EQ(words[4], Bits(9.25f));
    EXPECT_EQ(words[8], Bits(9.25f));
    EXPECT_EQ(v[0].sy, 10.25f);
}

TEST(DeltaLine, BothMembersMatchThePlainReferenceOverRandomBatches) {
    SetupRandom random(43);
    DeltaRig rig;
    for (int round = 0; round < 400; ++round) {
        random.State(rig, random.Pick(0x800) | random.Pick(2) * RF_LASTPIXEL);
        auto vertices = random.Vertices(6 + random.Pick(6));
        for (size_t i = 1; i < vertices.size(); ++i) {
            if (random.Pick(3) == 0) { // near its neighbour
                vertices[i].sx = vertices[i - 1].sx + random.Unit() * 0.5f;
                vertices[i].sy = vertices[i - 1].sy - random.Unit() * 0.5f;
            }
        }
        const auto lines = random.Lines(vertices.size());
        using R = DeltaReference;
        test::ExpectLikeReference<R>(rig, Delta_Line_XYZ_STQ_RGBF, vertices, lines, true,
                                     [&](R& r) { r.Lines(9, vertices, lines); });
        test::ExpectLikeReference<R>(rig, Delta_Line_XYZ_STQ_RGBFS, vertices, lines, true,
                                     [&](R& r) { r.Lines(3, vertices, lines); });
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

} // namespace
