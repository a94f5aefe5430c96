// The textured triangle members of the host set-up.
#include "driver/raster/gl_tex.h"
#include "tests/driver/raster/gl_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using test::DrawOnce;
using test::GlintMember;
using test::HandEdges;
using test::HandTriangle;
using test::kHandConstantColor;
using test::kHandDepth;
using test::kHandFog;
using test::RasterRig;
using test::Words;
using test::operator+;

const GlintMember kTexturedMembers[] = {
    {"Glint_Tri_XY_STQ_FLAT", Glint_Tri_XY_STQ_FLAT, {false, false, false, false, 3}},
    {"Glint_Tri_XY_STQ_FLAT_F", Glint_Tri_XY_STQ_FLAT_F, {false, false, true, false, 3}},
    {"Glint_Tri_XYZ_STQ_FLAT", Glint_Tri_XYZ_STQ_FLAT, {true, false, false, false, 3}},
    {"Glint_Tri_XYZ_STQ_FLAT_F", Glint_Tri_XYZ_STQ_FLAT_F, {true, false, true, false, 3}},
    {"Glint_Tri_XY_STQ_RGB", Glint_Tri_XY_STQ_RGB, {false, true, false, false, 3}},
    {"Glint_Tri_XY_STQ_RGBF", Glint_Tri_XY_STQ_RGBF, {false, true, true, false, 3}},
    {"Glint_Tri_XYZ_STQ_RGB", Glint_Tri_XYZ_STQ_RGB, {true, true, false, false, 3}},
    {"Glint_Tri_XYZ_STQ_RGBF", Glint_Tri_XYZ_STQ_RGBF, {true, true, true, false, 3}},
    {"Glint_Tri_XY_ST_FLAT", Glint_Tri_XY_ST_FLAT, {false, false, false, false, 2}},
    {"Glint_Tri_XY_ST_FLAT_F", Glint_Tri_XY_ST_FLAT_F, {false, false, true, false, 2}},
    {"Glint_Tri_XYZ_ST_FLAT", Glint_Tri_XYZ_ST_FLAT, {true, false, false, false, 2}},
    {"Glint_Tri_XYZ_ST_FLAT_F", Glint_Tri_XYZ_ST_FLAT_F, {true, false, true, false, 2}},
    {"Glint_Tri_XY_ST_RGB", Glint_Tri_XY_ST_RGB, {false, true, false, false, 2}},
    {"Glint_Tri_XY_ST_RGBF", Glint_Tri_XY_ST_RGBF, {false, true, true, false, 2}},
    {"Glint_Tri_XYZ_ST_RGB", Glint_Tri_XYZ_ST_RGB, {true, true, false, false, 2}},
    {"Glint_Tri_XYZ_ST_RGBF", Glint_Tri_XYZ_ST_RGBF, {true, true, true, false, 2}},
};

// From bottom to top Q is 1, 1/2, 1/4; S is 64 u q: 32, 8, 12; T is 32 v q: 8, 16, 4.
const Words kHandSTQ = {0x03FE8070, 0x02000000, 0xFFF20000, 0xFFEC0000, 0x00800000,
                        0x000A0000, 0xFFFC0000, 0x40000000, 0xFF800000, 0xFD000000};
// S is 64 u: 32, 16, 48; T is 32 v: 8, 32, 16.
const Words kHandST = {0x007E8070, 0x02000000, 0xFFE80000, 0x00100000,
                       0x00800000, 0x00140000, 0x00080000};
// Through gamma: red 111, 143, 64; green 155, 89, 89; blue 191, 247, 110.
const Words kGammaRGB = {0x01FF80F0, 0x378000,   0x1BC00,  0xFFFE8800, 0x4D8000,
                         0xFFFEF800, 0xFFFDF000, 0x5F8000, 0x30400,    0xFFFD7800};
// Alpha 128, 192, 64 steps 6 in x; up it takes blue's word.
const Words kGammaRGBA = Words{0x0FFF80F0} + Words(kGammaRGB.begin() + 1, kGammaRGB.end()) +
                         Words{0x400000, 0x30000, 0xFFFD7800};
Words TexturedWords(const reference::Member& traits) {
    Words words = traits.gouraud ? kGammaRGB : kHandConstantColor;
    if (traits.depth) {
        words = words + kHandDepth;
    }
    words = words + (traits.texture == 3 ? kHandSTQ : kHandST);
    if (traits.fog) {
        words = words + kHandFog;
    }
    return words + HandEdges(0x10040);
}

