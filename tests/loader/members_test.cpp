// Every renderer of KORV32.dll beside the linked driver's, over random triangles and states: the
// words are the same, up to the ends of what a single can hold in every field of a vertex.
//
// $KORV_MEMBER_TRIANGLES sets the triangles a renderer; $KORV_MEMBER_HASHES names a file for a hash
// of each one's words.
#include "driver/texture/textures.h"
#include "host/driver_module.h"
#include "host/loader/renderer_pairs.h"
#include "tests/driver/raster/members.h"
#include "tests/support_host/dll_path.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace test {
namespace {

using Words = std::vector<uint32_t>;

constexpr uint32_t kBatchVertices = 48;
constexpr uint32_t kBatchRecords = 40;
constexpr uint32_t kBatchesAState = 8;
constexpr uint32_t kRingWords = 32 * 1024; // more than a batch can take

// What the floating-point units tell of the operations since they were last asked, each bit for one
// kind of event. The linked driver's may be either.
constexpr uint32_t kInvalid = 0x01;   // made a NaN
constexpr uint32_t kDenormal = 0x02;  // met a denormal
constexpr uint32_t kUnderflow = 0x10; // rounded to a denormal
uint32_t TakeFloatEvents() {
    constexpr uint32_t kEvents = 0x3F;
    const uint32_t state = __builtin_ia32_stmxcsr();
    __builtin_ia32_ldmxcsr(state & ~kEvents);
    uint16_t status;
    asm volatile("fnstsw %0\n\tfnclex" : "=am"(status));
    return (state | status) & kEvents;
}

class MemberDice {
  public:
    explicit MemberDice(uint32_t seed) : random_(seed) {}
    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random_() % bound); }
    uint32_t Word() { return static_cast<uint32_t>(random_()); }
    float Unit() { return static_cast<float>(random_() >> 8) / 16777216.0f; }
    // `usual` is what a field of a picture holds; `odd` counts the values of 16 that are not.
    float Field(float usual, uint32_t odd) {
        if (Below(16) >= odd) {
            return usual;
        }
        constexpr float kEdges[] = {0.0f,    0.5f,     1.0f,      2.0f,        2048.0f,
                                    8192.0f, 65536.0f, 131072.0f, 8388608.0f,  16777216.0f,
                                    3.4e38f, 1.2e-38f, 1e-45f,    0.99999994f, 4294967296.0f};
        const uint32_t sign = Word() & 0x80000000;
        const auto signedBits = [sign](uint32_t magnitude) {
            return std::bit_cast<float>(magnitude | sign);
        };
        switch (Below(10)) {
        case 0: // any magnitude that is not denormal
            return signedBits((1 + Below(254)) << 23 | (Word() & 0x7FFFFF));
        case 1: // near 2^127
            return signedBits((250 + Below(5)) << 23 | (Word() & 0x7FFFFF));
        case 2: // near 2^-126
            return signedBits((1 + Below(8)) << 23 | (Word() & 0x7FFFFF));
        case 3:
            return (Unit() - 0.5f) * 2e9f;
        case 4:
            return std::bit_cast<float>(std::bit_cast<uint32_t>(kEdges[Below(std::size(kEdges))]) |
                                        sign);
        case 5:
            return Below(4) == 0 ? signedBits(0x7F800000) : usual + 0.5f;
        case 6: // many bits to round away
            return usual * (1.0f + Unit() * 1e-6f);
        case 7:
            return signedBits(std::bit_cast<uint32_t>(Unit() * 3.0f));
        default: // the square roots of both ends, where products leave the range
            return signedBits((Below(2) == 0 ? 55 + Below(16) : 182 + Below(16)) << 23 |
                              (Word() & 0x7FFFFF));
        }
    }

  private:
    std::mt19937 random_;
};

struct MemberRig {
    ChipInfo chip{};
    DriverData driver{};
    D3DContext ctx{};
    TextureRecord texture{};
    DDRAWI_DDRAWSURFACE_LCL target{};
    DDRAWI_DDRAWSURFACE_GBL targetGlobal{};
    Words words = Words(kRingWords);

