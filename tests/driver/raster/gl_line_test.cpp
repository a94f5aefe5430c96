// Lines, outlines and points of the host set-up.
#include "driver/raster/gl_line.h"
#include "driver/raster/gl_point.h"
#include "driver/raster/gl_wire.h"
#include "driver/raster/tri_rgb.h"
#include "tests/driver/raster/gl_line_reference.h"
#include "tests/driver/raster/random_batch.h"
#include "tests/driver/raster/raster_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

using test::Indexed;
using test::Pairs;
using test::RasterRig;
using test::Vertex;
using test::Words;
using test::operator+;

constexpr uint32_t kAllEdges = 0x700;

Words DrawLines(RasterRig& rig, std::vector<D3DTLVERTEX>& vertices, std::vector<uint16_t> indices) {
    D3DINSTRUCTION ins{D3DOP_LINE, sizeof(D3DLINE), static_cast<WORD>(indices.size() / 2)};
    Glint_Line_XYZ_STQ_RGBF(&rig.ctx, &ins, vertices.data(), indices.data());
    return rig.Take();
}

// The walk itself: where it starts, its steps, its length, and the command.
Words Walk(uint32_t startX, uint32_t stepX, uint32_t startY, uint32_t stepY, uint32_t count,
           uint32_t render = 0x10000) {
    return Indexed({{t::StartXDom, startX},
                    {t::dXDom, stepX},
                    {t::StartY, startY},
                    {t::dY, stepY},
                    {t::Count, count},
                    {t::Render, render}});
}

// One depth all over.
Words FlatDepth(uint32_t z) {
    return Indexed({{t::ZStartU, z},
                    {t::ZStartL, 0},
                    {t::dZdxU, 0},
                    {t::dZdxL, 0},
                    {t::dZdyDomU, 0},
                    {t::dZdyDomL, 0}});
}

// The walk of one line between two places, with the brackets and the flat colour taken off.
Words WalkOf(RasterRig& rig, D3DTLVERTEX a, D3DTLVERTEX b) {
    std::vector<D3DTLVERTEX> vertices = {a, b};
    const Words words = DrawLines(rig, vertices, {0, 1});
    EXPECT_GE(words.size(), 4u);
    EXPECT_EQ(Words(words.begin(), words.begin() + 2), (Words{t::RasterizerMode, 0}));
    EXPECT_EQ(Words(words.end() - 2, words.end()), (Words{t::RasterizerMode, 0x20}));
    const Words inner(words.begin() + 2, words.end() - 2);
    if (inner.empty()) {
        return {};
    }
    EXPECT_EQ(inner[0], t::ConstantColor);
    return {inner.begin() + 2, inner.end()};
}

TEST(GlintLine, AHorizontalOneWalksFromItsTrueStartByTheRoundedCount) {
    RasterRig rig;
    rig.ctx.RenderCommand = 0x10040;
    // 10.25 rounds to 10, 20.75 to 21.
    EXPECT_EQ(WalkOf(rig, Vertex(10.25f, 5.5f), Vertex(20.75f, 5.5f)),
              Walk(0xA4000, 0x10000, 0x58000, 0, 11));
}

TEST(GlintLine, FromTenPointTwoToTwentyPointSevenTakesElevenSteps) {
    RasterRig rig;
    const Words walk = WalkOf(rig, Vertex(10.2f, 5.5f), Vertex(20.7f, 5.5f));
    ASSERT_EQ(walk.size(), 7u);
    EXPECT_EQ(walk[1], 0xA3333u); // 10.2
    EXPECT_EQ(walk[2], 0x10000u);
    EXPECT_EQ(walk[4], 0u);
    EXPECT_EQ(walk[5], 11u);
}

TEST(GlintLine, ADiagonalIsAlongX) {
    RasterRig rig;
    EXPECT_EQ(WalkOf(rig, Vertex(0, 0), Vertex(8, -8)), Walk(0, 0x10000, 0, 0xFFFF0000, 8));
}