// The words behind a burst's header word.
Words GroupOf(const Words& words, uint32_t header, size_t count) {
    const auto at = std::find(words.begin(), words.end(), header);
    return at == words.end() ? Words{} : Words(at + 1, at + 1 + count);
}
Words TextureWords(const Words& words) {
    return GroupOf(words, 0x03FE8070, 9);
}
Words FogWords(const Words& words) {
    return GroupOf(words, 0x007080D0, 3);
}

TEST(GlintTexturedTriangle, EveryMemberSendsItsGroupsInOrder) {
    for (const GlintMember& member : kTexturedMembers) {
        RasterRig rig;
        EXPECT_EQ(DrawOnce(member.renderer, rig, HandTriangle()), TexturedWords(member.traits))
            << member.name;
    }
}

TEST(GlintTexturedTriangle, FifoModeSendsTheSameWords) {
    for (const GlintMember& member : kTexturedMembers) {
        RasterRig rig(false);
        EXPECT_EQ(DrawOnce(member.renderer, rig, HandTriangle()), TexturedWords(member.traits))
            << member.name;
    }
}

TEST(GlintTexturedTriangle, FogFlagAloneSendsNoFogOnMembersWithoutIt) {
    for (const GlintMember& member : kTexturedMembers) {
        RasterRig rig;
        rig.ctx.RenderFlags = RF_FOG;
        EXPECT_EQ(FogWords(DrawOnce(member.renderer, rig, HandTriangle())).empty(),
                  !member.traits.fog)
            << member.name;
    }
}

TEST(GlintTexturedTriangle, SpecularTakesTheFogUnitOnEveryMember) {
    for (const GlintMember& member : kTexturedMembers) {
        RasterRig rig;
        rig.ctx.RenderFlags = RF_SPECULAR | RF_FOG;
        auto vertices = HandTriangle();
        vertices[1].specular = 0x600000FF; // L about 0.587 at B
        const Words words = FogWords(DrawOnce(member.renderer, rig, vertices));
        ASSERT_EQ(words.size(), 3u) << member.name;
        EXPECT_EQ(words[0], 0x400000u); // black: 1.0
        // d12 is -L: -L / 16 in x.
        const double step = member.traits.gouraud ? -0.587 / 16 * 0x400000 : 0.0;
        EXPECT_NEAR(static_cast<int32_t>(words[1]), step, 1.0);
        EXPECT_EQ(words[2], 0u);
    }
}

TEST(GlintTexturedTriangle, AFlatTriangleUnderSpecularHasNoFogSlopes) {
    for (const Renderer member : {Glint_Tri_XYZ_STQ_FLAT, Glint_Tri_XY_ST_FLAT_F}) {
        RasterRig rig;
        rig.ctx.RenderFlags = RF_SPECULAR;
        auto vertices = HandTriangle();
        vertices[0].specular = 0x00FF0000; // A, the first of the record: 1 - 0.299
        vertices[1].specular = 0x00FFFFFF;
        vertices[2].specular = 0x000000FF;
        const Words words = FogWords(DrawOnce(member, rig, vertices));
        ASSERT_EQ(words.size(), 3u);
        EXPECT_NEAR(static_cast<int32_t>(words[0]), 0.701 * 0x400000, 2.0);
        EXPECT_EQ(words[1], 0u);
        EXPECT_EQ(words[2], 0u);
    }
}

TEST(GlintTexturedTriangle, WhiteSpecularLeavesAboutNothing) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_SPECULAR;
    auto vertices = HandTriangle();
    for (D3DTLVERTEX& vertex : vertices) {
        vertex.specular = 0x00FFFFFF;
    }
    const Words words = FogWords(DrawOnce(Glint_Tri_XYZ_STQ_RGB, rig, vertices));
    ASSERT_EQ(words.size(), 3u);
    EXPECT_NEAR(static_cast<int32_t>(words[0]), 0, 1);
}

TEST(GlintTexturedTriangle, SpecularIsNotAddedToColours) {
    const struct {
        Renderer member;
        Words colour;
    } cases[] = {{Glint_Tri_XYZ_STQ_FLAT, kHandConstantColor}, {Glint_Tri_XYZ_STQ_RGB, kGammaRGB}};
    for (const auto& [member, colour] : cases) {
        RasterRig rig;
        rig.ctx.RenderFlags = RF_SPECULAR;
        auto vertices = HandTriangle();
        for (D3DTLVERTEX& vertex : vertices) {
            vertex.specular = 0x00404040;
        }
        const Words words = DrawOnce(member, rig, vertices);
        EXPECT_EQ(Words(words.begin(), words.begin() + colour.size()), colour);
    }
}

