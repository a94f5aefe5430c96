// The edges of what a renderer is given: triangles taller than any screen, lines longer than any
// number of steps, chains with more levels than a record has entries.
#include "driver/raster/del_mip.h"
#include "driver/raster/gl_gour.h"
#include "driver/raster/gl_line.h"
#include "driver/raster/p2_mip.h"
#include "driver/raster/reciprocal.h"
#include "driver/texture/textures.h"
#include "tests/driver/raster/del_rig.h"
#include "tests/driver/raster/p2_rig.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using Words = std::vector<uint32_t>;

// By hand: 1/rows to ten decimals.
TEST(FarTriangle, HeightsAbove2048RowsHaveEntriesByTheSameRule) {
    // 1/3000 = 0.0003333333|33, 1/4095 = 0.0002442002|44, 1/2049 = 0.0004880429|48.
    EXPECT_EQ(reciprocalTable[3000], -0.0003333333f);
    EXPECT_EQ(reciprocalTable[4095], -0.0002442002f);
    EXPECT_EQ(reciprocalTable[2049], -0.0004880429f);
}

// A right-angled triangle, flat at the bottom, `rows` high and `width` wide. Result: dXDom.
uint32_t LongEdgeStep(float rows, float width) {
    RasterRig rig;
    std::vector<D3DTLVERTEX> v = {Vertex(0, 0), Vertex(width, rows), Vertex(0, rows)};
    rig.ctx.CullMode = D3DCULL_NONE;
    rig.Draw(Glint_Tri_XYZ_FLAT, v, {0, 1, 2});
    const Words words = rig.Take();
    // The colour pair, seven words of depth and their header, then the trapezoid.
    EXPECT_EQ(words.at(9), 0x00FF8000u);
    EXPECT_EQ(words.at(16), static_cast<uint32_t>(rows));
    return words.at(11);
}

TEST(FarTriangle, StepsByTheEntryOfItsHeight) {
    // -1/3000 * 3000 as singles: 0x39AEC33D * 3000 = 0.99999991, cut to 16 bits.
    EXPECT_EQ(LongEdgeStep(3000, 3000), 0 - 0xFFFFu);
    // -1/4095 * 8190 = -1.99999964.
    EXPECT_EQ(LongEdgeStep(4095, 8190), 0 - 0x1FFFFu);
}

TEST(FarTriangle, FallsBackIntoTheTableAbove4095Rows) {
    // 4096 + 4 rows step as 4 rows do: -1/4 * 64.
    EXPECT_EQ(LongEdgeStep(4100, 64), 0 - 0x100000u);
    // 2^20 rows as none.
    EXPECT_EQ(LongEdgeStep(1048576, 64), 0u);
    EXPECT_EQ(LongEdgeStep(1048577, 64), 0 - 0x400000u);
}

TEST(FarLine, ItsStepsWrap) {
    for (const bool forward : {true, false}) {
        RasterRig rig;
        std::vector<D3DTLVERTEX> v = {Vertex(-2147483648.0f, 5), Vertex(2147483520.0f, 5)};
        D3DLINE line{};
        line.v1 = forward ? 0 : 1;
        line.v2 = forward ? 1 : 0;
        DrawRecords(rig, Glint_Line_XYZ_STQ_RGBF, v, std::vector{line});
        const Words words = rig.Take();
        // Rasteriser mode, flat colour, then the edge: x, its step, y, its step, steps, draw.
        ASSERT_EQ(words.at(4), 0x00F38000u);
        EXPECT_EQ(words.at(5), forward ? 0x80000000u : 0x7FFFFFFFu);
        EXPECT_EQ(words.at(6), forward ? 0x10000u : 0 - 0x10000u);
        EXPECT_EQ(words.at(9), 0xFFFFFF80u); // 2^32 - 128
    }
}

TEST(FarLevel, IsTheLastEntryOfTheRecord) {
    TextureRecord texture{};
    texture.LevelCount = 16;
    texture.TexelCount = 1073741824.0f;
    for (uint32_t i = 0; i < kMaxTextureLevels; ++i) {
        texture.Levels[i].Address = 0x500 + i;
        texture.Levels[i].WidthScale = texture.Levels[i].HeightScale = 1.0f;
    }
    // What lies behind the entries.
    for (uint32_t* word = reinterpret_cast<uint32_t*>(&texture.Private);
         word != &texture.LevelCount; ++word) {
        *word = 0xBAD;
    }
    const auto baseOf = [&](auto&& rig, Renderer member) {
        rig.ctx.CurrentTexture = &texture;
        // A pixel with 2^30 texels: the level of 2^15 by 2^15 texels, were there one.
        std::vector<D3DTLVERTEX> v = {Vertex(0, 0), Vertex(2, 0), Vertex(0, 2)};
        v[1].tu = 4.0f;
        v[2].tv = 4.0f;
        DrawRecords(rig, member, v, std::vector{TriangleRecord(0, 1, 2)});
        const Words words = rig.Take();
        EXPECT_EQ(words.at(4), 0x0B0u);
        return words.at(5);
    };
    for (const bool dma : {true, false}) {
        for (const Renderer member :
             {Delta_MipPMTri_XYZ_STQ_RGBF, Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular}) {
            EXPECT_EQ(baseOf(DeltaRig(dma), member), 0x50Bu);
        }
        EXPECT_EQ(baseOf(P2Rig(dma), P2_MipTri_XYZ_STQ_RGBFS), 0x50Bu);
    }
    EXPECT_EQ(baseOf(P2Rig(true), P2_GouraudTextureZMM), 0x50Bu);
    EXPECT_EQ(texture.LevelCount, 16u);
    // A shorter chain still ends with its own last level.
    texture.LevelCount = 5;
    EXPECT_EQ(baseOf(P2Rig(true), P2_GouraudTextureZMM), 0x504u);
    EXPECT_EQ(baseOf(DeltaRig(true), Delta_MipPMTri_XYZ_STQ_RGBF), 0x504u);
}

} // namespace
} // namespace test
