// The flat and Gouraud triangle members of the host set-up.
#include "driver/raster/gl_gour.h"
#include "driver/raster/stipple.h"
#include "tests/driver/raster/gl_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using test::DrawOnce;
using test::GlintMember;
using test::HandEdges;
using test::HandTriangle;
using test::kHandConstantColor;
using test::kHandDepth;
using test::kHandFog;
using test::kOne;
using test::RasterRig;
using test::Vertex;
using test::Words;
using test::operator+;

const GlintMember kPlainMembers[] = {
    {"Glint_Tri_XY_FLAT", Glint_Tri_XY_FLAT, {false, false, false, true}},
    {"Glint_Tri_XY_FLAT_F", Glint_Tri_XY_FLAT_F, {false, false, false, true}},
    {"Glint_Tri_XYZ_FLAT", Glint_Tri_XYZ_FLAT, {true, false, false, false}},
    {"Glint_Tri_XYZ_FLAT_F", Glint_Tri_XYZ_FLAT_F, {true, false, true, false}},
    {"Glint_Tri_XY_RGB", Glint_Tri_XY_RGB, {false, true, false, false}},
    {"Glint_Tri_XY_RGBF", Glint_Tri_XY_RGBF, {false, true, true, false}},
    {"Glint_Tri_XYZ_RGB", Glint_Tri_XYZ_RGB, {true, true, false, false}},
    {"Glint_Tri_XYZ_RGBF", Glint_Tri_XYZ_RGBF, {true, true, true, false}},
};

// Red 48, 80, 16; green 96, 32, 32; blue 144, 240, 48 at the sorted vertices.
const Words kPlainRGB = {0x01FF80F0, 0x180000,   0x18000,  0xFFFF0000, 0x300000,
                         0xFFFF0000, 0xFFFE0000, 0x480000, 0x48000,    0xFFFD0000};
// Alpha 128, 192, 64 steps 6 in x; up it takes blue's word.
const Words kPlainRGBA = Words{0x0FFF80F0} + Words(kPlainRGB.begin() + 1, kPlainRGB.end()) +
                         Words{0x400000, 0x30000, 0xFFFD0000};
// Red 2, green 4, blue 6 in 5:5:5.
const Words kHandBlockColor = {t::FBBlockColor, 0x08860886};

Words DrawHand(Renderer member, bool dma = true) {
    RasterRig rig(dma);
    return DrawOnce(member, rig, HandTriangle());
}

Words PlainWords(const reference::Member& traits) {
    Words words;
    if (traits.block) {
        words = Words{t::ColorDDAMode, 0} + kHandBlockColor;
    } else {
        words = traits.gouraud ? kPlainRGB : kHandConstantColor;
    }
    if (traits.depth) {
        words = words + kHandDepth;
    }
    if (traits.fog) {
        words = words + kHandFog;
    }
    words = words + HandEdges(traits.block ? 0x10048 : 0x10040);
    return traits.block ? words + Words{t::ColorDDAMode, 3} : words;
}

TEST(GlintTriangle, EveryMemberSendsItsGroupsInOrder) {
    for (const GlintMember& member : kPlainMembers) {
        EXPECT_EQ(DrawHand(member.renderer), PlainWords(member.traits)) << member.name;
    }
}

TEST(GlintTriangle, FifoModeSendsTheSameWords) {
    for (const GlintMember& member : kPlainMembers) {
        EXPECT_EQ(DrawHand(member.renderer, false), PlainWords(member.traits)) << member.name;
    }
}

TEST(GlintTriangle, FifoModeReadsSpaceOnlyWhenTheCreditRunsOut) {
    RasterRig rig(false);
    // 10 + 7 + 4 + 9 leave 1, the last 4 need a second look; 100 then lasts for a whole triangle.
    rig.bus.ScriptFIFOSpace({31, 100});
    auto vertices = HandTriangle();
    rig.Draw(Glint_Tri_XYZ_RGBF, vertices, {0, 1, 2, 0, 1, 2});

    const Words once = PlainWords({true, true, true, false});
    std::vector<test::BusEvent> expected = {{'r', reg::InFIFOSpace, 31}};
    for (size_t i = 0; i < once.size(); ++i) {
        if (i == once.size() - 4) {
            expected.push_back({'r', reg::InFIFOSpace, 100});
        }
        expected.push_back({'f', 0, once[i]});
    }
    for (const uint32_t word : once) {
        expected.push_back({'f', 0, word});
    }
    EXPECT_EQ(rig.bus.events, expected);
}