TEST(GlintTexturedTriangle, AGreyTriangleTakesTheFullColourForms) {
    for (const auto& [flags, header] :
         {std::pair{0u, 0x01FF80F0u}, std::pair{uint32_t{RF_BLEND}, 0x0FFF80F0u}}) {
        RasterRig rig;
        rig.ctx.RenderFlags = flags;
        auto vertices = HandTriangle();
        for (D3DTLVERTEX& vertex : vertices) {
            vertex.color = 0x80808080;
        }
        const Words words = DrawOnce(Glint_Tri_XYZ_STQ_RGB, rig, vertices);
        EXPECT_EQ(words[0], header);
        EXPECT_EQ(words[1], 181u << 15);
        EXPECT_EQ(words[4], 179u << 15);
        EXPECT_EQ(words[7], 180u << 15);
    }
}

TEST(GlintTexturedTriangle, BlackStaysGreyAndSendsNoAlpha) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_BLEND;
    auto vertices = HandTriangle();
    for (D3DTLVERTEX& vertex : vertices) {
        vertex.color = 0x80000000;
    }
    EXPECT_EQ(DrawOnce(Glint_Tri_XYZ_STQ_RGB, rig, vertices)[0], 0x01FF80F0u);
}

TEST(GlintTexturedTriangle, ColoursThatTheTableMakesGreyAreGrey) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_BLEND;
    auto vertices = HandTriangle();
    for (D3DTLVERTEX& vertex : vertices) {
        vertex.color = 0x80C6C9C8; // 198, 201, 200 all become 225
    }
    const Words words = DrawOnce(Glint_Tri_XYZ_STQ_RGB, rig, vertices);
    EXPECT_EQ(words[0], 0x01FF80F0u);
    EXPECT_EQ(words[1], 225u << 15);
}

TEST(GlintTexturedTriangle, BlendingSendsAlphaWithBluesStepUp) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_BLEND;
    const Words words = DrawOnce(Glint_Tri_XY_STQ_RGB, rig, HandTriangle());
    EXPECT_EQ(words, kGammaRGBA + kHandSTQ + HandEdges(0x10040));
}

TEST(GlintTexturedTriangle, QIsNormalisedToItsLargest) {
    RasterRig rig;
    // Sorted: 0.5, 0.25, 0.125 become 1.0, 0.5, 0.25.
    const Words words = TextureWords(DrawOnce(Glint_Tri_XY_STQ_FLAT, rig, HandTriangle()));
    ASSERT_EQ(words.size(), 9u);
    EXPECT_EQ(words[6], 0x40000000u);
    // u of V1 is halved: S at V1 is start + 16 in x + 8 up, 32 - 14 - 10 = 8 = 64 * 0.25 / 2.
    const double s1 = (static_cast<int32_t>(words[0]) + 16.0 * static_cast<int32_t>(words[1]) +
                       8.0 * static_cast<int32_t>(words[2])) /
                      0x100000;
    EXPECT_EQ(s1, 8.0);
}

TEST(GlintTexturedTriangle, OfEqualQTheLaterIsExactlyOneAndTheOtherIsMultiplied) {
    // 41 * (1 / 41) is 0.99999994 in singles. V0 is C, V1 is B.
    RasterRig rig;
    auto vertices = HandTriangle();
    vertices[0].rhw = 7.0f;
    vertices[1].rhw = 41.0f;
    vertices[2].rhw = 41.0f;
    const float inverse = 1.0f / 41.0f;
    const float q0 = 41.0f * inverse;
    ASSERT_NE(q0, 1.0f);
    const Words words = TextureWords(DrawOnce(Glint_Tri_XY_STQ_FLAT, rig, vertices));
    ASSERT_EQ(words.size(), 9u);
    EXPECT_EQ(words[6], reference::Rounded2_30(q0));

    // V1 and V2 equal: V2 is exact. V0 alone on top: V0 is.
    vertices[2].rhw = 7.0f;
    vertices[0].rhw = 41.0f;
    const float q2 = 1.0f, low = 7.0f * inverse;
    const Words tie = TextureWords(DrawOnce(Glint_Tri_XY_STQ_FLAT, rig, vertices));
    ASSERT_EQ(tie.size(), 9u);
    EXPECT_EQ(tie[6], reference::Rounded2_30(low));
    EXPECT_EQ(tie[8], reference::Rounded2_30((low - q2) * -0.0625f));
}

