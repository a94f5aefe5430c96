// Vertices that no screen has: a member may make any words of them, but keeps to its records, its
// reservations and the levels there are, and makes the same words under DMA and in FIFO mode.
#include "driver/raster/reciprocal.h"
#include "driver/texture/textures.h"
#include "tests/driver/raster/members.h"
#include "tests/driver/raster/raster_rig.h"
#include "tests/support/guarded_pages.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstring>
#include <numeric>
#include <random>
#include <string>

namespace test {
namespace {

using Words = std::vector<uint32_t>;

constexpr size_t kVertices = 128; // one page of them
constexpr size_t kMostRecords = 300;
constexpr uint32_t kHeadWords = 12; // of a first Permedia's sub-buffers
constexpr uint32_t kLevelBase = 0xA0000000;

// The sign of a NaN that arithmetic makes is the compiler's: a sanitizer's build folds a negation
// into one of the two carriers' renderers and not into the other's, and a conversion saturates by
// that sign. All other builds make the same words.
#ifdef __SANITIZE_ADDRESS__
constexpr bool kSignOfNaNIsOpen = true;
#else
constexpr bool kSignOfNaNIsOpen = false;
#endif

bool IsSaturated(uint32_t word) {
    return word == 0x7FFFFFFF || word == 0x80000000;
}

class Wild {
  public:
    explicit Wild(uint32_t seed) : random_(seed) {}

    uint32_t Pick(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
    uint32_t Word() { return static_cast<uint32_t>(random_()); }

    // With `oneNaN` the only NaN is the one that the processor itself makes, so that it does not
    // matter which operand of a sum comes first: the sign of a NaN decides culls and levels.
    float Number(bool oneNaN) {
        const float unit = static_cast<float>(random_() >> 8) / 16777216.0f;
        switch (Pick(10)) {
        case 0:
        case 1:
            return (unit - 0.5f) * 2e9f;
        case 2: {
            const uint32_t bits = Word();
            return std::bit_cast<float>(oneNaN && IsNaN(bits) ? kNaN : bits);
        }
        case 3: {
            const uint32_t bits = (Word() & 0x803FFFFF) | 0x7F800001; // any NaN
            return std::bit_cast<float>(oneNaN ? kNaN : bits | (Word() & 0x400000));
        }
        case 4:
            return std::bit_cast<float>(0x7F800000 | (Word() & 0x80000000));
        case 5:
            return std::bit_cast<float>(Word() & 0x807FFFFF); // denormal
        case 6: {
            constexpr float kEdges[] = {
                0.0f,    0.5f,          1.0f,          2048.0f,    4095.0f,     4096.0f,
                8192.0f, 65536.0f,      8388607.0f,    8388608.0f, 16777216.0f, 1.0e9f,
                3.4e38f, 2147483520.0f, 2147483648.0f, 1.0e-38f,   1.0e-30f,    4294967296.0f};
            const float edge = kEdges[Pick(std::size(kEdges))];
            return Pick(2) == 0 ? edge : -edge;
        }
        default:
            return unit * 640.0f;
        }
    }

    static bool IsNaN(uint32_t bits) { return (bits & 0x7FFFFFFF) > 0x7F800000; }
    static constexpr uint32_t kNaN = 0xFFC00000;

  private:
    std::mt19937 random_;
};

// One display with contexts for both carriers, over memory that may not be left.
class Stage {
  public:
    Stage() : words_{GuardedPages(1), GuardedPages(1)}, vertices_(1), records_(1) {
        target_.lpGbl = &targetGlobal_;
        targetGlobal_.wWidth = 640;
        targetGlobal_.wHeight = 480;
        for (RasterRig* rig : {&dma_, &fifo_}) {
            rig->ctx.RenderTargetSurface = &target_;
            rig->ctx.CurrentTexture = &texture_;
        }
        CommandStream& stream = dma_.ctx.Stream;
        const auto perBuffer = static_cast<uint32_t>(words_[0].Bytes() / 4);
        stream.SubBufferCount = 2;
        stream.SubBufferWords = perBuffer;
        for (uint32_t i = 0; i < 2; ++i) {
            auto* first = words_[i].First<uint32_t>(perBuffer);
            stream.SubBuffers[i] = {0, first, first + perBuffer - 1};
        }
        stream.StartDMA = [](DriverData*, uint32_t, uint32_t count, uint32_t, uint32_t* linear,
                             uint32_t) {
            Keep(linear, count);
            return 0;
        };
    }

