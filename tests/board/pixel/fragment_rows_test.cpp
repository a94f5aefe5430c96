// Rows at once draw what pixels one by one draw: on random mode words, interpolants and spans, on
// all chips, both memories are the same afterwards, and so are the counts. So are they under a
// probe, which is told of every pixel and all that changes.
#include "board/pixel/fragment_rows.h"
#include "board/values/row.h"
#include "chip/registers.h"
#include "tests/board/pixel/shadow_probe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

namespace board {

namespace {

constexpr uint32_t kMemoryBytes = 1u << 16;

class RandomDrawing {
  public:
    RandomDrawing(ChipModel model, uint32_t seed) : chip(DeviceOf(model)), random_(seed) {
        for (MemoryBlock* memory : {&start_.frameBuffer, &start_.localBuffer}) {
            memory->Init(kMemoryBytes, {});
            std::ranges::copy(Noise(), memory->begin());
        }
        for (auto* table : {&tables_.small, &tables_.large}) {
            std::generate(table->words.begin(), table->words.end(), [&] { return Next(); });
        }
        ChooseTarget();
        ChooseTests();
        ChooseColours();
        ChooseTexture();
        uint32_t render = 0x40;
        render |= OneIn(4) ? 0u : field::Render_SubPixelCorrection.Mask();
        render |= OneIn(3) ? 0u : field::Render_Texture.Mask();
        render |= OneIn(2) ? 0u : field::Render_Fog.Mask();
        render |= OneIn(2) ? 0u : field::Render_AreaStipple.Mask();
        registers_.Set(tag::Render, render);
    }

    // Draws some spans both ways; what differs afterwards, nothing if all is well.
    std::string Compare() {
        Memories single = start_;
        Memories rows = start_;
        FaultCounts singleFaults, rowFaults;
        PickUnit singlePick, rowPick;
        singlePick.Configure(registers_);
        rowPick.Configure(registers_);
        const PipelineState one =
            DecodePipeline(chip, registers_, single, host_, tables_, singleFaults);
        const PipelineState all = DecodePipeline(chip, registers_, rows, host_, tables_, rowFaults);
        const RowPlan plan = PlanRows(all);
        for (int i = 0; i < 6; ++i) {
            const Interpolants interpolants = ChooseInterpolants();
            const Span span = ChooseSpan();
            DrawSpan(one, nullptr, span, interpolants, singlePick, singleFaults);
            if (plan.possible && Inside(all, span)) {
                // Whether it is drawn at once is told to the test's own counts.
                Memories scratch = rows;
                FaultCounts none;
                const PipelineState state =
                    DecodePipeline(chip, registers_, scratch, host_, tables_, none);
                PickUnit pick;
                atOnce += DrawFragmentRow(PlanRows(state), state, span, interpolants, pick);
            }
            ++spans;
            DrawSpan(all, &plan, span, interpolants, rowPick, rowFaults);
            if (single.frameBuffer != rows.frameBuffer) {
                return "frame buffer after span " + std::to_string(i);
            }
            if (single.localBuffer != rows.localBuffer) {
                return "local buffer after span " + std::to_string(i);
            }
            if (singleFaults.badMemoryAccesses != rowFaults.badMemoryAccesses) {
                return "bad accesses after span " + std::to_string(i);
            }
            if (singlePick.Picked() != rowPick.Picked()) {
                return "pick result after span " + std::to_string(i);
            }
        }
        changed += single.frameBuffer != start_.frameBuffer;
        return "";
    }

    // The same under a probe.
    std::string CompareWatched() {
        Memories plain = start_;
        Memories watched = start_;
        FaultCounts plainFaults, watchedFaults;
        PickUnit plainPick, watchedPick;
        plainPick.Configure(registers_);
        watchedPick.Configure(registers_);
        const PipelineState one =
            DecodePipeline(chip, registers_, plain, host_, tables_, plainFaults);
        const PipelineState other =
            DecodePipeline(chip, registers_, watched, host_, tables_, watchedFaults);
        ShadowProbe shadow(start_);
        int64_t covered = 0;
        for (int i = 0; i < 3; ++i) {
            const Interpolants interpolants = ChooseInterpolants();
            const Span span = ChooseSpan();
            DrawSpan(one, nullptr, span, interpolants, plainPick, plainFaults);
            WatchSpan(other, nullptr, span, interpolants, watchedPick, watchedFaults, shadow);
            covered += span.right - span.left;
        }
        return plain.frameBuffer != watched.frameBuffer || plain.localBuffer != watched.localBuffer
                   ? "memories"
               : shadow.memories.frameBuffer != watched.frameBuffer ||
                       shadow.memories.localBuffer != watched.localBuffer
                   ? "what the probe was told"
               : plainFaults.badMemoryAccesses != watchedFaults.badMemoryAccesses ? "bad accesses"
               : plainPick.Picked() != watchedPick.Picked()                       ? "pick result"
               : shadow.pixels + shadow.cut != covered                            ? "pixels told"
                                                                                  : shadow.wrong;
    }