TEST(GlintTexturedTriangle, EqualQInAllVerticesMakesTheLastExact) {
    RasterRig rig;
    auto vertices = HandTriangle();
    for (D3DTLVERTEX& vertex : vertices) {
        vertex.rhw = 41.0f;
    }
    const float q = 41.0f * (1.0f / 41.0f);
    const Words words = TextureWords(DrawOnce(Glint_Tri_XY_STQ_FLAT, rig, vertices));
    ASSERT_EQ(words.size(), 9u);
    EXPECT_EQ(words[6], reference::Rounded2_30(q));
    EXPECT_EQ(words[8], reference::Rounded2_30((q - 1.0f) * -0.0625f));
}

TEST(GlintTexturedTriangle, ZeroQInAllVerticesSaturates) {
    RasterRig rig;
    auto vertices = HandTriangle();
    for (D3DTLVERTEX& vertex : vertices) {
        vertex.rhw = 0.0f;
    }
    // 0 * inf is a negative NaN at V0 and V1; V2 is 1.0.
    const Words words = TextureWords(DrawOnce(Glint_Tri_XY_STQ_FLAT, rig, vertices));
    EXPECT_EQ(words, Words(9, 0x80000000));
}

TEST(GlintTexturedTriangle, ZeroQInOneVertexIsHarmless) {
    RasterRig rig;
    auto vertices = HandTriangle();
    vertices[2].rhw = 0.0f; // V0
    const Words words = TextureWords(DrawOnce(Glint_Tri_XY_STQ_FLAT, rig, vertices));
    ASSERT_EQ(words.size(), 9u);
    EXPECT_EQ(words[0], 0u);
    EXPECT_EQ(words[6], 0u);
}

TEST(GlintTexturedTriangle, AffineMembersIgnoreQ) {
    RasterRig rig;
    auto vertices = HandTriangle();
    for (D3DTLVERTEX& vertex : vertices) {
        vertex.rhw = 0.0f;
    }
    const Words words = DrawOnce(Glint_Tri_XY_ST_FLAT, rig, vertices);
    EXPECT_EQ(words, kHandConstantColor + kHandST + HandEdges(0x10040));
}

TEST(GlintTexturedTriangle, CoordinatesAreSlidIntoRangeAlongEachAxis) {
    RasterRig rig;
    auto vertices = HandTriangle();
    for (D3DTLVERTEX& vertex : vertices) {
        vertex.tu += 40.0f; // top 40.75, rounded 41, less 31: k is 10
        vertex.tv -= 70.0f; // bottom -69.75, rounded -70, plus 63: k is -7
    }
    const auto drawn = vertices;
    const Words words = DrawOnce(Glint_Tri_XY_ST_FLAT, rig, vertices);
    const Words texture = GroupOf(words, 0x007E8070, 6);
    ASSERT_EQ(texture.size(), 6u);
    EXPECT_EQ(texture[0], static_cast<uint32_t>((40.5 - 10.0) * 64 * 0x100000));
    EXPECT_EQ(texture[3],
              static_cast<uint32_t>(static_cast<int32_t>((0.25 - 70 + 7) * 32 * 0x100000)));
    // Slopes are those of the triangle that was not moved, and the vertices stay.
    EXPECT_EQ(texture[1], kHandST[2]);
    EXPECT_EQ(texture[4], kHandST[5]);
    EXPECT_EQ(vertices[0].tu, drawn[0].tu);
}

TEST(GlintTexturedTriangle, EachAxisWrapsUnderItsOwnFlag) {
    auto vertices = HandTriangle();
    const float u[] = {0.875f, 0.875f, 0.125f}, v[] = {0.75f, 0.125f, 0.125f};
    for (int i = 0; i < 3; ++i) {
        vertices[i].tu = u[i];
        vertices[i].tv = v[i];
    }
    // C, V0, is alone in u and below: it becomes 1.125. A, V2, is alone in v and above: the others
    // become 1.125.
    const auto starts = [&](uint32_t flags) {
        RasterRig rig;
        rig.ctx.RenderFlags = flags;
        const Words words = GroupOf(DrawOnce(Glint_Tri_XY_ST_FLAT, rig, vertices), 0x007E8070, 6);
        return Words{words.at(0), words.at(3)};
    };
    EXPECT_EQ(starts(0), (Words{8u << 20, 4u << 20}));
    EXPECT_EQ(starts(RF_WRAPU), (Words{72u << 20, 4u << 20}));
    EXPECT_EQ(starts(RF_WRAPV), (Words{8u << 20, 36u << 20}));
    EXPECT_EQ(starts(RF_WRAPU | RF_WRAPV), (Words{72u << 20, 36u << 20}));
}