TEST(GlintTriangle, FifoModePollsUntilThereIsRoom) {
    RasterRig rig(false);
    rig.bus.ScriptFIFOSpace({0, 9, 10, 200});
    auto vertices = HandTriangle();
    rig.Draw(Glint_Tri_XY_RGB, vertices, kOne);
    EXPECT_EQ(rig.bus.ReadsOf(reg::InFIFOSpace), 4u);
    EXPECT_EQ(rig.Take(), PlainWords({false, true, false, false}));
}

TEST(GlintTriangle, NoSpaceIsReadUnderDmaOrWithDisconnectOn) {
    RasterRig dma;
    DrawOnce(Glint_Tri_XYZ_RGBF, dma, HandTriangle());
    EXPECT_TRUE(dma.bus.events.empty());

    RasterRig fifo(false);
    fifo.ctx.Stream.DisconnectMode = 1;
    auto vertices = HandTriangle();
    fifo.Draw(Glint_Tri_XYZ_RGBF, vertices, kOne);
    EXPECT_EQ(fifo.bus.ReadsOf(reg::InFIFOSpace), 0u);
    EXPECT_EQ(fifo.Take(), PlainWords({true, true, true, false}));
}

TEST(GlintTriangle, ThePositionIsStoredPastTheLastWord) {
    RasterRig rig;
    auto vertices = HandTriangle();
    rig.Draw(Glint_Tri_XYZ_RGBF, vertices, kOne);
    EXPECT_EQ(rig.ctx.Stream.WordsWritten(), 34u);
}

TEST(GlintTriangle, EachDrawnTriangleReserves512Bytes) {
    RasterRig rig;
    CommandStream& stream = rig.ctx.Stream;
    static std::vector<uint32_t> counts;
    counts.clear();
    stream.StartDMA = [](DriverData*, uint32_t, uint32_t count, uint32_t, uint32_t*, uint32_t) {
        counts.push_back(count);
        return 0;
    };
    // Room for 128 words and the 34 of one triangle, less one.
    stream.SubBufferWords = stream.SubBufferFlushWords = 161;
    auto vertices = HandTriangle();
    rig.Draw(Glint_Tri_XYZ_RGBF, vertices, {0, 1, 2, 0, 1, 2});
    EXPECT_EQ(counts, std::vector<uint32_t>{34});

    counts.clear();
    stream.WritePointer = stream.SubBuffers[0].Linear;
    stream.SubBufferWords = stream.SubBufferFlushWords = 162;
    rig.Draw(Glint_Tri_XYZ_RGBF, vertices, {0, 1, 2, 0, 1, 2});
    EXPECT_TRUE(counts.empty());
}

TEST(GlintTriangle, TheModeWordsAroundABlockFillReserve8BytesEach) {
    RasterRig rig;
    CommandStream& stream = rig.ctx.Stream;
    static std::vector<uint32_t> counts;
    stream.StartDMA = [](DriverData*, uint32_t, uint32_t count, uint32_t, uint32_t*, uint32_t) {
        counts.push_back(count);
        return 0;
    };
    std::vector<D3DTLVERTEX> none = {Vertex(10, 10), Vertex(30, 10), Vertex(20, 10)};
    for (const uint32_t room : {4u, 3u}) {
        counts.clear();
        stream.WritePointer = stream.SubBuffers[0].Linear;
        stream.SubBufferWords = stream.SubBufferFlushWords = room;
        rig.Draw(Glint_Tri_XY_FLAT, none, kOne);
        EXPECT_EQ(counts, room == 4 ? std::vector<uint32_t>{} : std::vector<uint32_t>{2});
    }
}

TEST(GlintTriangle, VerticesOnOneRowGiveNoWordsWhateverTheCullModeAndAreSnapped) {
    for (const GlintMember& member : kPlainMembers) {
        for (const uint32_t cull : {1u, 2u, 3u}) {
            RasterRig rig;
            rig.ctx.CullMode = cull;
            std::vector<D3DTLVERTEX> vertices = {Vertex(10, 10.4f), Vertex(30, 10.2f),
                                                 Vertex(20, 9.6f)};
            rig.Draw(member.renderer, vertices, kOne);
            const Words expected =
                member.traits.block ? Words{t::ColorDDAMode, 0, t::ColorDDAMode, 3} : Words{};
            EXPECT_EQ(rig.Take(), expected) << member.name << cull;
            for (const D3DTLVERTEX& vertex : vertices) {
                EXPECT_EQ(vertex.sy, 10.0f);
            }
        }
    }
}