TEST(GlintLine, ASteepOneIsAlongY) {
    RasterRig rig;
    EXPECT_EQ(WalkOf(rig, Vertex(4, 2), Vertex(6, 10)), Walk(0x40000, 0x4000, 0x20000, 0x10000, 8));
}

TEST(GlintLine, FromRightToLeftBothStepsTurnRound) {
    RasterRig rig;
    // Slope 1/4: to the left that is a quarter up.
    EXPECT_EQ(WalkOf(rig, Vertex(16, 8), Vertex(8, 6)),
              Walk(0x100000, 0xFFFF0000, 0x80000, 0xFFFFC000, 8));
}

TEST(GlintLine, OfNoRoundedLengthIsDropped) {
    RasterRig rig;
    EXPECT_EQ(WalkOf(rig, Vertex(10.1f, 5), Vertex(10.4f, 5)), Words{});
    EXPECT_EQ(WalkOf(rig, Vertex(10, 5), Vertex(10, 5)), Words{});
    // Long enough along y, but x is the major axis.
    EXPECT_EQ(WalkOf(rig, Vertex(9.75f, 5.25f), Vertex(10.25f, 5.5f)), Words{});
}

TEST(GlintLine, WithLastPixelOneOfNoLengthStartsAPixelHigherAndRunsDown) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_LASTPIXEL;
    std::vector<D3DTLVERTEX> vertices = {Vertex(10.25f, 5), Vertex(10.25f, 5)};
    const Words words = DrawLines(rig, vertices, {0, 1});
    EXPECT_EQ(words, (Pairs({{t::RasterizerMode, 0}, {t::ConstantColor, 0}}) +
                      Walk(0xA4000, 0, 0x40000, 0x10000, 1) +
                      Words{t::RasterizerMode, 0x20})); // and no further pixel
    EXPECT_EQ(vertices[0].sy, 5.0f);
}

TEST(GlintLine, EndsInOneColumnAreDroppedUnlessLastPixelLoweredTheStartWhichTurnsTheLineAlongY) {
    RasterRig rig;
    const D3DTLVERTEX a = Vertex(9.75f, 5.25f), b = Vertex(10.25f, 5.25f);
    EXPECT_EQ(WalkOf(rig, a, b), Words{});
    rig.ctx.RenderFlags = RF_LASTPIXEL;
    // From (9.75, 4.25): half a column for one row.
    EXPECT_EQ(WalkOf(rig, a, b), Walk(0x9C000, 0x8000, 0x44000, 0x10000, 1));
    // Of one column but of two rows: 5.5 rounds to 6. Nothing is lowered, and x stays the longer
    // axis.
    EXPECT_EQ(WalkOf(rig, a, Vertex(10.25f, 5.5f)), Words{});
}

TEST(GlintLine, ADroppedOneHasAskedForItsRoomAllTheSame) {
    RasterRig rig;
    CommandStream& stream = rig.ctx.Stream;
    stream.SubBufferFlushWords = 600;
    stream.SubBufferWords = 600;
    // The bracket's pair leaves one word less than 512 bytes.
    stream.WritePointer = stream.Current().Linear + 600 - 2 - 127;
    std::vector<D3DTLVERTEX> vertices = {Vertex(10, 5), Vertex(10, 5)};
    EXPECT_EQ(DrawLines(rig, vertices, {0, 1}), (Words{t::RasterizerMode, 0x20}));
    stream.WritePointer = stream.Current().Linear + 600 - 2 - 128;
    EXPECT_EQ(DrawLines(rig, vertices, {0, 1}).size(), 600 - 128 + 2u);
}

TEST(GlintLine, WithLastPixelALongerOneIsContinuedByOne) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_LASTPIXEL;
    EXPECT_EQ(WalkOf(rig, Vertex(0, 0), Vertex(4, 0)),
              (Walk(0, 0x10000, 0, 0, 4) + Words{t::ContinueNewLine, 1}));
}