    const DeviceRow& chip;
    int spans = 0, atOnce = 0, changed = 0;

  private:
    static const ZeroedBytes& Noise() {
        static const ZeroedBytes noise = [] {
            std::mt19937 random(1);
            ZeroedBytes bytes(kMemoryBytes);
            std::generate(bytes.begin(), bytes.end(),
                          [&] { return static_cast<uint8_t>(random()); });
            return bytes;
        }();
        return noise;
    }
    uint32_t Next() { return static_cast<uint32_t>(random_()); }
    uint32_t Below(uint32_t end) { return Next() % end; }
    bool OneIn(uint32_t chances) { return Below(chances) == 0; }
    int64_t Between(int64_t low, int64_t high) {
        return low + static_cast<int64_t>(Below(static_cast<uint32_t>(high - low + 1)));
    }
    void Put(const Field& field, uint32_t value) {
        const uint32_t number = field.Tag();
        registers_.Set(number, field.Put(registers_[number], value));
    }
    uint32_t Pitch() { return OneIn(12) ? 0u : OneIn(4) ? Below(4) | Below(4) << 3 : Below(4); }

    static bool Inside(const PipelineState& state, const Span& span) {
        const auto holds = [&](const Plane& plane) {
            return plane.Index(span.left, span.y) >= 0 &&
                   plane.Index(span.right - 1, span.y) < plane.elements;
        };
        return !span.Empty() && (!state.drawsPixels || holds(state.pixels)) &&
               (!state.depth.Touches() || holds(state.depth.plane));
    }

    void ChooseTarget() {
        constexpr uint32_t kPixelCodes[] = {0, 1, 2, 2, 1, 4};
        const uint32_t code = kPixelCodes[Below(chip.IsPermedia() ? 6 : 5)];
        registers_.Set(tag::FBReadPixel, code);
        registers_.Set(tag::PixelSize, code == 0 ? 2 : code == 1 ? 1 : 0);
        registers_.SetAperture(reg::FBModeSel, Next());
        registers_.Set(tag::FBReadMode,
                       Pitch() | (OneIn(2) ? field::FBReadMode_ReadDest.Mask() : 0u));
        registers_.Set(tag::FBWriteConfig, (registers_[tag::FBReadMode] & 0x1FF) |
                                               (OneIn(12) ? field::FBReadMode_Patched.Mask() : 0u));
        registers_.Set(tag::FBPixelOffset, Below(2048));
        registers_.Set(tag::FBWriteMode, OneIn(10) ? 0 : 1);
        if (OneIn(3)) {
            registers_.Set(tag::ScissorMode, 1);
            registers_.Set(tag::ScissorMinXY, Below(10) << 16 | Below(30));
            registers_.Set(tag::ScissorMaxXY, (10 + Below(30)) << 16 | (20 + Below(200)));
        }
        if (OneIn(6)) {
            registers_.Set(tag::FBHardwareWriteMask, Next());
        }
        if (OneIn(6)) {
            registers_.Set(tag::FBSoftwareWriteMask, Next());
        }
        if (OneIn(4)) {
            registers_.Set(tag::LogicalOpMode, 1 | Below(16) << 1 | (OneIn(4) ? 1u << 5 : 0));
        }
        registers_.Set(tag::FBWriteData, Next());
        if (OneIn(4)) {
            registers_.Set(tag::StatisticMode, 1);
            registers_.Set(tag::MinRegion, Below(30) << 16 | Below(200));
            registers_.Set(tag::MaxRegion, Below(40) << 16 | Below(250));
        }
    }

