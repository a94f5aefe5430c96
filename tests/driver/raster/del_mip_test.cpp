// The mip-mapped triangles of a Delta setup unit.
#include "driver/raster/del_mip.h"
#include "tests/driver/raster/del_rig.h"
#include "tests/driver/raster/mip_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <bit>
#include <utility>
#include <vector>

namespace {

using reference::DeltaReference;
using test::Bits;
using test::Corner;
using test::DeltaRig;
using test::Draw;
using test::LevelOf;
using test::SetupRandom;
using test::TriangleRecord;
using test::Words;

struct MipMember {
    Renderer renderer;
    reference::SetupMember traits;
};
const MipMember kMipMembers[] = {
    {Delta_MipPMTri_XYZ_STQ_RGBF, reference::kDeltaRGBF},
    {Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular, reference::kDeltaFogSpecular},
};

struct DeltaMipRig : test::MipRig<DeltaRig> {
    DeltaMipRig() { ctx.RenderFlags = RF_GOURAUD | RF_TEXTURE | RF_MIPMAP; }
};

TEST(DeltaMip, FourTexelsAPixelGiveLevelOne) {
    for (const MipMember& member : kMipMembers) {
        DeltaMipRig rig;
        EXPECT_EQ(LevelOf(Draw(rig, member.renderer, Corner(128, 1))), 1u);
        EXPECT_EQ(LevelOf(Draw(rig, member.renderer, Corner(64, 1))), 2u);
        EXPECT_EQ(LevelOf(Draw(rig, member.renderer, Corner(256, 1))), 0u);
    }
}

TEST(DeltaMip, AMagnifiedTriangleTakesLevelZero) {
    DeltaMipRig rig;
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(512, 0.125f))), 0u);
}

TEST(DeltaMip, ASingleLevelIsAlwaysTaken) {
    DeltaMipRig rig;
    rig.texture.LevelCount = 1;
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(2, 1))), 0u);
}

TEST(DeltaMip, EqualCoordinatesGiveLevelZeroOnThePositiveSide) {
    DeltaMipRig rig;
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(128, 0))), 0u);
}

TEST(DeltaMip, ANegativeDeterminantTakesTheFirstLevelOrTheLast) {
    DeltaMipRig rig;
    const std::vector<D3DTRIANGLE> turned = {TriangleRecord(1, 0, 2)};
    const auto level = [&](float size, float span) {
        return LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(size, span), turned));
    };
    EXPECT_EQ(level(128, 1), 0u); // more texels than pixels
    EXPECT_EQ(level(512, 1), 8u); // fewer
    EXPECT_EQ(level(128, 0), 8u); // none
    EXPECT_EQ(level(256, 1), 0u); // as many
}

TEST(DeltaMip, TheSideOfTheTextureDoesNotMatter) {
    DeltaMipRig rig;
    auto v = Corner(128, 1);
    std::swap(v[0].tu, v[0].tv);
    std::swap(v[1].tu, v[1].tv);
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, v)), 1u);
}

TEST(DeltaMip, ALevelIsProgrammedAheadOfTheVerticesAndStaysInTheCopies) {
    DeltaMipRig rig;
    const Words words = Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(64, 1));
    // Level 2: logarithms 6 and 5, no minifying filter; partial products 2, 3, 5.
    const uint32_t read = 0xFFFC01FF | 6u << 9 | 5u << 13;
    const uint32_t map = 0xFFFFFE00 | 2 | 3 << 3 | 5 << 6;
    EXPECT_EQ(Words(words.begin(), words.begin() + 7),
              (Words{t::TextureReadMode, read, t::TextureMapFormat, map, t::TextureBaseAddress,
                     0x100002, 0x1C078230}));
    EXPECT_EQ(rig.ctx.Copies.TextureReadMode, read);
    EXPECT_EQ(rig.ctx.Copies.TextureMapFormat, map);
}