TEST(GlintLine, EveryQuantityStepsByItsDifferenceOverTheLength) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_GOURAUD | RF_ZENABLE | RF_FOG | RF_TEXTURE | RF_PERSPECTIVE;
    rig.ctx.TextureWidth = 64.0f;
    rig.ctx.TextureHeight = 32.0f;
    D3DTLVERTEX a = Vertex(8, 4, 0.0f, 0xFF204060, 0x40000000);
    D3DTLVERTEX b = Vertex(16, 4, 1.0f, 0xFF601020, 0xC0000000);
    a.rhw = 0.5f, a.tu = 0.5f, a.tv = 1.0f;
    b.rhw = 1.0f, b.tu = 1.0f, b.tv = 0.0f;
    std::vector<D3DTLVERTEX> vertices = {a, b};
    // Over 8 steps: S 16 to 64, T 16 to 0, Q 1/2 to 1; R 32 to 96, G 64 to 16, B 96 to 32;
    // z 0 to 65535: 8191.875; fog 64 to 192.
    const Words inner = Indexed({{t::SStart, 0x01000000},
                                 {t::dSdx, 0},
                                 {t::dSdyDom, 0x00600000},
                                 {t::TStart, 0x01000000},
                                 {t::dTdx, 0},
                                 {t::dTdyDom, 0xFFE00000},
                                 {t::QStart, 0x20000000},
                                 {t::dQdx, 0},
                                 {t::dQdyDom, 0x04000000}});
    const Words colour = Indexed({{t::RStart, 0x100000},
                                  {t::dRdyDom, 0x40000},
                                  {t::GStart, 0x200000},
                                  {t::dGdyDom, 0xFFFD0000},
                                  {t::BStart, 0x300000},
                                  {t::dBdyDom, 0xFFFC0000}});
    const Words depth = Indexed(
        {{t::ZStartU, 0}, {t::ZStartL, 0}, {t::dZdyDomU, 0x1FFF}, {t::dZdyDomL, 0xE0000000}});
    const Words fog = Indexed({{t::FStart, 0x100000}, {t::dFdx, 0}, {t::dFdyDom, 0x40000}});
    const Words walk = Walk(0x80000, 0x10000, 0x40000, 0, 8);
    EXPECT_EQ(DrawLines(rig, vertices, {0, 1}),
              (Words{t::RasterizerMode, 0} + inner + colour + depth + fog + walk +
               Words{t::RasterizerMode, 0x20}));
}

TEST(GlintLine, SpecularOfATexturedOneGoesThroughFogAndRealFogMayFollow) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_TEXTURE | RF_SPECULAR | RF_FOG;
    rig.ctx.TextureWidth = rig.ctx.TextureHeight = 1.0f;
    std::vector<D3DTLVERTEX> vertices = {Vertex(0, 0, 0, 0x00102030, 0x80000000),
                                         Vertex(8, 0, 0, 0, 0x00000000)};
    // Black specular leaves all of the texture: 1.0. Flat colour goes as it is.
    EXPECT_EQ(DrawLines(rig, vertices, {0, 1}),
              (Words{t::RasterizerMode, 0} +
               Indexed({{t::SStart, 0},
                        {t::dSdx, 0},
                        {t::dSdyDom, 0},
                        {t::TStart, 0},
                        {t::dTdx, 0},
                        {t::dTdyDom, 0}}) +
               Indexed({{t::FStart, 0x400000}, {t::dFdx, 0}, {t::dFdyDom, 0}}) +
               Words{t::ConstantColor, 0x302010} +
               Indexed({{t::FStart, 0x200000}, {t::dFdx, 0}, {t::dFdyDom, 0xFFFC0000}}) +
               Walk(0, 0x10000, 0, 0, 8) + Words{t::RasterizerMode, 0x20}));
}

TEST(GlintLine, AnInstructionWithoutLinesSendsNothing) {
    RasterRig rig;
    std::vector<D3DTLVERTEX> vertices(2);
    EXPECT_EQ(DrawLines(rig, vertices, {}), Words{});
}

// The same random line lists, outlines and points by the driver and by the reference.
struct RandomRun {
    RasterRig rig;
    test::Batch batch;
    std::vector<uint16_t> flags; // wFlags of each triangle
    uint32_t spaceReads = 0;     // in FIFO mode: the entries waited for