    MemberRig() {
        driver.ChipInfo = &chip;
        target.lpGbl = &targetGlobal;
        targetGlobal.wWidth = 640;
        targetGlobal.wHeight = 480;
        ctx.Magic = kContextMagic;
        ctx.Driver = &driver;
        ctx.RenderTargetSurface = &target;
        ctx.CurrentTexture = &texture;
        CommandStream& stream = ctx.Stream;
        stream.CommandMode = kCommandModeDMA;
        stream.SubBufferCount = 1;
        stream.SubBufferWords = stream.SubBufferFlushWords = kRingWords;
        stream.SubBuffers[0] = {0, words.data(), words.data() + kRingWords - 1};
    }

    void RollState(MemberDice& dice, const Member& member) {
        static constexpr uint32_t kHost[] = {DeviceSX, DeviceTX, DeviceMX, DevicePermedia};
        chip.DeviceId = member.setup == Setup::Permedia2 ? DevicePermedia2 : kHost[dice.Below(4)];
        chip.Family = chip.DeviceId == DevicePermedia || chip.DeviceId == DevicePermedia2
                          ? FamilyPermedia
                          : FamilyGlint;
        ctx.RenderFlags = dice.Word();
        ctx.RenderCommand = 0x10000 | (dice.Below(2) << 14);
        ctx.CullMode = 1 + dice.Below(3);
        ctx.CullSignA = ctx.CullMode == D3DCULL_NONE ? 0 : 0x80000000;
        ctx.CullSignB = ctx.CullMode == D3DCULL_CW ? 0x80000000 : 0;
        ctx.UseDelta = member.setup != Setup::Host;
        ctx.BlendForcesZeroAlpha = dice.Below(2);
        ctx.BytesPerPixel = 2 + 2 * dice.Below(2);
        ctx.TextureMagLinear = dice.Below(2);
        ctx.TextureMinLinear = dice.Below(2);
        const uint32_t logU = dice.Below(12), logV = dice.Below(12);
        ctx.TextureWidth = static_cast<float>(1u << logU);
        ctx.TextureHeight = static_cast<float>(1u << logV);
        ctx.TextureWidthScale = ctx.TextureWidth / 2048;
        ctx.TextureHeightScale = ctx.TextureHeight / 2048;
        ctx.TextureRepeatU = static_cast<float>(2048u >> logU);
        ctx.TextureRepeatV = static_cast<float>(2048u >> logV);
        ctx.TextureRepeatMaskU = (2048u >> logU) - 1;
        ctx.TextureRepeatMaskV = (2048u >> logV) - 1;
        texture.TexelCount = static_cast<float>(1u << (logU + logV));
        texture.LevelCount = 1 + std::max(logU, logV);
        for (uint32_t i = 0; i < kMaxTextureLevels; ++i) {
            texture.Levels[i] = {logU > i ? logU - i : 0,
                                 logV > i ? logV - i : 0,
                                 ctx.TextureWidthScale / static_cast<float>(1u << i),
                                 ctx.TextureHeightScale / static_cast<float>(1u << i),
                                 1,
                                 2,
                                 3,
                                 0x1000 + i};
        }
    }

    // The words of one batch; what the context keeps between batches is as before it.
    Words Draw(Renderer renderer, std::vector<D3DTLVERTEX> vertices,
               std::vector<D3DTRIANGLE> records, uint8_t recordBytes, size_t count) {
        CommandStream& stream = ctx.Stream;
        stream.WritePointer = words.data();
        stream.Guard.Allow(words.data());
        ctx.StippleIndex = kNoStipplePattern;
        ctx.Copies.TextureReadMode = ctx.Copies.TextureMapFormat = 0;
        D3DINSTRUCTION ins{0, recordBytes, static_cast<WORD>(count)};
        renderer(&ctx, &ins, vertices.data(), records.data());
        return Words(words.data(), stream.WritePointer);
    }
};

