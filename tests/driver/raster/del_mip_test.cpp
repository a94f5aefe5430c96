// The mip-mapped triangles of a Delta setup unit.
#include "driver/raster/del_mip.h"
#include "tests/driver/raster/del_rig.h"

#include <gtest/gtest.h>

#include <bit>
#include <utility>
#include <vector>

namespace {

using reference::DeltaMember;
using reference::DeltaReference;
using test::DeltaRig;
using test::DrawRecords;
using test::P2Random;
using test::TriangleRecord;
using test::Vertex;
using Words = std::vector<uint32_t>;

struct MemberCase {
    Renderer renderer;
    DeltaMember traits;
};
const MemberCase kMembers[] = {
    {Delta_MipPMTri_XYZ_STQ_RGBF, reference::kDeltaRGBF},
    {Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular, reference::kDeltaFogSpecular},
};

uint32_t Bits(float value) {
    return std::bit_cast<uint32_t>(value);
}

// 256 by 256 texels and nine levels; each level's fields tell it apart.
struct MipRig : DeltaRig {
    TextureRecord texture{};

    explicit MipRig(bool dma = true) : DeltaRig(dma) {
        texture.TexelCount = 65536.0f;
        texture.LevelCount = 9;
        for (uint32_t n = 0; n < 9; ++n) {
            texture.Levels[n] = {8 - n,
                                 8 - n,
                                 0.125f / static_cast<float>(1 << n),
                                 0.25f / static_cast<float>(1 << n),
                                 n % 8,
                                 (n + 1) % 8,
                                 (n + 2) % 8,
                                 0x1000 * (n + 1)};
        }
        ctx.CurrentTexture = &texture;
        ctx.RenderFlags = RF_GOURAUD | RF_TEXTURE | RF_MIPMAP;
        ctx.TextureMagLinear = 1;
        ctx.Copies.TextureReadMode = 0x3FFFFF;
        ctx.Copies.TextureMapFormat = 0x3FFFFF;
    }
};

// A right-angled triangle `size` pixels wide and high over texture coordinates 0 to `span`, with a
// positive determinant.
std::vector<D3DTLVERTEX> RightTriangle(float size, float span) {
    std::vector<D3DTLVERTEX> v = {Vertex(100 + size, 100), Vertex(100, 100 + size),
                                  Vertex(100, 100)};
    v[0].tu = span;
    v[1].tv = span;
    return v;
}

Words Draw(MipRig& rig, Renderer member, std::vector<D3DTLVERTEX> vertices,
           const std::vector<D3DTRIANGLE>& records = {TriangleRecord(0, 1, 2)}) {
    DrawRecords(rig, member, vertices, records);
    return rig.Take();
}

// The level that a triangle chose, by the address behind 0x0B0.
uint32_t LevelOf(const Words& words) {
    EXPECT_EQ(words.at(0), 0x0CEu);
    EXPECT_EQ(words.at(2), 0x0B1u);
    EXPECT_EQ(words.at(4), 0x0B0u);
    return words.at(5) / 0x1000 - 1;
}

TEST(DeltaMip, FourTexelsAPixelGiveLevelOne) {
    for (const MemberCase& member : kMembers) {
        MipRig rig;
        EXPECT_EQ(LevelOf(Draw(rig, member.renderer, RightTriangle(128, 1))), 1u);
        EXPECT_EQ(LevelOf(Draw(rig, member.renderer, RightTriangle(64, 1))), 2u);
        EXPECT_EQ(LevelOf(Draw(rig, member.renderer, RightTriangle(256, 1))), 0u);
    }
}

TEST(DeltaMip, AMagnifiedTriangleTakesLevelZero) {
    MipRig rig;
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(512, 0.125f))), 0u);
}

TEST(DeltaMip, ASingleLevelIsAlwaysTaken) {
    MipRig rig;
    rig.texture.LevelCount = 1;
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(2, 1))), 0u);
}

TEST(DeltaMip, EqualCoordinatesGiveLevelZeroOnThePositiveSide) {
    MipRig rig;
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(128, 0))), 0u);
}

TEST(DeltaMip, ANegativeDeterminantTakesTheFirstLevelOrTheLast) {
    MipRig rig;
    const std::vector<D3DTRIANGLE> turned = {TriangleRecord(1, 0, 2)};
    const auto level = [&](float size, float span) {
        return LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(size, span), turned));
    };
    EXPECT_EQ(level(128, 1), 0u); // more texels than pixels
    EXPECT_EQ(level(512, 1), 8u); // fewer
    EXPECT_EQ(level(128, 0), 8u); // none
    EXPECT_EQ(level(256, 1), 0u); // as many
}

TEST(DeltaMip, TheSideOfTheTextureDoesNotMatter) {
    MipRig rig;
    auto v = RightTriangle(128, 1);
    std::swap(v[0].tu, v[0].tv);
    std::swap(v[1].tu, v[1].tv);
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, v)), 1u);
}