TEST(GlintTriangle, ADroppedTriangleHasItsVerticesSnapped) {
    RasterRig rig;
    rig.ctx.CullMode = D3DCULL_CW;
    std::vector<D3DTLVERTEX> vertices = {Vertex(0, 0.6f), Vertex(0, 10.5f), Vertex(0, 21.5f)};
    rig.Draw(Glint_Tri_XYZ_RGB, vertices, kOne);
    EXPECT_TRUE(rig.Take().empty());
    EXPECT_EQ(vertices[0].sy, 1.0f);
    EXPECT_EQ(vertices[1].sy, 10.0f);
    EXPECT_EQ(vertices[2].sy, 22.0f);
}

TEST(GlintTriangle, OneRowHighHasCountOneInASingleGroup) {
    RasterRig rig;
    const Words words = DrawOnce(Glint_Tri_XY_RGB, rig,
                                 {Vertex(10, 5), Vertex(20, 5, 0, 0x00010203), Vertex(15, 6)});
    ASSERT_EQ(words.size(), 10u + 9u);
    EXPECT_EQ(words[10], 0x00FF8000u);
    EXPECT_EQ(words[17], 1u);
}

TEST(GlintTriangle, SharingTheBottomRowTakesTheFlatBottomShape) {
    RasterRig rig;
    // Bottom row 20: A at x 8 stays first, B at 24; top C at 16, 16 rows up.
    const Words words =
        DrawOnce(Glint_Tri_XYZ_FLAT, rig, {Vertex(8, 20), Vertex(24, 20), Vertex(16, 4)});
    const Words edges(words.end() - 9, words.end());
    EXPECT_EQ(words.size(), 2u + 7u + 9u);
    // Both edges move by 8 in 16 rows: +1/2 from the left, -1/2 from the right.
    EXPECT_EQ(edges, (Words{0x00FF8000, 0x80000, 0x8000, 0x180000, 0xFFFF8000, 0x130000, 0xFFFF0000,
                            16, 0x10040}));
}

TEST(GlintTriangle, SharingTheTopRowTakesTheFlatTopShape) {
    RasterRig rig;
    // Top row 4: sorted V1 is A at x 8, V2 is B at 24; bottom C at 16.
    const Words words =
        DrawOnce(Glint_Tri_XYZ_FLAT, rig, {Vertex(8, 4), Vertex(24, 4), Vertex(16, 20)});
    const Words edges(words.end() - 9, words.end());
    EXPECT_EQ(words.size(), 2u + 7u + 9u);
    // Swaps: A with C gives C, B, A; B and A stay. The long edge runs to A, 8 to the left.
    EXPECT_EQ(edges, (Words{0x00FF8000, 0x100000, 0xFFFF8000, 0x100000, 0x8000, 0x130000,
                            0xFFFF0000, 16, 0x10040}));
}

TEST(GlintTriangle, CollinearVerticesAreSentWithCullingOffAndSaturate) {
    RasterRig rig;
    // det is +0. The three swaps that bring these rows in order turn it into -0, and -1 over that
    // is positive infinity.
    const std::vector<D3DTLVERTEX> vertices = {
        Vertex(10, 0, 0, 0x00000000), Vertex(20, 10, 0, 0x0000FF01), Vertex(30, 20, 0, 0x00000000)};
    const Words words = DrawOnce(Glint_Tri_XY_RGB, rig, vertices);
    ASSERT_EQ(words.size(), 10u + 13u);
    EXPECT_EQ(words[4], 0u); // GStart
    // 0 * inf - 255 * inf: the invalid product is a negative NaN.
    EXPECT_EQ(words[5], 0xFF800000u);

    // In falling order there is no swap, and the infinity is negative.
    RasterRig falling;
    const Words other =
        DrawOnce(Glint_Tri_XY_RGB, falling,
                 {Vertex(30, 20, 0, 0x00008000), Vertex(20, 10, 0, 0x00000001), Vertex(10, 0)});
    ASSERT_EQ(other.size(), 10u + 13u);
    // Green: 128 * -inf - 0 * -inf, again a NaN.
    EXPECT_EQ(other[5], 0xFF800000u);
}