TEST(DeltaMip, LevelZeroHasTheMagnifyingFilterAndOthersTheMinifyingOne) {
    for (const uint32_t linear : {0u, 1u, 2u}) {
        DeltaMipRig rig;
        rig.ctx.TextureMagLinear = linear;
        rig.ctx.TextureMinLinear = 1 - (linear & 1);
        const auto filter = [&](float size) {
            return Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(size, 1))[1] >> 17 & 1;
        };
        EXPECT_EQ(filter(256), linear == 1) << linear;
        EXPECT_EQ(filter(128), linear != 1) << linear;
    }
}

TEST(DeltaMip, TheSameLevelIsNotSentAgainWithinACall) {
    DeltaMipRig rig;
    const D3DTRIANGLE record = TriangleRecord(0, 1, 2);
    const Words words = Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(128, 1), {record, record});
    const size_t triangle = 3 * 7 + 3 * 4 + 2;
    EXPECT_EQ(words.size(), 6 + 2 * triangle);
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(128, 1))), 1u);
}

TEST(DeltaMip, CoordinatesAreScaledByTheLevelOnAnyFamily) {
    for (const uint32_t family : {uint32_t{FamilyPermedia}, uint32_t{FamilyGlint}}) {
        DeltaMipRig rig;
        rig.chip.Family = family;
        const Words words = Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(128, 1));
        EXPECT_EQ(words[7], Bits(0.0625f));   // S of A
        EXPECT_EQ(words[15], Bits(0.03125f)); // T of B
    }
}

TEST(DeltaMip, TheLevelIsChosenByTheRawCoordinates) {
    DeltaMipRig rig;
    rig.ctx.RenderFlags |= RF_WRAPU | RF_WRAPV;
    auto v = Corner(128, 1);
    for (D3DTLVERTEX& vertex : v) {
        vertex.tu += 20; // slid back into range, and A wraps
    }
    EXPECT_EQ(LevelOf(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, v)), 1u);
}

TEST(DeltaMip, StripFlagsDoNotCount) {
    DeltaMipRig rig;
    rig.SetCull(D3DCULL_CCW);
    const Words words =
        Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(128, 1),
             {TriangleRecord(0, 1, 2), TriangleRecord(1, 0, 2, D3DTRIFLAG_STARTFLAT(1)),
              TriangleRecord(0, 1, 2, D3DTRIFLAG_EVEN)});
    // The one in the middle is culled, its follower is not skipped, and it goes in full.
    EXPECT_EQ(words.size(), 6 + 2 * 35u);
}

TEST(DeltaMip, AZeroAreaIsDroppedByBothCullingDirections) {
    for (const uint32_t cull : {2u, 3u}) {
        DeltaMipRig rig;
        rig.SetCull(cull);
        EXPECT_TRUE(Draw(rig, Delta_MipPMTri_XYZ_STQ_RGBF, Corner(0, 1)).empty());
    }
}

TEST(DeltaMip, FogSpecularSendsWhatSpecularLeaves) {
    DeltaMipRig rig;
    rig.ctx.RenderFlags |= RF_SPECULAR | RF_FOG;
    auto v = Corner(128, 1);
    v[1].specular = 0x000000FF;
    const Words words = Draw(rig, Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular, v);
    EXPECT_EQ(words[6], 0x1E078230u);
    EXPECT_EQ(words[10], Bits(1.0f));
    EXPECT_NEAR(std::bit_cast<float>(words[18]), 1.0f - 0.587f, 1e-6f);
    EXPECT_EQ(words[6 + 24], 0x00E08200u); // no real fog in between
}

TEST(DeltaMip, BothMembersMatchThePlainReferenceOverRandomBatches) {
    SetupRandom random(51);
    DeltaMipRig rig;
    for (int round = 0; round < 300; ++round) {
        rig.Randomise(random, random.Pick(0x800) | RF_MIPMAP);
        const auto vertices = random.Vertices(5 + random.Pick(6));
        const auto records = random.Records(vertices.size());
        using R = DeltaReference;
        for (const MipMember& member : kMipMembers) {
            test::ExpectLikeReference<R>(rig, member.renderer, vertices, records, true, [&](R& r) {
                r.MipMapped(member.traits, vertices, records);
            });
        }
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

} // namespace