    void RandomState(Wild& wild, const Member& member) {
        static constexpr uint32_t kHost[] = {DeviceSX, DeviceTX, DeviceMX, DevicePermedia, 0x3D04};
        static constexpr uint32_t kP2[] = {DevicePermedia2, 0x3D07};
        const uint32_t device =
            member.setup == Setup::Permedia2 ? kP2[wild.Pick(2)] : kHost[wild.Pick(5)];
        D3DContext state = dma_.ctx;
        state.RenderFlags = wild.Word();
        state.RenderCommand = wild.Word();
        state.CullMode = 1 + wild.Pick(3);
        state.CullSignA = state.CullMode == D3DCULL_NONE ? 0 : 0x80000000;
        state.CullSignB = state.CullMode == D3DCULL_CW ? 0x80000000 : 0;
        state.UseDelta = member.setup != Setup::Host;
        state.BlendForcesZeroAlpha = wild.Pick(2);
        state.BytesPerPixel = 1 + wild.Pick(4);
        state.StippleIndex = wild.Pick(17);
        state.TextureMagLinear = wild.Pick(2);
        state.TextureMinLinear = wild.Pick(2);
        const uint32_t logU = wild.Pick(12);
        const uint32_t logV = wild.Pick(12);
        state.TextureWidth = static_cast<float>(1u << logU);
        state.TextureHeight = static_cast<float>(1u << logV);
        state.TextureWidthScale = state.TextureWidth / 2048;
        state.TextureHeightScale = state.TextureHeight / 2048;
        state.TextureRepeatU = static_cast<float>(2048u >> logU);
        state.TextureRepeatV = static_cast<float>(2048u >> logV);
        state.TextureRepeatMaskU = (2048u >> logU) - 1;
        state.TextureRepeatMaskV = (2048u >> logV) - 1;
        auto* copies = reinterpret_cast<uint32_t*>(&state.Copies);
        for (size_t i = 0; i < sizeof(state.Copies) / 4; ++i) {
            copies[i] = wild.Word();
        }
        for (RasterRig* rig : {&dma_, &fifo_}) {
            const CommandStream stream = rig->ctx.Stream;
            DriverData* const driver = rig->ctx.Driver;
            rig->ctx = state;
            rig->ctx.Stream = stream;
            rig->ctx.Driver = driver;
            rig->chip.DeviceId = device;
            rig->chip.Family = IsGlint(device) ? FamilyGlint : FamilyPermedia;
        }
        std::memset(static_cast<void*>(&texture_), 0xEE, sizeof(texture_));
        texture_.TexelCount = static_cast<float>(1u << (logU + logV));
        texture_.LevelCount = wild.Pick(40);
        for (uint32_t i = 0; i < kMaxTextureLevels; ++i) {
            texture_.Levels[i] = {wild.Pick(12),
                                  wild.Pick(12),
                                  1.0f / static_cast<float>(1u << i),
                                  1.0f / static_cast<float>(2u << i),
                                  wild.Pick(8),
                                  wild.Pick(8),
                                  wild.Pick(8),
                                  kLevelBase + i};
        }
    }

    // Draws in both modes and compares them. `atEnd`: what is read lies against the end of its
    // pages, else against the beginning.
    void Draw(Wild& wild, const Member& member, bool oneNaN, bool atEnd) {
        std::array<D3DTLVERTEX, kVertices> vertices;
        for (D3DTLVERTEX& v : vertices) {
            for (float* field : {&v.sx, &v.sy, &v.sz, &v.rhw, &v.tu, &v.tv}) {
                *field = wild.Number(oneNaN);
            }
            v.color = wild.Word();
            v.specular = wild.Word();
        }
        const uint32_t least =
            member.primitive == Primitive::Line ? sizeof(D3DLINE) : sizeof(D3DTRIANGLE);
        const uint32_t bytes = least + 4 * wild.Pick(2);
        const uint32_t count = 1 + wild.Pick(kMostRecords);
        std::vector<uint16_t> records(count * bytes / 2, 0xEEEE);
        const uint32_t indices = member.primitive == Primitive::Line ? 2 : 3;
        for (uint32_t i = 0; i < count; ++i) {
            for (uint32_t k = 0; k < indices; ++k) {
                records[i * bytes / 2 + k] = static_cast<uint16_t>(wild.Pick(kVertices));
            }
            if (indices == 3) {
                static constexpr uint16_t kCodes[] = {0, 1, 29, D3DTRIFLAG_ODD, D3DTRIFLAG_EVEN};
                records[i * bytes / 2 + 3] =
                    static_cast<uint16_t>(kCodes[wild.Pick(5)] | (wild.Word() & 0xFF00));
            }
        }
        const Words byDMA = DrawOn(dma_, member, vertices, records, bytes, atEnd);
        CheckLevels(byDMA, member);
        if (member.dmaOnly) {
            return;
        }
        const Words byFIFO = DrawOn(fifo_, member, vertices, records, bytes, atEnd);
        if (!oneNaN) {
            return;
        }
        ASSERT_EQ(byDMA.size(), byFIFO.size());
        for (size_t i = 0; i < byDMA.size(); ++i) {
            if (!kSignOfNaNIsOpen || !IsSaturated(byDMA[i]) || !IsSaturated(byFIFO[i])) {
                ASSERT_EQ(byDMA[i], byFIFO[i]) << "word " << i;
            }
        }
    }

  private:
    static bool IsGlint(uint32_t device) {
        return device == DeviceSX || device == DeviceTX || device == DeviceMX;
    }