TEST(GlintTriangle, TheSignOfAZeroAreaDecidesTheSignOfTheSaturatedSlope) {
    // On one line, red 48 at the bottom, 0 in the middle, 16 at the top: d02 is 32 and d12 -16, so
    // that both terms of the slope have the sign of inv. Blue keeps the triangle from being grey.
    const D3DTLVERTEX top = Vertex(10, 0, 0, 0x00100000);
    const D3DTLVERTEX middle = Vertex(20, 10, 0, 0x00000001);
    const D3DTLVERTEX bottom = Vertex(30, 20, 0, 0x00300000);
    const auto redStep = [](const std::vector<D3DTLVERTEX>& vertices) {
        RasterRig rig;
        return DrawOnce(Glint_Tri_XY_RGB, rig, vertices)[2]; // dRdx
    };
    // 200 - 200 is +0 in every record order. An even number of swaps leaves it: -1 / +0.
    EXPECT_EQ(redStep({bottom, middle, top}), 0xFF800000u); // none
    EXPECT_EQ(redStep({top, bottom, middle}), 0xFF800000u); // two
    // An odd number makes it -0.
    EXPECT_EQ(redStep({top, middle, bottom}), 0x7FFFFFu); // three
    EXPECT_EQ(redStep({middle, bottom, top}), 0x7FFFFFu); // one

    // With a zero product of its own sign det is -0, and one swap makes that +0.
    const D3DTLVERTEX left = Vertex(10, 20, 0, 0x00300000);
    const D3DTLVERTEX leftToo = Vertex(10, 20, 0, 0x00000001);
    EXPECT_EQ(redStep({left, top, leftToo}), 0xFF800000u);
}

TEST(GlintTriangle, AZeroAreaIsDroppedByBothCullingDirections) {
    for (const uint32_t cull : {2u, 3u}) {
        RasterRig rig;
        rig.ctx.CullMode = cull;
        EXPECT_TRUE(
            DrawOnce(Glint_Tri_XYZ_RGBF, rig, {Vertex(10, 0), Vertex(20, 10), Vertex(30, 20)})
                .empty());
    }
}

TEST(GlintTriangle, CullingKeepsOneSignOfTheArea) {
    // det = +256 in record order.
    const std::vector<uint32_t> flipped = {1, 0, 2};
    for (const auto& [cull, keepsPositive, keepsNegative] :
         {std::tuple{1u, true, true}, std::tuple{2u, false, true}, std::tuple{3u, true, false}}) {
        RasterRig rig;
        rig.ctx.CullMode = cull;
        auto vertices = HandTriangle();
        rig.Draw(Glint_Tri_XYZ_RGBF, vertices, kOne);
        EXPECT_EQ(!rig.Take().empty(), keepsPositive) << cull;
        rig.Draw(Glint_Tri_XYZ_RGBF, vertices, flipped);
        EXPECT_EQ(!rig.Take().empty(), keepsNegative) << cull;
    }
}

TEST(GlintTriangle, CullingUsesTheSnappedRows) {
    // Unsnapped the area has the other sign: B falls from 10.4 to row 10, C from 9.6 rises to 10.
    std::vector<D3DTLVERTEX> vertices = {Vertex(0, 0), Vertex(8, 10.4f), Vertex(8.5f, 9.6f)};
    RasterRig rig;
    rig.ctx.CullMode = D3DCULL_CCW;
    rig.Draw(Glint_Tri_XY_RGB, vertices, kOne);
    // (0 - 8.5) * 0 - (0 - 10) * (8 - 8.5) = -5, dropped.
    EXPECT_TRUE(rig.Take().empty());
    rig.ctx.CullMode = D3DCULL_CW;
    rig.Draw(Glint_Tri_XY_RGB, vertices, kOne);
    EXPECT_FALSE(rig.Take().empty());
}