    void ChooseTests() {
        if (OneIn(4)) {
            registers_.Set(tag::AreaStippleMode, 1 | Below(8) << 1 | Below(8) << 4);
            for (uint32_t i = 0; i < 32; ++i) {
                registers_.Set(tag::AreaStipplePattern0 + i, Next());
            }
        }
        if (OneIn(4)) {
            registers_.Set(tag::AlphaTestMode, 1 | Below(8) << 1 | Below(256) << 4);
        }
        registers_.Set(tag::LBReadMode, Pitch() | (OneIn(4) ? 0u : 1u << 10));
        registers_.Set(tag::LBWriteMode, OneIn(4) ? 0 : 1);
        registers_.Set(tag::LBReadFormat, OneIn(2) ? 0 : 2);
        // On the Permedia family it may well lie in the pixels.
        registers_.Set(tag::LBWindowBase, Below(4) * 4096 + Below(64));
        if (!OneIn(3)) {
            registers_.Set(tag::DepthMode,
                           1 | (OneIn(4) ? 0u : 2u) | (OneIn(4) ? 2u : 0u) << 2 | Below(8) << 4);
        }
        registers_.Set(tag::Depth, OneIn(2) ? Next() : Below(0x10000));
    }

    void ChooseColours() {
        registers_.Set(tag::ColorDDAMode, OneIn(3) ? Below(2) : 3);
        registers_.Set(tag::ConstantColor, Next());
        registers_.Set(tag::Color, Next());
        registers_.Set(tag::FogMode, Below(2));
        registers_.Set(tag::FogColor, Next());
        constexpr uint32_t kFormats[] = {0, 1, 2, 5, 9, 0xE};
        const uint32_t format = kFormats[Below(6)] << 8 | Below(2) << 13 | Below(2) << 16;
        if (OneIn(2)) {
            registers_.Set(tag::AlphaBlendMode, 1 | Below(10) << 1 | Below(8) << 5 | format);
        }
        if (!OneIn(5)) {
            registers_.Set(tag::DitherMode, 1 | Below(2) << 1 | kFormats[Below(6)] << 2 |
                                                Below(2) << 10 | Below(2) << 16);
        }
    }

    void ChooseTexture() {
        registers_.Set(tag::TextureAddressMode, 1 | Below(2) << 1 | Below(2) << 7);
        constexpr uint32_t kApplications[] = {0, 1, 3, 4, 5, 7};
        registers_.Set(tag::TextureColorMode, (OneIn(8) ? 0 : 1) | kApplications[Below(6)] << 1 |
                                                  Below(2) << 6 | Below(2) << 7 | Below(2) << 9);
        const uint32_t logWidth = Below(8);
        const uint32_t logHeight = OneIn(2) ? logWidth : Below(8);
        const auto ordered = [&](uint32_t lower, uint32_t upper) {
            const uint32_t low = Next() & Next();
            registers_.Set(lower, low & 0x7F7F7F7F);
            registers_.Set(upper, low | Next());
        };
        if (chip.IsPermedia()) {
            const bool patched = OneIn(3);
            registers_.Set(tag::TextureBaseAddress, Below(0x4000));
            registers_.Set(tag::TextureMapFormat, (OneIn(4) ? Pitch() : 1 + Below(4)) |
                                                      (patched ? 1u << 17 : 0) | Below(5) << 19);
            constexpr uint32_t kFormats[] = {0, 1, 2, 3, 5, 9, 14, 15};
            // Indices have 8 bits at most.
            const uint32_t format = kFormats[Below(8)];
            if (format >= 14) {
                Put(field::TextureMapFormat_TexelSize, OneIn(2) ? 0 : 3);
            }
            registers_.Set(tag::TextureDataFormat,
                           format | Below(2) << 4 | Below(2) << 5 | Below(2) << 6);
            registers_.Set(tag::TextureReadMode, 1 | Below(3) << 1 | Below(3) << 3 | logWidth << 9 |
                                                     logHeight << 13 | Below(2) << 17);
            registers_.Set(tag::TexelLUTMode, Below(2));
            registers_.Set(tag::YUVMode, (OneIn(16) ? 1u : 0u) | (OneIn(3) ? 2u : 0u) << 1);
            ordered(tag::ChromaLowerBound, tag::ChromaUpperBound);
            return;
        }
        for (uint32_t i = 0; i < kMaxLevels; ++i) {
            registers_.Set(tag::TextureBaseAddr0 + i, Below(1u << 17) & ~31u);
        }
        registers_.Set(tag::TextureFormat,
                       Below(2) << 1 | Below(2) << 2 | Below(4) << 3 | (OneIn(6) ? 1u : 0u) << 5);
        registers_.Set(tag::GlintTextureReadMode,
                       1 | logWidth << 1 | logHeight << 5 | (2 + Below(4)) << 9 | Below(2) << 14 |
                           Below(6) << 15 | Below(3) << 18 | Below(3) << 20 | Below(2) << 23);
        registers_.Set(tag::TextureFilterMode, OneIn(4) ? 3 : 1);
        ordered(tag::TextureChromaLower, tag::TextureChromaUpper);
    }

