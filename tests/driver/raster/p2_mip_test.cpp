// The mip-mapped triangles of Permedia 2.
#include "driver/raster/p2_mip.h"
#include "driver/raster/stipple.h"
#include "tests/driver/raster/mip_rig.h"
#include "tests/driver/raster/p2_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <bit>
#include <vector>

namespace {

using test::Bits;
using test::Corner;
using test::Draw;
using test::DrawRecords;
using test::P2Rig;
using test::SetupRandom;
using test::TriangleRecord;
using test::Vertex;
using test::Words;

constexpr uint32_t kZMM = RF_GOURAUD | RF_ZENABLE | RF_PERSPECTIVE | RF_TEXTURE | RF_MIPMAP;
static_assert(kZMM == 0x4033);

struct P2MipRig : test::MipRig<P2Rig> {
    explicit P2MipRig(bool dma = true) : MipRig(dma) { ctx.RenderFlags = kZMM; }
};

// The level that one triangle is drawn at.
uint32_t LevelOf(P2MipRig& rig, const std::vector<D3DTLVERTEX>& vertices,
                 const D3DTRIANGLE& record = TriangleRecord(0, 1, 2)) {
    return test::LevelOf(Draw(rig, P2_MipTri_XYZ_STQ_RGBFS, vertices, {record}));
}

TEST(P2Mip, TheLevelIsHalfTheLogarithmOfTexelsPerPixel) {
    P2MipRig rig;
    // 256 texels on 128 pixels, both areas exact powers of two.
    EXPECT_EQ(LevelOf(rig, Corner(128, 1)), 1u);
    EXPECT_EQ(LevelOf(rig, Corner(256, 1)), 0u);
    EXPECT_EQ(LevelOf(rig, Corner(64, 1)), 2u);
    EXPECT_EQ(LevelOf(rig, Corner(32, 2)), 4u);
    // Just below and just above the step.
    EXPECT_EQ(LevelOf(rig, Corner(128.25f, 1)), 0u);
    EXPECT_EQ(LevelOf(rig, Corner(127.75f, 1)), 1u);
    // Either facing, on the screen and on the texture.
    EXPECT_EQ(LevelOf(rig, Corner(128, 1), TriangleRecord(1, 0, 2)), 1u);
    auto mirrored = Corner(128, 1);
    std::swap(mirrored[0].tu, mirrored[1].tu);
    std::swap(mirrored[0].tv, mirrored[1].tv);
    EXPECT_EQ(LevelOf(rig, mirrored), 1u);
}

TEST(P2Mip, MagnifiedTrianglesTakeLevelZero) {
    P2MipRig rig;
    EXPECT_EQ(LevelOf(rig, Corner(512, 1)), 0u);
    EXPECT_EQ(LevelOf(rig, Corner(1000, 0.001f)), 0u);
}

TEST(P2Mip, TheLastLevelIsTheLimit) {
    P2MipRig rig;
    EXPECT_EQ(LevelOf(rig, Corner(4, 8)), 8u);
    rig.texture.LevelCount = 3;
    EXPECT_EQ(LevelOf(rig, Corner(4, 8)), 2u);
    rig.texture.LevelCount = 1;
    for (const float size : {4.0f, 64.0f, 1000.0f}) {
        EXPECT_EQ(LevelOf(rig, Corner(size, 8)), 0u);
    }
}

TEST(P2Mip, EqualTextureCoordinatesTakeLevelZero) {
    P2MipRig rig;
    EXPECT_EQ(LevelOf(rig, Corner(128, 0)), 0u);
    EXPECT_EQ(LevelOf(rig, Corner(128, 0), TriangleRecord(1, 0, 2)), 0u);
}

TEST(P2Mip, ALevelIsProgrammedAheadOfTheVerticesAndStaysInTheCopies) {
    for (const Renderer member : {P2_MipTri_XYZ_STQ_RGBFS, P2_GouraudTextureZMM}) {
        P2MipRig rig;
        const Words one = Draw(rig, member, Corner(128, 1), {TriangleRecord(0, 1, 2)});
        // Level 1 is 128 by 64 and minified: no filter. PP 1, 2, 4.
        EXPECT_EQ(
            Words(one.begin(), one.begin() + 7),
            (Words{t::TextureReadMode, 0xFFFC01FF | 7 << 9 | 6 << 13, t::TextureMapFormat,
                   0xFFFFFE00 | 1 | 2 << 3 | 4 << 6, t::TextureBaseAddress, 0x100001, 0x5C078230}));
        EXPECT_EQ(rig.ctx.Copies.TextureReadMode, one[1]);
        EXPECT_EQ(rig.ctx.Copies.TextureMapFormat, one[3]);
        const Words zero = Draw(rig, member, Corner(256, 1), {TriangleRecord(0, 1, 2)});
        EXPECT_EQ(zero[1], (0xFFFC01FF | 8 << 9 | 7 << 13 | 1 << 17));
        EXPECT_EQ(zero[3], (0xFFFFFE00 | 0 | 1 << 3 | 3 << 6));
        // Only the value 1 means linear.
        rig.ctx.TextureMagLinear = 2;
        EXPECT_EQ(Draw(rig, member, Corner(256, 1), {TriangleRecord(0, 1, 2)})[1],
                  (0xFFFC01FF | 8 << 9 | 7 << 13));
        rig.ctx.TextureMinLinear = 1;
        EXPECT_EQ(Draw(rig, member, Corner(128, 1), {TriangleRecord(0, 1, 2)})[1],
                  (0xFFFC01FF | 7 << 9 | 6 << 13 | 1 << 17));
    }
}

TEST(P2Mip, TheSameLevelIsProgrammedOncePerCall) {
    for (const Renderer member : {P2_MipTri_XYZ_STQ_RGBFS, P2_GouraudTextureZMM}) {
        P2MipRig rig;
        const D3DTRIANGLE record = TriangleRecord(0, 1, 2);
        const Words words = Draw(rig, member, Corner(128, 1), {record, record});
        EXPECT_EQ(words.size(), 6 + 26 + 10u);
        EXPECT_EQ(std::count(words.begin(), words.end(), t::TextureReadMode), 1);
        EXPECT_EQ(Draw(rig, member, Corner(128, 1), {record})[0], t::TextureReadMode);
    }
}

TEST(P2Mip, ALevelChangeSendsAllVerticesAnew) {
    for (const Renderer member : {P2_MipTri_XYZ_STQ_RGBFS, P2_GouraudTextureZMM}) {
        P2MipRig rig;
        auto v = Corner(128, 1);
        v.push_back(Vertex(164, 164)); // with 0 and 1: half the screen area, four times the texels
        v[3].tu = v[3].tv = 4.0f;
        const Words words =
            Draw(rig, member, v, {TriangleRecord(0, 1, 2), TriangleRecord(0, 1, 3)});
        EXPECT_EQ(words.size(), 6 + 26 + 6 + 26u);
        EXPECT_EQ(words[32], t::TextureReadMode);
        EXPECT_EQ(words[38], 0x5C078230u);
    }
}

TEST(P2Mip, CoordinatesAreScaledByTheLevelAndByItsWidthAloneInTheFastMember) {
    P2MipRig rig;
    auto v = Corner(128, 1);
    v[1].rhw = 0.5f;
    const Words general = Draw(rig, P2_MipTri_XYZ_STQ_RGBFS, v, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(general[7], Bits(1.0f / 16));
    EXPECT_EQ(general[16], Bits(0.5f / 32));
    EXPECT_EQ(general[17], Bits(0.5f));
    const Words fast = Draw(rig, P2_GouraudTextureZMM, v, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(fast[7], Bits(1.0f / 16));
    EXPECT_EQ(fast[16], Bits(0.5f / 16));
    rig.ctx.RenderFlags = kZMM & ~RF_PERSPECTIVE;
    const Words affine = Draw(rig, P2_MipTri_XYZ_STQ_RGBFS, v, {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(affine[16], Bits(1.0f / 32));
    EXPECT_EQ(affine[17], Bits(1.0f));
}

TEST(P2Mip, CullingIsByBothWordsAndSliversGoEvenWithCullingOff) {
    for (const Renderer member : {P2_MipTri_XYZ_STQ_RGBFS, P2_GouraudTextureZMM}) {
        P2MipRig rig;
        const D3DTRIANGLE facing = TriangleRecord(0, 1, 2), away = TriangleRecord(1, 0, 2);
        const auto drawn = [&](const std::vector<D3DTLVERTEX>& v, const D3DTRIANGLE& record) {
            return !Draw(rig, member, v, {record}).empty();
        };
        // det of Corner is positive.
        for (const auto& [mode, keepsFacing, keepsAway] :
             {std::tuple{1u, true, true}, std::tuple{2u, false, true},
              std::tuple{3u, true, false}}) {
            rig.SetCull(mode);
            EXPECT_EQ(drawn(Corner(16, 1), facing), keepsFacing) << mode;
            EXPECT_EQ(drawn(Corner(16, 1), away), keepsAway) << mode;
        }
        rig.SetCull(D3DCULL_NONE);
        EXPECT_FALSE(drawn(Corner(0.25f, 1), facing));
        EXPECT_TRUE(drawn(Corner(0.25f, 1), away));
        EXPECT_TRUE(drawn(Corner(1.0f, 1), facing)); // two rows and columns
        // The mode alone does not cull.
        rig.ctx.CullMode = D3DCULL_CW;
        EXPECT_TRUE(drawn(Corner(16, 1), facing));
    }
}

TEST(P2Mip, AVertexInAnotherPlaceKeepsItsSlotButIsSentAgain) {
    for (const Renderer member : {P2_MipTri_XYZ_STQ_RGBFS, P2_GouraudTextureZMM}) {
        P2MipRig rig;
        rig.texture.LevelCount = 1;
        auto v = Corner(128, 1);
        for (int i = 0; i < 3; ++i) {
            v.push_back(Vertex(static_cast<float>(300 + 40 * i), static_cast<float>(50 + 90 * i)));
        }
        const auto headers = [&](const D3DTRIANGLE& second) {
            const Words words = Draw(rig, member, v, {TriangleRecord(0, 1, 2), second});
            Words found;
            for (size_t i = 32; i + 2 < words.size(); i += 8) {
                found.push_back((words[i] - 0x5C078230) >> 4);
            }
            return found;
        };
        EXPECT_EQ(headers(TriangleRecord(0, 1, 3)), (Words{2}));       // both in their places
        EXPECT_EQ(headers(TriangleRecord(2, 1, 3)), (Words{2, 0}));    // A was C
        EXPECT_EQ(headers(TriangleRecord(1, 0, 3)), (Words{1, 0, 2})); // exchanged
        EXPECT_EQ(headers(TriangleRecord(0, 2, 3)), (Words{2, 1}));    // B was C
        EXPECT_EQ(headers(TriangleRecord(3, 0, 4)), (Words{1, 0, 2})); // B was A
        EXPECT_EQ(headers(TriangleRecord(3, 4, 5)), (Words{0, 1, 2}));
    }
}

TEST(P2Mip, FlatSpecularSendsAllVerticesAndWrappingDoesNot) {
    P2MipRig rig;
    rig.texture.LevelCount = 1;
    auto v = Corner(128, 0.2f);
    v.push_back(Vertex(300, 300));
    v[3].tu = 0.9f;
    const auto sent = [&](uint32_t flags) {
        rig.ctx.RenderFlags = flags;
        test::VertexStore store;
        store.Replay(Draw(rig, P2_MipTri_XYZ_STQ_RGBFS, v,
                          {TriangleRecord(0, 1, 2), TriangleRecord(0, 1, 3)}));
        return store.verticesSent;
    };
    EXPECT_EQ(sent(kZMM), 4u);
    EXPECT_EQ(sent(kZMM | RF_SPECULAR), 4u);
    EXPECT_EQ(sent(kZMM & ~RF_GOURAUD), 4u);
    EXPECT_EQ(sent((kZMM & ~RF_GOURAUD) | RF_SPECULAR), 6u);
    EXPECT_EQ(sent(kZMM | RF_WRAPU), 4u);
}

TEST(P2Mip, LevelsAreWaitedForWithThreeEntries) {
    P2MipRig rig(false);
    rig.bus.ScriptFIFOSpace({3, 8, 8, 8, 2});
    auto v = Corner(128, 1);
    DrawRecords(rig, P2_MipTri_XYZ_STQ_RGBFS, v, std::vector{TriangleRecord(0, 1, 2)});
    EXPECT_EQ(rig.bus.ReadsOf(reg::InFIFOSpace), 5u);
    EXPECT_EQ(rig.Take().size(), 6 + 26u);
}

TEST(P2Mip, ReservesAreOfTheirMembersSizes) {
    const struct {
        Renderer member;
        uint32_t words;
    } members[] = {{P2_MipTri_XYZ_STQ_RGBFS, 128}, {P2_GouraudTextureZMM, 64}};
    for (const auto& [member, words] : members) {
        P2MipRig rig;
        EXPECT_EQ(test::TransfersOfTwo(rig, member, Corner(128, 1), words + 32 - 1), Words{32});
        EXPECT_EQ(test::TransfersOfTwo(rig, member, Corner(128, 1), words + 32), Words{});
    }
}

TEST(P2Mip, EveryMemberMatchesThePlainReferenceOverRandomBatches) {
    SetupRandom random(41);
    P2MipRig rig;
    for (int round = 0; round < 1500; ++round) {
        rig.Randomise(random, random.Pick(0x800) | RF_MIPMAP);
        const auto vertices = random.Vertices(5 + random.Pick(6));
        const auto records = random.Records(vertices.size());
        using R = reference::P2Reference;
        test::ExpectLikeReference<R>(rig, P2_MipTri_XYZ_STQ_RGBFS, vertices, records, true,
                                     [&](R& r) { r.Textured({.mip = true}, vertices, records); });
        rig.ctx.RenderFlags = kZMM;
        test::ExpectLikeReference<R>(
            rig, P2_GouraudTextureZMM, vertices, records, false, [&](R& r) {
                r.Textured({.fast = true, .mip = true, .square = true}, vertices, records);
            });
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

// Left out are records whose first two vertices are one, after which a slot holds an older vertex.
// A kept vertex has the texture words of the level in force, as a new level sends all.
TEST(P2Mip, TheStoreHoldsEachDrawnRecordsVertices) {
    SetupRandom random(42);
    P2MipRig rig;
    size_t checked = 0, sent = 0;
    for (int round = 0; round < 600; ++round) {
        for (const Renderer member : {P2_MipTri_XYZ_STQ_RGBFS, P2_GouraudTextureZMM}) {
            random.State(rig, kZMM);
            rig.SetCull(D3DCULL_NONE);
            rig.texture.LevelCount = 1 + random.Pick(4);
            auto vertices = random.Vertices(5 + random.Pick(8));
            for (D3DTLVERTEX& v : vertices) {
                v.tu = random.Unit() * 4.0f;
                v.tv = random.Unit() * 4.0f;
            }
            std::vector<D3DTRIANGLE> records;
            for (const D3DTRIANGLE& record : random.Records(vertices.size())) {
                const D3DTLVERTEX &a = vertices[record.v1], &b = vertices[record.v2],
                                  &c = vertices[record.v3];
                const float det = reference::P2Reference::Det(a, b, c);
                if (record.v1 != record.v2 && (det >= 3.0f || std::signbit(det))) {
                    records.push_back(record);
                }
            }
            if (records.empty()) {
                continue;
            }
            DrawRecords(rig, member, vertices, records);
            test::VertexStore store;
            store.Replay(rig.Take());
            ASSERT_EQ(store.drawn.size(), records.size());
            for (size_t i = 0; i < records.size(); ++i) {
                test::Drawn& drawn = store.drawn[i];
                ASSERT_TRUE(test::HoldsTriangle(drawn, vertices, records[i])) << round;
                const TextureLevel& level =
                    rig.texture.Levels[drawn.registers[t::TextureBaseAddress] - 0x100000];
                const float vScale =
                    member == P2_GouraudTextureZMM ? level.WidthScale : level.HeightScale;
                for (const uint32_t index : {records[i].v1, records[i].v2, records[i].v3}) {
                    const D3DTLVERTEX& v = vertices[index];
                    bool found = false;
                    for (const test::StoredVertex& slot : drawn.slots) {
                        found |= slot.At(10) == Bits(v.sx) && slot.At(11) == Bits(v.sy) &&
                                 slot.At(0) == Bits(level.WidthScale * v.tu * v.rhw) &&
                                 slot.At(1) == Bits(vScale * v.tv * v.rhw);
                    }
                    ASSERT_TRUE(found) << round << " triangle " << i;
                }
            }
            checked += records.size();
            sent += store.verticesSent;
        }
    }
    EXPECT_GT(checked, 5000u);
    EXPECT_LT(sent, checked * 3);
}

} // namespace