    RandomRun(std::mt19937& random, bool dma) : rig(dma), batch(test::RandomBatch(random)) {
        test::RandomState(random, rig.ctx, rig.chip);
        rig.ctx.RenderFlags |= (random() % 2) * RF_TEXTURE | (random() % 2) * RF_ZENABLE |
                               (random() % 2) * RF_LASTPIXEL;
        for (size_t i = 0; i < batch.indices.size() / 3; ++i) {
            flags.push_back(static_cast<uint16_t>(random() & 0x7FF));
        }
        // Singles whose rounding the unit does in 32 bits.
        for (D3DTLVERTEX& v : batch.vertices) {
            v.rhw = std::fmax(v.rhw, 0.25f);
        }
        // One entry more at each read between two words: a wait for n takes n reads and leaves
        // none.
        rig.bus.readFIFOSpace = [this] {
            const auto& events = rig.bus.events;
            granted_ = !events.empty() && events.back().kind == 'r' ? granted_ + 1 : 1;
            ++spaceReads;
            return granted_;
        };
    }
    Words Draw(Renderer member) {
        std::vector<D3DTRIANGLE> records;
        for (size_t i = 0; i < flags.size(); ++i) {
            const auto index = [&](size_t k) {
                return static_cast<WORD>(batch.indices[i * 3 + k]);
            };
            records.push_back({index(0), index(1), index(2), flags[i]});
        }
        D3DINSTRUCTION ins{D3DOP_TRIANGLE, sizeof(D3DTRIANGLE), static_cast<WORD>(records.size())};
        member(&rig.ctx, &ins, batch.vertices.data(), records.data());
        return rig.Take();
    }
    template <class Each>
    void ForEach(const Each& each) const {
        for (size_t i = 0; i < flags.size(); ++i) {
            const D3DTLVERTEX* const corners[3] = {&batch.vertices[batch.indices[i * 3]],
                                                   &batch.vertices[batch.indices[i * 3 + 1]],
                                                   &batch.vertices[batch.indices[i * 3 + 2]]};
            each(corners, flags[i]);
        }
    }

  private:
    uint32_t granted_ = 0;
};

class GlintLineCarriers : public testing::TestWithParam<bool> {};

bool SameVertices(const std::vector<D3DTLVERTEX>& left, const std::vector<D3DTLVERTEX>& right) {
    return left.size() == right.size() &&
           std::memcmp(left.data(), right.data(), left.size() * sizeof(D3DTLVERTEX)) == 0;
}

TEST_P(GlintLineCarriers, NoMemberWritesToTheVertexArray) {
    std::mt19937 random(76);
    for (int round = 0; round < 100; ++round) {
        RandomRun run(random, GetParam());
        const std::vector<D3DTLVERTEX> before = run.batch.vertices;
        std::vector<uint16_t> indices;
        for (const uint32_t index : run.batch.indices) {
            indices.push_back(static_cast<uint16_t>(index));
        }
        indices.resize(indices.size() / 2 * 2);
        DrawLines(run.rig, run.batch.vertices, indices);
        for (const Renderer member :
             {Glint_TriWire_XYZ_STQ_RGBF, Glint_TriPoint_XYZ_STQ_RGBF, RenderRGBPoint}) {
            run.Draw(member);
        }
        ASSERT_TRUE(SameVertices(run.batch.vertices, before)) << round;
    }
}

TEST_P(GlintLineCarriers, RandomLinesAreAsTheReferenceSays) {
    std::mt19937 random(77);
    for (int round = 0; round < 400; ++round) {
        RandomRun run(random, GetParam());
        reference::LineReference want(run.rig.ctx);
        want.Group({t::RasterizerMode, 0});
        std::vector<uint16_t> indices;
        for (size_t i = 0; i + 1 < run.batch.indices.size(); i += 2) {
            const uint32_t a = run.batch.indices[i], b = run.batch.indices[i + 1];
            indices.push_back(static_cast<uint16_t>(a));
            indices.push_back(static_cast<uint16_t>(b));
            want.Line(run.batch.vertices[a], run.batch.vertices[b],
                      run.rig.ctx.RenderCommand & ~0x40u, true);
        }
        want.Group({t::RasterizerMode, 0x20});
        ASSERT_EQ(DrawLines(run.rig, run.batch.vertices, indices), want.Words()) << round;
        ASSERT_EQ(run.spaceReads, GetParam() ? 0 : want.Waits()) << round;
    }
}