TEST(GlintTexturedTriangle, WrapFollowsTheSortedVertices) {
    // u all far from each other: which rule fits first depends on the order. Sorted V0, V1, V2 are
    // 1.5, 0.75, 0.0: vertex 1 is far from both and above V2, so that the others move.
    RasterRig rig;
    rig.ctx.RenderFlags = RF_WRAPU;
    auto vertices = HandTriangle();
    vertices[2].tu = 1.5f;
    vertices[1].tu = 0.75f;
    vertices[0].tu = 0.0f;
    const Words words = GroupOf(DrawOnce(Glint_Tri_XY_ST_FLAT, rig, vertices), 0x007E8070, 6);
    ASSERT_EQ(words.size(), 6u);
    EXPECT_EQ(words[0], 160u << 20); // 2.5 * 64
    // d02 1.5 * 64, d12 -0.25 * 64: (-32 - 96) / 32.
    EXPECT_EQ(words[1], 0xFFC00000u);
}

TEST(GlintTexturedTriangle, TheStippleGroupComesAfterFog) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_STIPPLEDALPHA;
    const Words words = DrawOnce(Glint_Tri_XYZ_STQ_FLAT_F, rig, HandTriangle());
    const Words pattern = test::StippleWords(0xEE, 0x55, 0xAA, 0x55);
    EXPECT_EQ(words,
              kHandConstantColor + kHandDepth + kHandSTQ + kHandFog + pattern + HandEdges(0x10041));
}

TEST(GlintTexturedTriangle, TheRenderWordKeepsTheTextureBitAndNothingIsBracketed) {
    for (const GlintMember& member : kTexturedMembers) {
        RasterRig rig;
        rig.chip.Family = FamilyPermedia;
        rig.ctx.RenderCommand = 0x52000;
        const Words words = DrawOnce(member.renderer, rig, HandTriangle());
        EXPECT_EQ(words[words.size() - 5], 0x52040u) << member.name;
        EXPECT_EQ(std::count(words.begin(), words.end(), t::ColorDDAMode), 0) << member.name;
    }
}

TEST(GlintTexturedTriangle, NegativeQComparesByValue) {
    // -1 is the largest of the three: inv is -1.
    RasterRig rig;
    auto vertices = HandTriangle();
    vertices[0].rhw = -4.0f;
    vertices[1].rhw = -1.0f;
    vertices[2].rhw = -2.0f;
    const Words words = TextureWords(DrawOnce(Glint_Tri_XY_STQ_FLAT, rig, vertices));
    ASSERT_EQ(words.size(), 9u);
    EXPECT_EQ(words[0], 64u << 20);   // 0.5 * 2 * 64
    EXPECT_EQ(words[6], 0x80000000u); // 2.0 in 2.30 overflows
}

TEST(GlintTexturedTriangle, RandomBatchesAgreeWithThePlainSetUp) {
    std::mt19937 random(21);
    for (const GlintMember& member : kTexturedMembers) {
        test::ExpectBatchesLikeReference(member, random, 500);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST(GlintTexturedTriangle, RandomFifoBatchesReadSpaceWhereTheCreditSays) {
    std::mt19937 random(22);
    for (const GlintMember& member : kTexturedMembers) {
        test::ExpectFifoLikeReference(member, random, 50);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST(GlintTexturedTriangle, TheLongestTriangleFitsWhatIsReserved) {
    // Blended Gouraud, depth, perspective, fog, a new pattern and two sub-edges: 13 + 7 + 10 + 4 +
    // 9 + 13 words of 128. The guard of test builds stops the program beyond that.
    RasterRig rig;
    rig.ctx.RenderFlags = RF_BLEND | RF_STIPPLEDALPHA;
    EXPECT_EQ(DrawOnce(Glint_Tri_XYZ_STQ_RGBF, rig, HandTriangle()).size(), 56u);
}

} // namespace