TEST(GlintTriangle, RecordOrderDoesNotChangeTheWordsOfATriangleWithThreeRows) {
    Words first;
    std::vector<uint32_t> order = {0, 1, 2};
    do {
        RasterRig rig;
        auto vertices = HandTriangle();
        rig.Draw(Glint_Tri_XYZ_RGBF, vertices, order);
        EXPECT_EQ(rig.Take(), PlainWords({true, true, true, false}));
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(GlintTriangle, TheSwapsAreLiteralForEqualRows) {
    // Bottom pair: the first in the record stays first. Top pair with the bottom vertex last: the
    // one swap of first and last leaves the pair reversed.
    const auto startXSub = [](std::vector<D3DTLVERTEX> vertices) {
        RasterRig rig;
        const Words words = DrawOnce(Glint_Tri_XYZ_FLAT, rig, std::move(vertices));
        return Words{words[words.size() - 8], words[words.size() - 7]}; // StartXDom, dXDom
    };
    EXPECT_EQ(startXSub({Vertex(1, 8), Vertex(5, 8), Vertex(5, 0)}), (Words{0x10000, 0x8000}));
    EXPECT_EQ(startXSub({Vertex(5, 8), Vertex(1, 8), Vertex(5, 0)}), (Words{0x50000, 0}));
    EXPECT_EQ(startXSub({Vertex(5, 0), Vertex(1, 0), Vertex(1, 8)}), (Words{0x10000, 0x8000}));
    EXPECT_EQ(startXSub({Vertex(1, 0), Vertex(5, 0), Vertex(1, 8)}), (Words{0x10000, 0}));
}

TEST(GlintTriangle, EqualBytesAtEachVertexSendNineColourWordsAndNoAlphaDespiteBlending) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_BLEND;
    auto vertices = HandTriangle();
    vertices[0].color = 0x40303030; // V2
    vertices[1].color = 0xC0F0F0F0; // V1
    vertices[2].color = 0x80909090; // V0: as blue of the hand triangle
    const Words words = DrawOnce(Glint_Tri_XY_RGB, rig, vertices);
    const Words grey = {0x01FF80F0, 0x480000,   0x48000,  0xFFFD0000, 0x480000,
                        0x48000,    0xFFFD0000, 0x480000, 0x48000,    0xFFFD0000};
    EXPECT_EQ(words, grey + HandEdges(0x10040));
}

TEST(GlintTriangle, OneColouredVertexIsEnoughForAllChannels) {
    for (int coloured = 0; coloured < 3; ++coloured) {
        for (const D3DCOLOR colour : {0x00000001u, 0x00000100u, 0x00010000u}) {
            RasterRig rig;
            rig.ctx.RenderFlags = RF_BLEND;
            std::vector<D3DTLVERTEX> vertices = {Vertex(0, 0), Vertex(10, 10), Vertex(0, 20)};
            vertices[coloured].color = colour;
            EXPECT_EQ(DrawOnce(Glint_Tri_XY_RGB, rig, vertices)[0], 0x0FFF80F0u);
        }
    }
}

TEST(GlintTriangle, BlendingSendsAlphaWithBluesStepUp) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_BLEND;
    EXPECT_EQ(DrawOnce(Glint_Tri_XY_RGB, rig, HandTriangle()), kPlainRGBA + HandEdges(0x10040));
}

TEST(GlintTriangle, BlendForcesZeroAlphaSendsZeroAlphaStillWithBluesStepUp) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_BLEND;
    rig.ctx.BlendForcesZeroAlpha = 1;
    const Words words = DrawOnce(Glint_Tri_XY_RGB, rig, HandTriangle());
    EXPECT_EQ(Words(words.begin() + 10, words.begin() + 13), (Words{0, 0, 0xFFFD0000}));
}

TEST(GlintTriangle, FlatColourIsTheFirstRecordVertexsAndTheStippleIndexTheBottomOnes) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_STIPPLEDALPHA;
    // A is the top vertex, alpha 0x40; C the bottom one, alpha 0x80.
    const Words words = DrawOnce(Glint_Tri_XYZ_FLAT, rig, HandTriangle());
    const Words pattern = test::StippleWords(0xEE, 0x55, 0xAA, 0x55);
    EXPECT_EQ(words, kHandConstantColor + kHandDepth + pattern + HandEdges(0x10041));
    EXPECT_EQ(rig.ctx.StippleIndex, 8u);
}