TEST_P(GlintLineCarriers, RandomOutlinesAreAsTheReferenceSays) {
    std::mt19937 random(78);
    for (int round = 0; round < 400; ++round) {
        RandomRun run(random, GetParam());
        reference::LineReference want(run.rig.ctx);
        want.Group({t::RasterizerMode, 0});
        run.ForEach([&](const auto& corners, uint32_t wFlags) { want.Wire(corners, wFlags); });
        want.Group({t::RasterizerMode, 0x20});
        ASSERT_EQ(run.Draw(Glint_TriWire_XYZ_STQ_RGBF), want.Words()) << round;
        ASSERT_EQ(run.spaceReads, GetParam() ? 0 : want.Waits()) << round;
    }
}

TEST_P(GlintLineCarriers, RandomPointsAreAsTheReferenceSays) {
    std::mt19937 random(79);
    for (int round = 0; round < 400; ++round) {
        const bool textured = round % 2 == 0;
        RandomRun run(random, GetParam());
        reference::LineReference want(run.rig.ctx);
        want.Group({t::ColorDDAMode, 0});
        run.ForEach(
            [&](const auto& corners, uint32_t wFlags) { want.Points(corners, wFlags, textured); });
        want.Group({t::ColorDDAMode, run.rig.ctx.Copies.ColorDDAMode});
        ASSERT_EQ(run.Draw(textured ? Glint_TriPoint_XYZ_STQ_RGBF : RenderRGBPoint), want.Words())
            << round;
        ASSERT_EQ(run.spaceReads, GetParam() ? 0 : want.Waits()) << round;
    }
}

INSTANTIATE_TEST_SUITE_P(Carriers, GlintLineCarriers, testing::Bool(),
                         [](const auto& info) { return info.param ? "DMA" : "FIFO"; });

std::vector<D3DTLVERTEX> WireTriangle() {
    return {Vertex(0, 0, 0, 0x00000001), Vertex(8, 0, 0, 0x00000002), Vertex(0, 4, 0, 0x00000003)};
}

Words DrawTriangle(RasterRig& rig, Renderer member, std::vector<D3DTLVERTEX> vertices,
                   uint32_t wFlags) {
    D3DTRIANGLE record{0, 1, 2, static_cast<WORD>(wFlags)};
    D3DINSTRUCTION ins{D3DOP_TRIANGLE, sizeof record, 1};
    member(&rig.ctx, &ins, vertices.data(), &record);
    return rig.Take();
}

TEST(GlintWire, DrawsTheEnabledEdgesEachOfItsFirstEndsColour) {
    RasterRig rig;
    const Words ab = Words{t::ConstantColor, 0x010000} + Walk(0, 0x10000, 0, 0, 8);
    const Words bc = Words{t::ConstantColor, 0x020000} + Walk(0x80000, 0xFFFF0000, 0, 0x8000, 8);
    const Words ca = Words{t::ConstantColor, 0x030000} + Walk(0, 0, 0x40000, 0xFFFF0000, 4);
    const Words begin = {t::RasterizerMode, 0}, end = {t::RasterizerMode, 0x20};
    EXPECT_EQ(DrawTriangle(rig, Glint_TriWire_XYZ_STQ_RGBF, WireTriangle(), 0x700),
              begin + ab + bc + ca + end);
    EXPECT_EQ(DrawTriangle(rig, Glint_TriWire_XYZ_STQ_RGBF, WireTriangle(), 0x200),
              begin + bc + end);
}