std::vector<D3DTLVERTEX> RollVertices(MemberDice& dice) {
    // Batches without an odd value come too; the oddest have one in most triangles.
    const uint32_t oddPlaces = dice.Below(3) * dice.Below(2);
    const uint32_t oddDepths = dice.Below(4) * dice.Below(2);
    const uint32_t oddTextures = dice.Below(4) * dice.Below(2);
    constexpr float kSpreads[] = {2.0f, 20.0f, 300.0f, 2047.0f};
    const float spread = kSpreads[dice.Below(4)];
    std::vector<D3DTLVERTEX> vertices(kBatchVertices);
    for (D3DTLVERTEX& v : vertices) {
        v.sx = dice.Field(dice.Unit() * spread, oddPlaces);
        v.sy = dice.Field(dice.Unit() * spread, oddPlaces);
        v.sz = dice.Field(dice.Unit(), oddDepths);
        v.rhw = dice.Field(0.01f + dice.Unit(), oddTextures);
        v.tu = dice.Field((dice.Unit() - 0.25f) * 2.0f, oddTextures);
        v.tv = dice.Field((dice.Unit() - 0.25f) * 2.0f, oddTextures);
        v.color = dice.Word();
        v.specular = dice.Word();
        if (dice.Below(4) == 0) {
            v.color = (v.color & 0xFF000000) | (v.color & 0xFF) * 0x010101;
        }
        if (dice.Below(8) == 0) {
            v.sx = v.sy = static_cast<float>(dice.Below(64)) + 0.5f;
        }
        if (dice.Below(6) == 0) {
            v.sy = vertices[0].sy;
        }
    }
    return vertices;
}

uint32_t TrianglesAMember() {
    const char* told = std::getenv("KORV_MEMBER_TRIANGLES");
    return told != nullptr ? static_cast<uint32_t>(std::strtoul(told, nullptr, 10)) : 12000;
}

std::string FirstDifference(const Words& linked, const Words& dll) {
    const auto [left, right] = std::mismatch(linked.begin(), linked.end(), dll.begin(), dll.end());
    if (left == linked.end() && right == dll.end()) {
        return "";
    }
    char line[96];
    std::snprintf(line, sizeof line, "word %zu of %zu and %zu: %08X and %08X",
                  static_cast<size_t>(left - linked.begin()), linked.size(), dll.size(),
                  left == linked.end() ? 0 : *left, right == dll.end() ? 0 : *right);
    return line;
}

struct Outcomes {
    uint32_t compared = 0, passedOver = 0, passedOverDiffering = 0;
    size_t words = 0;
    uint64_t hash = 0xCBF29CE484222325; // of all that were compared
};