    // Words of a sub-buffer. A first Permedia's head is told apart by its place; the very first
    // sub-buffer has none.
    static void Keep(const uint32_t* words, uint32_t count) {
        const uint32_t head = headed_ ? kHeadWords : 0;
        kept_.insert(kept_.end(), words + head, words + count);
        headed_ = heads_;
    }

    Words DrawOn(RasterRig& rig, const Member& member,
                 const std::array<D3DTLVERTEX, kVertices>& vertices,
                 const std::vector<uint16_t>& records, uint32_t bytes, bool atEnd) {
        static_assert(sizeof(vertices) == 4096); // against both ends
        auto* const at = vertices_.First<D3DTLVERTEX>(kVertices);
        std::memcpy(at, vertices.data(), sizeof(vertices));
        auto* const from = atEnd ? records_.Last<uint16_t>(records.size())
                                 : records_.First<uint16_t>(records.size());
        std::memcpy(from, records.data(), records.size() * 2);

        CommandStream& stream = rig.ctx.Stream;
        const bool dma = stream.CommandMode == kCommandModeDMA;
        kept_.clear();
        headed_ = false;
        heads_ = rig.chip.DeviceId == DevicePermedia || rig.chip.DeviceId == 0x3D04;
        if (dma) {
            stream.SubBufferFlushWords = 256;
            stream.SubBufferIndex = 0;
            stream.WritePointer = stream.SubBuffers[0].Linear;
        }
        stream.Guard.Allow(stream.WritePointer);
        if (member.asks) {
            rig.bus.output = {tag::PickResult, 1};
        }
        rig.bus.fifoSpace = 40;
        const D3DContext before = rig.ctx;

        D3DINSTRUCTION ins{0, static_cast<BYTE>(bytes),
                           static_cast<WORD>(records.size() * 2 / bytes)};
        member.draw(&rig.ctx, &ins, at, from);

        ExpectUntouched(before, rig.ctx);
        for (size_t i = 0; i < kVertices; ++i) {
            D3DTLVERTEX have = at[i];
            if (member.snaps) {
                have.sy = vertices[i].sy;
            }
            EXPECT_EQ(std::memcmp(&have, &vertices[i], sizeof(have)), 0) << "vertex " << i;
        }
        EXPECT_EQ(std::memcmp(from, records.data(), records.size() * 2), 0);
        if (dma) {
            Keep(stream.Current().Linear, stream.WordsWritten());
            return kept_;
        }
        const Words words = rig.bus.FifoWords();
        rig.bus.Clear();
        return words;
    }

    // Beyond its stream, a renderer keeps the stipple pattern and the level that the chip reads.
    static void ExpectUntouched(const D3DContext& before, const D3DContext& after) {
        D3DContext same = after;
        same.Stream = before.Stream;
        same.StippleIndex = before.StippleIndex;
        same.Copies.TextureReadMode = before.Copies.TextureReadMode;
        same.Copies.TextureMapFormat = before.Copies.TextureMapFormat;
        EXPECT_EQ(std::memcmp(&same, &before, sizeof(same)), 0);
        EXPECT_TRUE(after.StippleIndex < 16 || after.StippleIndex == before.StippleIndex);
    }

    // Each word that points the chip at a level has the address of one of the entries that the
    // chain may use.
    void CheckLevels(const Words& words, const Member& member) const {
        if (!member.mipMapped) {
            return;
        }
        const uint32_t bound = std::clamp<uint32_t>(texture_.LevelCount, 1, kMaxTextureLevels);
        size_t i = 0;
        while (i < words.size()) {
            const uint32_t header = words[i++];
            if ((header & 0x8000) != 0) {
                i += static_cast<size_t>(std::popcount(header >> 16));
                continue;
            }
            if (header == tag::TextureBaseAddress) {
                ASSERT_LT(words[i] - kLevelBase, bound);
            }
            i += (header >> 16) + 1;
        }
        ASSERT_EQ(i, words.size()) << "the last burst is not whole";
    }

    inline static Words kept_;
    inline static bool heads_;
    inline static bool headed_;

    RasterRig dma_{true};
    RasterRig fifo_{false};
    GuardedPages words_[2];
    GuardedPages vertices_;
    GuardedPages records_;
    TextureRecord texture_{};
    DDRAWI_DDRAWSURFACE_LCL target_{};
    DDRAWI_DDRAWSURFACE_GBL targetGlobal_{};
};

class WildVertices : public testing::TestWithParam<Member> {};

TEST_P(WildVertices, KeepToTheirRecordsAndReservations) {
    static Stage stage;
    const Member& member = GetParam();
    Wild wild(std::accumulate(member.name, member.name + std::strlen(member.name), 1u,
                              [](uint32_t sum, char c) { return sum * 31 + c; }));
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        stage.RandomState(wild, member);
        stage.Draw(wild, member, round % 2 == 0, round % 4 < 2);
        if (HasFailure()) {
            break;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllMembers, WildVertices, testing::ValuesIn(kMembers),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
} // namespace test