TEST(GlintWire, WithoutEnabledEdgesOnlyTheBracketGoes) {
    RasterRig rig;
    EXPECT_EQ(DrawTriangle(rig, Glint_TriWire_XYZ_STQ_RGBF, WireTriangle(), 0),
              (Words{t::RasterizerMode, 0, t::RasterizerMode, 0x20}));
}

TEST(GlintWire, AnEdgeOfNoLengthDropsThatEdgeOnly) {
    RasterRig rig;
    std::vector<D3DTLVERTEX> vertices = WireTriangle();
    vertices[1] = vertices[0];
    const Words words = DrawTriangle(rig, Glint_TriWire_XYZ_STQ_RGBF, vertices, kAllEdges);
    EXPECT_EQ(words.size(), 4u + 2 * 9);
}

TEST(GlintWire, SendsNoFurtherPixel) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_LASTPIXEL;
    const Words words = DrawTriangle(rig, Glint_TriWire_XYZ_STQ_RGBF, WireTriangle(), 0x100);
    EXPECT_EQ(words.size(), 4u + 9);
}

TEST(GlintWire, TurnsFogOnForTexturedSpecular) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_TEXTURE | RF_SPECULAR;
    const Words words = DrawTriangle(rig, Glint_TriWire_XYZ_STQ_RGBF, WireTriangle(), 0x100);
    EXPECT_EQ(words[words.size() - 3], 0x14000u);
}

TEST(GlintPoints, DrawEachEnabledVertexAsOneStep) {
    RasterRig rig;
    rig.ctx.RenderFlags = RF_ZENABLE | RF_FOG;
    std::vector<D3DTLVERTEX> vertices = {Vertex(1.5f, 2, 0.0f, 0x80112233, 0x40000000),
                                         Vertex(8, 2, 1.0f, 0x80445566, 0x80000000),
                                         Vertex(1, 9, 0.5f, 0x80778899, 0xC0000000)};
    const Words first = Indexed({{t::FStart, 0x100000}, {t::dFdx, 0}, {t::dFdyDom, 0}}) +
                        FlatDepth(0) + Words{t::ConstantColor, 0x80332211} +
                        Walk(0x18000, 0, 0x20000, 0, 1, 0x10080);
    // From the second vertex on depth goes first.
    const Words second =
        FlatDepth(0xFFFF) + Indexed({{t::FStart, 0x200000}, {t::dFdx, 0}, {t::dFdyDom, 0}}) +
        Words{t::ConstantColor, 0x80665544} + Walk(0x80000, 0, 0x20000, 0, 1, 0x10080);
    EXPECT_EQ(DrawTriangle(rig, Glint_TriPoint_XYZ_STQ_RGBF, vertices, 0x300),
              (Words{t::ColorDDAMode, 0} + first + second + Words{t::ColorDDAMode, 3}));
}

TEST(GlintPoints, OfUntexturedTrianglesHaveDepthAlwaysAndNoAlpha) {
    RasterRig rig;
    std::vector<D3DTLVERTEX> vertices = {Vertex(1, 2, 1.0f, 0x80112233), Vertex(8, 2),
                                         Vertex(1, 9)};
    EXPECT_EQ(DrawTriangle(rig, RenderRGBPoint, vertices, 0x100),
              (Words{t::ColorDDAMode, 0} + FlatDepth(0xFFFF) + Words{t::ConstantColor, 0x332211} +
               Walk(0x10000, 0, 0x20000, 0, 1, 0x10080) + Words{t::ColorDDAMode, 3}));
}

TEST(GlintPoints, CulledTrianglesSendOnlyTheBracket) {
    RasterRig rig;
    rig.ctx.CullMode = 3;
    const Words bracket = {t::ColorDDAMode, 0, t::ColorDDAMode, 3};
    std::vector<D3DTLVERTEX> flat = {Vertex(0, 0), Vertex(4, 4), Vertex(8, 8)};
    EXPECT_EQ(DrawTriangle(rig, RenderRGBPoint, flat, kAllEdges), bracket);
    rig.ctx.CullMode = 2;
    EXPECT_EQ(DrawTriangle(rig, RenderRGBPoint, flat, kAllEdges), bracket);
}

} // namespace