TEST(GlintTriangle, TheSameStippleIndexIsSentOnceAndBothTrianglesHaveTheBit) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_STIPPLEDALPHA;
    auto vertices = HandTriangle();
    rig.Draw(Glint_Tri_XYZ_FLAT, vertices, {0, 1, 2, 0, 1, 2});
    const Words pattern = test::StippleWords(0xEE, 0x55, 0xAA, 0x55);
    const Words flat = kHandConstantColor + kHandDepth;
    EXPECT_EQ(rig.Take(), flat + pattern + HandEdges(0x10041) + flat + HandEdges(0x10041));
    // The next batch finds the pattern loaded.
    rig.Draw(Glint_Tri_XYZ_FLAT, vertices, kOne);
    EXPECT_EQ(rig.Take(), flat + HandEdges(0x10041));
    EXPECT_EQ(rig.ctx.RenderCommand, 0x10000u);
}

TEST(GlintTriangle, TheStippleIndexIsTheRawColoursAlpha) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_STIPPLEDALPHA | RF_SPECULAR;
    auto vertices = HandTriangle();
    vertices[2].color = 0x0FFF0000;
    vertices[2].specular = 0x00FF0000; // the add would carry into alpha's low bit only
    DrawOnce(Glint_Tri_XYZ_FLAT, rig, vertices);
    EXPECT_EQ(rig.ctx.StippleIndex, 0u);
}

TEST(GlintTriangle, EveryPatternIsTheScreenDoorOfItsIndex) {
    // The number of set pixels grows with the index; rows 4 to 7 repeat rows 0 to 3.
    int before = -1;
    for (const auto& pattern : FlatStipplePatterns) {
        int set = 0;
        for (int row = 0; row < 8; ++row) {
            EXPECT_EQ(pattern[row], pattern[row % 4]);
            EXPECT_LE(pattern[row], 0xFFu);
            set += std::popcount(pattern[row]);
        }
        EXPECT_EQ(set, before < 0 ? 0 : before + 4 + (before == 0 ? 4 : 0));
        before = set;
    }
}

TEST(GlintTriangle, SpecularIsAddedToFlatAndGouraudColoursButNotToFog) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_SPECULAR;
    auto vertices = HandTriangle();
    vertices[0].specular = 0x00020406; // A
    const Words flat = DrawOnce(Glint_Tri_XYZ_FLAT_F, rig, vertices);
    EXPECT_EQ(flat[1], 0x40362412u);
    EXPECT_EQ(Words(flat.begin() + 9, flat.begin() + 13), kHandFog);
    vertices = HandTriangle();
    vertices[2].specular = 0x20020000; // red of V0 from 48 to 50
    EXPECT_EQ(DrawOnce(Glint_Tri_XY_RGBF, rig, vertices)[1], 50u << 15);
}

TEST(GlintTriangle, SpecularDecidesGreyness) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_SPECULAR | RF_BLEND;
    auto vertices = HandTriangle();
    for (D3DTLVERTEX& vertex : vertices) {
        vertex.color = 0x80101030;
        vertex.specular = 0x00202000;
    }
    EXPECT_EQ(DrawOnce(Glint_Tri_XY_RGB, rig, vertices)[0], 0x01FF80F0u);
    rig.ctx.RenderFlags = RF_BLEND;
    EXPECT_EQ(DrawOnce(Glint_Tri_XY_RGB, rig, vertices)[0], 0x0FFF80F0u);
}

TEST(GlintTriangle, BlockFillColourDependsOnThePixelSize) {
    RasterRig rig;
    rig.ctx.BytesPerPixel = 4;
    const Words words = DrawOnce(Glint_Tri_XY_FLAT, rig, HandTriangle());
    EXPECT_EQ(words[3], 0x102030u);
}

TEST(GlintTriangle, BlockFillClearsBit18OnTheFirstFamilyOfPermediasOnly) {
    for (const Renderer member : {Glint_Tri_XY_FLAT, Glint_Tri_XY_FLAT_F}) {
        RasterRig rig;
        rig.ctx.RenderCommand = 0x50000;
        EXPECT_EQ(DrawOnce(member, rig, HandTriangle())[12], 0x50048u);
        rig.chip.Family = FamilyPermedia;
        EXPECT_EQ(DrawOnce(member, rig, HandTriangle())[12], 0x10048u);
    }
    RasterRig rig;
    rig.chip.Family = FamilyPermedia;
    rig.ctx.RenderCommand = 0x50000;
    EXPECT_EQ(DrawOnce(Glint_Tri_XY_RGB, rig, HandTriangle())[18], 0x50040u);
}