Outcomes CompareMember(const Member& member, Renderer linked, Renderer dll) {
    MemberDice dice(std::accumulate(member.name, member.name + std::strlen(member.name), 7u,
                                    [](uint32_t sum, char c) { return sum * 31 + c; }));
    auto rig = std::make_unique<MemberRig>();
    Outcomes outcomes;
    // One record a call wherever a batch holds odd values, so that a sample is one triangle; whole
    // batches, strips too, where every value is usual.
    const uint32_t wanted = TrianglesAMember();
    uint32_t drawn = 0;
    uint32_t batches = 0;
    const bool line = member.primitive == Primitive::Line;
    while (drawn < wanted) {
        if (batches++ % kBatchesAState == 0) {
            rig->RollState(dice, member);
        }
        const std::vector<D3DTLVERTEX> vertices = RollVertices(dice);
        std::vector<D3DTRIANGLE> records(kBatchRecords);
        for (uint32_t i = 0; i < kBatchRecords; ++i) {
            D3DTRIANGLE& record = records[i];
            record.v1 = static_cast<WORD>(dice.Below(kBatchVertices));
            record.v2 = static_cast<WORD>(dice.Below(kBatchVertices));
            record.v3 = static_cast<WORD>(dice.Below(kBatchVertices));
            record.wFlags = static_cast<WORD>(line ? record.v1 : 0x700); // two lines, or a triangle
            if (!line && i != 0 && dice.Below(2) == 0) {
                // Goes on from the last one.
                const D3DTRIANGLE& last = records[i - 1];
                record.v1 = last.v2;
                record.v2 = last.v3;
                record.wFlags = D3DTRIFLAG_EVEN | 0x700;
            }
        }
        const bool whole = dice.Below(3) == 0;
        const uint8_t bytes = line ? sizeof(D3DLINE) : sizeof(D3DTRIANGLE);
        const size_t samples = whole ? 1 : kBatchRecords;
        for (size_t i = 0; i < samples; ++i) {
            std::vector<D3DTRIANGLE> sample = records;
            size_t count = kBatchRecords;
            if (!whole) {
                sample = {records[i]};
                count = 1;
                if (i != 0 && sample[0].wFlags == (D3DTRIFLAG_EVEN | 0x700)) {
                    sample = {records[i - 1], records[i]};
                    count = 2;
                }
            }
            drawn += count;
            TakeFloatEvents();
            const Words own = rig->Draw(linked, vertices, sample, bytes, count);
            const uint32_t events = TakeFloatEvents();
            Words other;
            {
                const host::DriverCall call;
                other = rig->Draw(dll, vertices, sample, bytes, count);
            }
            // Where two NaNs meet, x87 and SSE pass on different ones, and the sign of a NaN
            // decides which way it saturates and what is culled. A denormal product is rounded once
            // by SSE and twice by x87. Such samples only have to come to an end.
            const std::string difference = FirstDifference(own, other);
            if ((events & (kInvalid | kDenormal | kUnderflow)) != 0) {
                ++outcomes.passedOver;
                outcomes.passedOverDiffering += !difference.empty();
                continue;
            }
            ++outcomes.compared;
            outcomes.words += own.size();
            for (const uint32_t word : own) {
                outcomes.hash = (outcomes.hash ^ word) * 0x100000001B3;
            }
            if (!difference.empty()) {
                ADD_FAILURE() << "batch " << batches << ", sample " << i << ": " << difference;
                return outcomes;
            }
        }
    }
    return outcomes;
}

const std::vector<host::loader::RendererPair>& Pairs() {
    static const auto pairs = host::loader::PairRenderers(DllPath());
    return pairs;
}

Renderer OfTheDll(Renderer linked) {
    for (const auto& pair : Pairs()) {
        if (pair.linked == linked) {
            return pair.dll;
        }
    }
    return nullptr;
}

// Members that the DLL has under no state of any chip.
constexpr Renderer kUnpicked[] = {RenderRGBPoint,
                                  DrawAsking<Glint_Tri_Z_Visible>,
                                  DrawAsking<Delta_Tri_Z_Visible>,
                                  Delta_Tri_XY_16BIT_MONO_FLAT,
                                  Delta_Tri_XYZ_STQ_RGBFS,
                                  Delta_TriWire_XYZ_STQ_RGBFS,
                                  Delta_Line_XYZ_STQ_RGBFS};

class DllMembers : public testing::TestWithParam<Member> {};

TEST_P(DllMembers, MakeTheWordsOfTheLinkedDriver) {
    const Member& member = GetParam();
    const Renderer dll = OfTheDll(member.draw);
    if (dll == nullptr) {
        EXPECT_TRUE(std::count(std::begin(kUnpicked), std::end(kUnpicked), member.draw) != 0);
        GTEST_SKIP() << "no state picks it";
    }
    const Outcomes outcomes = CompareMember(member, member.draw, dll);
    EXPECT_GT(outcomes.compared * 2, outcomes.passedOver) << "too few to compare";
    EXPECT_GT(outcomes.words, outcomes.compared * 3u);
    RecordProperty("compared", static_cast<int>(outcomes.compared));
    if (const char* name = std::getenv("KORV_MEMBER_HASHES")) {
        std::ofstream(name, std::ios::app)
            << member.name << ' ' << outcomes.compared << ' ' << outcomes.words << ' ' << std::hex
            << outcomes.hash << std::dec << " passed over " << outcomes.passedOver << " differing "
            << outcomes.passedOverDiffering << '\n';
    }
}

INSTANTIATE_TEST_SUITE_P(AllMembers, DllMembers, testing::ValuesIn(kMembers),
                         [](const auto& info) { return std::string(info.param.name); });

