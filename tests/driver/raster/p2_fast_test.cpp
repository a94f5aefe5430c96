// The specialised textured triangles of Permedia 2.
#include "driver/raster/p2_fast.h"
#include "driver/raster/p2_tex.h"
#include "driver/raster/stipple.h"
#include "tests/driver/raster/p2_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <bit>
#include <vector>

namespace {

using test::Bits;
using test::Draw;
using test::DrawRecords;
using test::IndexedTag;
using test::P2Rig;
using test::SetupRandom;
using test::TriangleRecord;
using test::Vertex;
using test::Words;

constexpr uint32_t kZ = RF_GOURAUD | RF_ZENABLE | RF_PERSPECTIVE | RF_TEXTURE;
static_assert(kZ == 0x33);

struct FastMember {
    const char* name;
    Renderer renderer;
    uint32_t flags;
    uint32_t vertexWords; // header included
};
const FastMember kFastMembers[] = {
    {"P2_GouraudTextureZ", P2_GouraudTextureZ, kZ, 8},
    {"P2_GouraudTextureKSZ", P2_GouraudTextureKSZ, kZ | RF_SPECULAR, 9},
    {"P2_GouraudTextureFogZ", P2_GouraudTextureFogZ, kZ | RF_FOG, 9},
};

std::vector<D3DTLVERTEX> FastVertices() {
    std::vector<D3DTLVERTEX> v = {
        Vertex(20, 10, 0.5f, 0x40102030, 0x80000000), Vertex(30, 20, 0.25f, 0x80405060, 0x400000FF),
        Vertex(10, 30, 1.0f, 0xC0708090, 0x20000000), Vertex(0, 20, 0.0f, 0xF0A0B0C0, 0),
        Vertex(2, 5, 0.125f, 0x00D0E0F0, 0)};
    v[0].tu = 1;
    v[0].tv = 2;
    v[0].rhw = 0.5f;
    v[1].tu = 3;
    v[1].tv = 4;
    v[1].rhw = 0.25f;
    v[2].tu = 20; // not brought into range
    v[2].tv = -1;
    v[2].rhw = 2.0f;
    return v;
}

TEST(P2Fast, SendsThreeVerticesWithTheirColoursAndADrawWord) {
    P2Rig rig;
    rig.ctx.RenderFlags = kZ;
    EXPECT_EQ(Draw(rig, P2_GouraudTextureZ, FastVertices(), {TriangleRecord(0, 1, 2)}),
              (Words{IndexedTag(t::V0Float, 0x5C07), Bits(0.0625f), Bits(0.0625f), Bits(0.5f),
                     0x41A00000, 0x41200000, 0x3F000000, 0x40102030} +
               Words{IndexedTag(t::V1Float, 0x5C07), Bits(0.09375f), Bits(0.0625f), Bits(0.25f),
                     0x41F00000, 0x41A00000, 0x3E800000, 0x80405060} +
               Words{IndexedTag(t::V2Float, 0x5C07), Bits(5.0f), Bits(-0.125f), Bits(2.0f),
                     0x41200000, 0x41F00000, 0x3F800000, 0xC0708090} +
               Words{t::DrawTriangle, 0x10040}));
}

TEST(P2Fast, FogAndSpecularAddTheirWordBehindQ) {
    P2Rig rig;
    rig.ctx.RenderFlags = kZ | RF_FOG;
    const Words fog = Draw(rig, P2_GouraudTextureFogZ, FastVertices(), {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(fog.size(), 29u);
    EXPECT_EQ(Words(fog.begin(), fog.begin() + 6), (Words{0x5E078230, Bits(0.0625f), Bits(0.0625f),
                                                          Bits(0.5f), Bits(0.5f), 0x41A00000}));
    rig.ctx.RenderFlags = kZ | RF_SPECULAR;
    const Words ks = Draw(rig, P2_GouraudTextureKSZ, FastVertices(), {TriangleRecord(0, 1, 2)});
    EXPECT_EQ(ks.size(), 29u);
    EXPECT_EQ(ks[0], 0x5C0F8230u);
    EXPECT_EQ(ks[4], 0u);
    EXPECT_EQ(ks[13], Bits(255.0f * 0.002301960784314f));
}

TEST(P2Fast, SharingFirstAndThirdSendsOneVertexSharingNothingThreeAndTheThirdAlwaysGoes) {
    for (const FastMember& member : kFastMembers) {
        P2Rig rig;
        rig.ctx.RenderFlags = member.flags;
        const auto words = [&](const D3DTRIANGLE& second) {
            return Draw(rig, member.renderer, FastVertices(), {TriangleRecord(0, 1, 2), second})
                       .size() -
                   (3 * member.vertexWords + 2);
        };
        const uint32_t one = member.vertexWords + 2, three = 3 * member.vertexWords + 2;
        EXPECT_EQ(words(TriangleRecord(0, 2, 3)), one) << member.name;
        EXPECT_EQ(words(TriangleRecord(1, 3, 4)), three) << member.name;
        EXPECT_EQ(words(TriangleRecord(0, 1, 2)), one) << member.name;
        // Strip flags do not count.
        EXPECT_EQ(words(TriangleRecord(1, 3, 4, D3DTRIFLAG_EVEN)), three) << member.name;
    }
}

TEST(P2Fast, AListTriangleHasTwentySixWordsAndAStripsLaterOnesTen) {
    P2Rig rig;
    rig.ctx.RenderFlags = kZ;
    std::vector<D3DTLVERTEX> v;
    for (int i = 0; i < 60; ++i) {
        v.push_back(Vertex(static_cast<float>(i % 7), static_cast<float>(i)));
    }
    std::vector<D3DTRIANGLE> list, strip, fan;
    for (uint32_t i = 0; i < 20; ++i) {
        list.push_back(TriangleRecord(3 * i, 3 * i + 1, 3 * i + 2));
        strip.push_back(i % 2 == 0 ? TriangleRecord(i, i + 1, i + 2)
                                   : TriangleRecord(i + 1, i, i + 2));
        fan.push_back(TriangleRecord(0, i + 1, i + 2));
    }
    EXPECT_EQ(Draw(rig, P2_GouraudTextureZ, v, list).size(), 20 * 26u);
    EXPECT_EQ(Draw(rig, P2_GouraudTextureZ, v, strip).size(), 26 + 19 * 10u);
    EXPECT_EQ(Draw(rig, P2_GouraudTextureZ, v, fan).size(), 26 + 19 * 10u);
}

TEST(P2Fast, SliversAndBackFacesGoAndLeaveWhatIsKept) {
    for (const FastMember& member : kFastMembers) {
        P2Rig rig;
        rig.ctx.RenderFlags = member.flags;
        rig.SetCull(D3DCULL_CCW);
        auto v = FastVertices();
        v.push_back(Vertex(17.5f, 10));
        v.push_back(Vertex(10, 10.375f));
        v.push_back(Vertex(10, 10));
        const Words words = Draw(rig, member.renderer, v,
                                 {TriangleRecord(0, 1, 2), TriangleRecord(1, 0, 2),
                                  TriangleRecord(5, 6, 7), TriangleRecord(0, 2, 3)});
        EXPECT_EQ(words.size(), 4 * member.vertexWords + 4) << member.name;
        rig.SetCull(D3DCULL_NONE);
        EXPECT_FALSE(Draw(rig, member.renderer, v, {TriangleRecord(5, 6, 7)}).empty());
    }
}

TEST(P2Fast, ReservesFor128Bytes) {
    for (const FastMember& member : kFastMembers) {
        P2Rig rig;
        rig.ctx.RenderFlags = member.flags;
        const uint32_t full = 3 * member.vertexWords + 2;
        EXPECT_EQ(test::TransfersOfTwo(rig, member.renderer, FastVertices(), 32 + full - 1),
                  Words{full})
            << member.name;
        EXPECT_EQ(test::TransfersOfTwo(rig, member.renderer, FastVertices(), 32 + full), Words{})
            << member.name;
    }
}

TEST(P2Fast, EveryMemberMatchesThePlainReferenceOverRandomBatches) {
    SetupRandom random(31);
    P2Rig rig;
    for (int round = 0; round < 1500; ++round) {
        for (const FastMember& member : kFastMembers) {
            random.State(rig, member.flags | (random.Pick(8) << 11));
            const auto vertices = random.Vertices(4 + random.Pick(8));
            const auto records = random.Records(vertices.size());
            test::ExpectLikeReference<reference::P2Reference>(
                rig, member.renderer, vertices, records, false,
                [&](reference::P2Reference& r) { r.Textured({.fast = true}, vertices, records); });
            ASSERT_FALSE(HasFatalFailure()) << member.name << " round " << round;
        }
    }
}

TEST(P2Fast, SendsWhatTheGeneralMemberSendsForCoordinatesInRange) {
    SetupRandom random(32);
    P2Rig rig;
    for (int round = 0; round < 300; ++round) {
        for (const FastMember& member : kFastMembers) {
            random.State(rig, member.flags);
            auto vertices = random.Vertices(6);
            for (D3DTLVERTEX& v : vertices) {
                v.tu = random.Unit() * 7.5f;
                v.tv = random.Unit() * -7.5f;
            }
            const auto records = random.Records(vertices.size());
            ASSERT_EQ(Draw(rig, member.renderer, vertices, records),
                      Draw(rig, P2_Tri_XYZ_STQ_RGBFS, vertices, records));
        }
    }
}

// Random strips, fans and lists that share vertices, with triangles culled here and there. Left out
// is a record whose first two vertices are one: the third slot then holds an older vertex.
TEST(P2Fast, TheStoreHoldsEachDrawnRecordsVertices) {
    SetupRandom random(33);
    P2Rig rig;
    size_t checked = 0, sent = 0;
    for (int round = 0; round < 600; ++round) {
        for (const FastMember& member : kFastMembers) {
            random.State(rig, member.flags);
            auto vertices = random.Vertices(4 + random.Pick(10));
            std::vector<D3DTRIANGLE> records, kept;
            for (const D3DTRIANGLE& record : random.Records(vertices.size())) {
                if (record.v1 == record.v2) {
                    continue;
                }
                records.push_back(record);
                const D3DTLVERTEX &a = vertices[record.v1], &b = vertices[record.v2],
                                  &c = vertices[record.v3];
                const float det = reference::P2Reference::Det(a, b, c);
                const bool away = std::signbit(det) != (rig.ctx.CullMode == D3DCULL_CW);
                const bool sliver =
                    std::fabs(det) < 3.0f && (reference::P2Reference::Alike(a.sx, b.sx, c.sx) ||
                                              reference::P2Reference::Alike(a.sy, b.sy, c.sy));
                if (rig.ctx.CullMode == D3DCULL_NONE || (!away && !sliver)) {
                    kept.push_back(record);
                }
            }
            if (records.empty()) {
                continue;
            }
            DrawRecords(rig, member.renderer, vertices, records);
            test::VertexStore store;
            store.Replay(rig.Take());
            ASSERT_EQ(store.drawn.size(), kept.size());
            for (size_t i = 0; i < kept.size(); ++i) {
                ASSERT_TRUE(test::HoldsTriangle(store.drawn[i], vertices, kept[i]))
                    << member.name << " round " << round << " triangle " << i;
            }
            checked += kept.size();
            sent += store.verticesSent;
        }
    }
    EXPECT_GT(checked, 5000u);
    EXPECT_LT(sent, checked * 5 / 2);
}

TEST(P2Fast, FirstTwoVerticesInOneLeaveAnOlderVertexInTheStore) {
    P2Rig rig;
    rig.ctx.RenderFlags = kZ;
    auto v = FastVertices();
    // 2 is found twice, 3 goes to the lower of two free slots, and 1 stays in the other.
    DrawRecords(rig, P2_GouraudTextureZ, v,
                std::vector{TriangleRecord(0, 1, 2), TriangleRecord(2, 2, 3)});
    test::VertexStore store;
    store.Replay(rig.Take());
    const auto& slots = store.drawn.at(1).slots;
    EXPECT_EQ(slots[0].At(10), Bits(v[3].sx));
    EXPECT_EQ(slots[1].At(10), Bits(v[1].sx));
    EXPECT_EQ(slots[2].At(10), Bits(v[2].sx));
}

} // namespace