    // Mostly within a unit over a row, at times far outside.
    Interpolant Vary(int64_t low, int64_t high) {
        const int64_t from = Between(low, high);
        const int64_t to = Between(low, high);
        Interpolant result{from, (to - from) / static_cast<int64_t>(1 + Below(300)),
                           Between(low, high) / 64};
        if (OneIn(24)) {
            result.dx = static_cast<int64_t>(random_()) << Below(32);
        }
        if (OneIn(24)) {
            result.value = static_cast<int64_t>(random_()) << Below(32);
        }
        return result;
    }

    Interpolants ChooseInterpolants() {
        using I = Interpolants;
        Interpolants values{};
        for (const int channel : {I::Red, I::Green, I::Blue, I::Alpha}) {
            values.channels[channel] = Vary(-(20 << 15), 280 << 15);
        }
        values.channels[I::Fog] = Vary(-(1 << 20), 5 << 20);
        values.channels[I::Depth] =
            OneIn(2) ? Vary(0, 0x7FFFFFFF) : Vary(-(int64_t{1} << 30), 0x7FFFFFFF);
        if (OneIn(3)) {
            values.channels[I::Depth].value <<= 8;
        }
        const int64_t texels = OneIn(3) ? 40 : 400;
        const int64_t unit = chip.IsPermedia() ? 1 << 20 : 1 << 22;
        values.channels[I::S] = Vary(-texels * unit, texels * unit);
        values.channels[I::T] = Vary(-texels * unit, texels * unit);
        values.channels[I::Q] = OneIn(8) ? Vary(-(1 << 28), 1 << 30) : Vary(1 << 26, 1 << 30);
        values.channels[I::Ks] = Vary(-(1 << 20), 5 << 20);
        values.dominantStep = Between(-(3 << 16), 3 << 16);
        return values;
    }

    Span ChooseSpan() {
        Span span{};
        span.y = Between(0, 40);
        span.left = Between(0, 100);
        span.right = span.left + Between(1, OneIn(3) ? 300 : 20);
        if (OneIn(20)) {
            span.y = Between(-20, 2000);
            span.left -= 60;
        }
        span.leftward = OneIn(2);
        span.lead = static_cast<int64_t>(Below(0x10000));
        return span;
    }

    std::mt19937_64 random_;
    RegisterFile registers_;
    Memories start_;
    HostMemory host_;
    LookupTables tables_;
};

class FragmentRows : public testing::TestWithParam<ChipModel> {};

TEST_P(FragmentRows, DrawWhatPixelsOneByOneDraw) {
    constexpr uint32_t kModes = 1000;
    int spans = 0, atOnce = 0, changed = 0;
    for (uint32_t seed = 0; seed < kModes; ++seed) {
        RandomDrawing drawing(GetParam(), seed);
        ASSERT_EQ(drawing.Compare(), "") << "seed " << seed;
        spans += drawing.spans;
        atOnce += drawing.atOnce;
        changed += drawing.changed;
    }
    // Both ways are taken, and something is drawn.
    EXPECT_GT(atOnce, spans / 3);
    EXPECT_LT(atOnce, spans);
    EXPECT_GT(changed, static_cast<int>(kModes / 2));
}

TEST_P(FragmentRows, AreToldToAProbePixelByPixel) {
    for (uint32_t seed = 0; seed < 300; ++seed) {
        RandomDrawing drawing(GetParam(), seed);
        ASSERT_EQ(drawing.CompareWatched(), "") << "seed " << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(AllChips, FragmentRows,
                         testing::Values(ChipModel::SX, ChipModel::TX, ChipModel::MX,
                                         ChipModel::Permedia, ChipModel::Permedia2));

} // namespace

} // namespace board