float Power(MemberDice& dice, int lowest, int highest) {
    return std::ldexp(1.0f + dice.Unit(),
                      lowest + static_cast<int>(dice.Below(highest - lowest + 1)));
}

D3DTLVERTEX UsualVertex(MemberDice& dice) {
    D3DTLVERTEX v{};
    v.sx = dice.Unit() * 300.0f;
    v.sy = dice.Unit() * 300.0f;
    v.sz = dice.Unit();
    v.rhw = 1.0f;
    v.color = dice.Word();
    v.specular = dice.Word();
    v.tu = dice.Unit();
    v.tv = dice.Unit();
    return v;
}

float EitherSign(MemberDice& dice, float x) {
    return dice.Below(2) == 0 ? x : -x;
}

void CullNothing(D3DContext& ctx) {
    ctx.CullMode = D3DCULL_NONE;
    ctx.CullSignA = ctx.CullSignB = 0;
}

void CullOneSide(MemberDice& dice, D3DContext& ctx) {
    ctx.CullMode = D3DCULL_CW + dice.Below(2);
    ctx.CullSignA = 0x80000000;
    ctx.CullSignB = ctx.CullMode == D3DCULL_CW ? 0x80000000 : 0;
}

// In half of all triangles two vertices lie in one row.
void LevelAnEdge(MemberDice& dice, std::vector<D3DTLVERTEX>& vertices) {
    if (dice.Below(2) == 0) {
        const uint32_t first = dice.Below(3);
        vertices[first].sy = vertices[(first + 1) % 3].sy;
    }
}

// Triangles that `roll` makes of usual ones, by both drivers.
class DllExtremes : public testing::Test {
  protected:
    template <typename Take, typename Roll>
    void Compare(Take&& takes, Roll&& roll) {
        for (const Member& member : kMembers) {
            const Renderer dll = OfTheDll(member.draw);
            if (dll == nullptr || member.primitive != Primitive::Triangle || !takes(member)) {
                continue;
            }
            SCOPED_TRACE(member.name);
            MemberDice dice(5);
            auto rig = std::make_unique<MemberRig>();
            for (int sample = 0; sample < 200; ++sample) {
                rig->RollState(dice, member);
                std::vector<D3DTLVERTEX> vertices = {UsualVertex(dice), UsualVertex(dice),
                                                     UsualVertex(dice)};
                roll(dice, *rig, vertices);
                const std::vector<D3DTRIANGLE> record = {{0, 1, 2, 0x700}};
                const Words linked =
                    rig->Draw(member.draw, vertices, record, sizeof(D3DTRIANGLE), 1);
                Words other;
                {
                    const host::DriverCall call;
                    other = rig->Draw(dll, vertices, record, sizeof(D3DTRIANGLE), 1);
                }
                ASSERT_EQ(FirstDifference(linked, other), "") << "sample " << sample;
                const bool drawn = linked.size() > kWordsAround;
                drawn_ += drawn;
                dropped_ += !drawn;
            }
        }
    }

    uint32_t drawn_ = 0, dropped_ = 0;

  private:
    // Of a batch, at most, that draws nothing.
    static constexpr size_t kWordsAround = 4;
};

// Both products of an area leave the range of singles, and their difference is a NaN, whose sign
// drops a triangle or keeps it. In registers the difference would be a number of either sign.
TEST_F(DllExtremes, AnAreaOfTwoInfinitiesIsTheSame) {
    Compare([](const Member& member) { return member.setup != Setup::Host; },
            [](MemberDice& dice, MemberRig& rig, std::vector<D3DTLVERTEX>& vertices) {
                CullOneSide(dice, rig.ctx);
                // 2^64 to 2^65 says nothing about a product.
                const int highest = dice.Below(2) == 0 ? 64 : 70;
                for (D3DTLVERTEX& v : vertices) {
                    v.sx = EitherSign(dice, Power(dice, 64, highest));
                    v.sy = EitherSign(dice, Power(dice, 64, highest));
                }
            });
    EXPECT_GT(drawn_, dropped_ / 2);
    EXPECT_GT(dropped_, drawn_ / 2);
}