TEST(GlintTriangle, OnlyTheBlockFillMembersBracketTheBatch) {
    for (const GlintMember& member : kPlainMembers) {
        RasterRig rig;
        auto vertices = HandTriangle();
        rig.Draw(member.renderer, vertices, {0, 1, 2, 0, 1, 2, 0, 1, 2});
        const Words words = rig.Take();
        if (member.traits.block) {
            EXPECT_EQ(Words(words.begin(), words.begin() + 2), (Words{t::ColorDDAMode, 0}));
            EXPECT_EQ(Words(words.end() - 2, words.end()), (Words{t::ColorDDAMode, 3}));
            EXPECT_EQ(words.size(), 4u + 3 * 15u);
        } else {
            EXPECT_EQ(std::count(words.begin(), words.end(), t::ColorDDAMode), 0) << member.name;
        }
    }
}

TEST(GlintTriangle, RecordsAdvanceByTheInstructionsSize) {
    for (const uint32_t bytes : {8u, 12u, 20u, 64u}) {
        RasterRig rig;
        auto vertices = HandTriangle();
        vertices.push_back(Vertex(8, 20));
        vertices.push_back(Vertex(24, 20));
        vertices.push_back(Vertex(16, 4));
        rig.Draw(Glint_Tri_XY_RGB, vertices, {3, 4, 5, 0, 1, 2}, bytes);
        const Words words = rig.Take();
        ASSERT_EQ(words.size(), 19u + 23u) << bytes;
        EXPECT_EQ(Words(words.begin() + 19, words.end()), PlainWords({false, true, false, false}));
    }
}

TEST(GlintTriangle, ARecordOfZeroBytesIsDrawnAgainEachRound) {
    RasterRig rig;
    auto vertices = HandTriangle();
    D3DTRIANGLE triangle{};
    triangle.v1 = 0;
    triangle.v2 = 1;
    triangle.v3 = 2;
    D3DINSTRUCTION ins{D3DOP_TRIANGLE, 0, 3};
    Glint_Tri_XY_RGB(&rig.ctx, &ins, vertices.data(), &triangle);
    EXPECT_EQ(rig.Take().size(), 3 * 23u);
}

TEST(GlintTriangle, TheTallestLegalTriangleUsesTheLastTableEntry) {
    RasterRig rig;
    const Words words =
        DrawOnce(Glint_Tri_XY_RGB, rig, {Vertex(2048, 2048), Vertex(0, 0), Vertex(10, 0)});
    // V0 2048,2048; V1 0,0; V2 10,0. 2038 * -0.0004882813 = -0.99511729, cut at 2^-16.
    EXPECT_EQ(words[12], static_cast<uint32_t>(-static_cast<int32_t>(0.9951172894 * 65536)));
    EXPECT_EQ(words[17], 2048u);
}

TEST(GlintTriangle, DummiesDoNothing) {
    RasterRig rig;
    for (const Renderer dummy :
         {Dummy_Triangle_Renderer, Dummy_Line_Renderer, Dummy_Point_Renderer}) {
        std::vector<D3DTLVERTEX> vertices = {Vertex(0, 0.5f), Vertex(10, 10), Vertex(0, 20)};
        rig.Draw(dummy, vertices, kOne);
        EXPECT_EQ(vertices[0].sy, 0.5f);
    }
    EXPECT_TRUE(rig.Take().empty());
    EXPECT_TRUE(rig.bus.events.empty());
}

TEST(GlintTriangle, RandomBatchesAgreeWithThePlainSetUp) {
    std::mt19937 random(7);
    for (const GlintMember& member : kPlainMembers) {
        test::ExpectBatchesLikeReference(member, random, 1000);
        ASSERT_FALSE(HasFatalFailure());
    }
}

TEST(GlintTriangle, RandomFifoBatchesReadSpaceWhereTheCreditSays) {
    std::mt19937 random(8);
    for (const GlintMember& member : kPlainMembers) {
        test::ExpectFifoLikeReference(member, random, 100);
        ASSERT_FALSE(HasFatalFailure());
    }
}

} // namespace