TEST(DeltaMip, ALevelIsProgrammedAheadOfTheVerticesAndStaysInTheCopies) {
    MipRig rig;
    const Words words = Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(64, 1));
    // Level 2: logarithms 6 and 6, no minifying filter; partial products 2, 3, 4.
    const uint32_t read = (0x3FFFFF & ~0x3FE00u) | 6u << 9 | 6u << 13;
    const uint32_t map = (0x3FFFFF & ~0x1FFu) | 2 | 3 << 3 | 4 << 6;
    EXPECT_EQ(Words(words.begin(), words.begin() + 7),
              (Words{0x0CE, read, 0x0B1, map, 0x0B0, 0x3000, 0x1C078230}));
    EXPECT_EQ(rig.ctx.Copies.TextureReadMode, read);
    EXPECT_EQ(rig.ctx.Copies.TextureMapFormat, map);
}

TEST(DeltaMip, LevelZeroHasTheMagnifyingFilterAndOthersTheMinifyingOne) {
    for (const uint32_t linear : {0u, 1u, 2u}) {
        MipRig rig;
        rig.ctx.TextureMagLinear = linear;
        rig.ctx.TextureMinLinear = 1 - (linear & 1);
        const auto filter = [&](float size) {
            return Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(size, 1))[1] >> 17 & 1;
        };
        EXPECT_EQ(filter(256), linear == 1) << linear;
        EXPECT_EQ(filter(128), linear != 1) << linear;
    }
}

TEST(DeltaMip, TheSameLevelIsNotSentAgainWithinACall) {
    MipRig rig;
    const D3DTRIANGLE record = TriangleRecord(0, 1, 2);
    const Words words =
        Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(128, 1), {record, record});
    const size_t triangle = 3 * 7 + 3 * 4 + 2;
    EXPECT_EQ(words.size(), 6 + 2 * triangle);
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(128, 1))), 1u);
}

TEST(DeltaMip, CoordinatesAreScaledByTheLevelOnAnyFamily) {
    for (const uint32_t family : {uint32_t{FamilyPermedia}, uint32_t{FamilyGlint}}) {
        MipRig rig;
        rig.chip.Family = family;
        const Words words = Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(128, 1));
        EXPECT_EQ(words[7], Bits(0.0625f)); // S of A
        EXPECT_EQ(words[15], Bits(0.125f)); // T of B
    }
}

TEST(DeltaMip, TheLevelIsChosenByTheRawCoordinates) {
    MipRig rig;
    rig.ctx.RenderFlags |= RF_WRAPU | RF_WRAPV;
    auto v = RightTriangle(128, 1);
    for (D3DTLVERTEX& vertex : v) {
        vertex.tu += 20; // slid back into range, and A wraps
    }
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, v)), 1u);
}

TEST(DeltaMip, StripFlagsDoNotCount) {
    MipRig rig;
    rig.SetCull(D3DCULL_CCW);
    const Words words =
        Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(128, 1),
             {TriangleRecord(0, 1, 2), TriangleRecord(1, 0, 2, D3DTRIFLAG_STARTFLAT(1)),
              TriangleRecord(0, 1, 2, D3DTRIFLAG_EVEN)});
    // The one in the middle is culled, its follower is not skipped, and it goes in full.
    EXPECT_EQ(words.size(), 6 + 2 * 35u);
}

TEST(DeltaMip, AZeroAreaIsDroppedByBothCullingDirections) {
    for (const uint32_t cull : {2u, 3u}) {
        MipRig rig;
        rig.SetCull(cull);
        EXPECT_TRUE(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, RightTriangle(0, 1)).empty());
    }
}

TEST(DeltaMip, FogSpecularSendsWhatSpecularLeaves) {
    MipRig rig;
    rig.ctx.RenderFlags |= RF_SPECULAR | RF_FOG;
    auto v = RightTriangle(128, 1);
    v[1].specular = 0x000000FF;
    const Words words = Draw(rig, Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular, v);
    EXPECT_EQ(words[6], 0x1E078230u);
    EXPECT_EQ(words[10], Bits(1.0f));
    EXPECT_NEAR(std::bit_cast<float>(words[18]), 1.0f - 0.587f, 1e-6f);
    EXPECT_EQ(words[6 + 24], 0x00E08200u); // no real fog in between
}

TEST(DeltaMip, BothMembersMatchThePlainReferenceOverRandomBatches) {
    P2Random random(51);
    MipRig rig;
    for (int round = 0; round < 300; ++round) {
        random.State(rig, random.Pick(0x800) | RF_MIPMAP);
        rig.texture.LevelCount = 1 + random.Pick(9);
        rig.ctx.TextureMagLinear = random.Pick(3);
        rig.ctx.TextureMinLinear = random.Pick(3);
        rig.ctx.Copies.TextureReadMode = random.Pick(0x40000);
        rig.ctx.Copies.TextureMapFormat = random.Pick(0x40000);
        const auto vertices = random.Vertices(5 + random.Pick(6));
        const auto records = random.Records(vertices.size());
        using R = DeltaReference;
        for (const MemberCase& member : kMembers) {
            test::ExpectLikeReference<R>(rig, member.renderer, vertices, records, true, [&](R& r) {
                r.MipMapped(member.traits, vertices, records);
            });
        }
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

} // namespace