// The distance of two vertices is infinite, and so is its product with a tiny one. In registers it
// would be a number, and the other product could decide.
TEST_F(DllExtremes, AnAreaOfAnInfiniteDistanceIsTheSame) {
    Compare([](const Member&) { return true; },
            [](MemberDice& dice, MemberRig& rig, std::vector<D3DTLVERTEX>& vertices) {
                CullOneSide(dice, rig.ctx);
                const bool upright = rig.ctx.UseDelta == 0 || dice.Below(2) == 0;
                // Of a row that is a power of two the low bits look like the first row's.
                const float odd = dice.Below(2) == 0 ? 0.0f : 0.99f * dice.Unit();
                const float end = EitherSign(dice, std::ldexp(1.0f + odd, 127));
                // Like X of 2.0 to 2^17, by most bits.
                const bool tiniest = dice.Below(2) == 0;
                const uint32_t farthest = dice.Below(3);
                for (uint32_t i = 0; i < 3; ++i) {
                    D3DTLVERTEX& v = vertices[i];
                    const float far = i == farthest ? end : -end;
                    const float near = tiniest ? Power(dice, -115, -113) : Power(dice, -100, -80);
                    v.sx = upright ? near : far;
                    v.sy = upright ? far : near;
                }
                vertices[(farthest + 1) % 3].sy *= dice.Below(2) == 0 ? 0.0f : dice.Unit();
            });
    EXPECT_GT(drawn_, 0u);
    EXPECT_GT(dropped_, 0u);
}

// A negative Q lies so far out that its product with a coordinate is infinite. In registers it
// would be a number: another product could decide a slope's sign, and 0 times it would be no NaN.
TEST_F(DllExtremes, AnInfiniteProductOfANegativeQIsTheSame) {
    Compare([](const Member& member) { return member.setup == Setup::Host; },
            [](MemberDice& dice, MemberRig& rig, std::vector<D3DTLVERTEX>& vertices) {
                CullNothing(rig.ctx);
                const uint32_t first = dice.Below(3), count = 1 + dice.Below(2);
                for (uint32_t i = 0; i < 3; ++i) {
                    D3DTLVERTEX& v = vertices[i];
                    v.tu = Power(dice, -3, 0);
                    v.tv = Power(dice, -3, 0);
                    v.rhw = (i + 3 - first) % 3 < count ? -Power(dice, 126, 127) : 1.0f;
                }
                LevelAnEdge(dice, vertices);
            });
    EXPECT_EQ(dropped_, 0u);
}

// The same of a texture's coordinate and the texture's size.
TEST_F(DllExtremes, AnInfiniteCoordinateOfATexelIsTheSame) {
    Compare([](const Member& member) { return member.setup == Setup::Host; },
            [](MemberDice& dice, MemberRig& rig, std::vector<D3DTLVERTEX>& vertices) {
                CullNothing(rig.ctx);
                const uint32_t first = dice.Below(3), count = 1 + dice.Below(2);
                for (uint32_t i = 0; i < count; ++i) {
                    D3DTLVERTEX& v = vertices[(first + i) % 3];
                    (dice.Below(2) == 0 ? v.tu : v.tv) = EitherSign(dice, Power(dice, 117, 127));
                }
                LevelAnEdge(dice, vertices);
            });
    EXPECT_EQ(dropped_, 0u);
}

// The distance of two vertices on the texture is infinite, and so is the area that chooses a level.
// In registers it would be a usual number.
TEST_F(DllExtremes, AnInfiniteAreaOfTexelsIsTheSame) {
    Compare([](const Member& member) { return member.mipMapped; },
            [](MemberDice& dice, MemberRig& rig, std::vector<D3DTLVERTEX>& vertices) {
                CullNothing(rig.ctx);
                const float end = EitherSign(dice, Power(dice, 127, 127));
                const uint32_t farthest = dice.Below(3);
                for (uint32_t i = 0; i < 3; ++i) {
                    vertices[i].tu = i == farthest ? end : -end;
                    vertices[i].tv = Power(dice, -126, -110);
                }
            });
    EXPECT_GT(drawn_, dropped_);
}

} // namespace
} // namespace test
