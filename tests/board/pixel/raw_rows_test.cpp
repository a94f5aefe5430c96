// Fills, copies and updates of the local buffer by whole rows leave what pixels one by one leave:
// in random modes, with sources that overlap the target in both directions, in and out of the
// memory. So do they under a probe, which is told of all that changes.
#include "board/pixel/fragment_rows.h"
#include "board/pixel/raw_rows.h"
#include "chip/registers.h"
#include "tests/board/pixel/shadow_probe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace board {

namespace {

constexpr uint32_t kRawBytes = 1u << 14;

class RandomCopy {
  public:
    RandomCopy(ChipModel model, uint32_t seed) : chip_(DeviceOf(model)), random_(seed) {
        for (auto* memory : {&start_.frameBuffer, &start_.localBuffer}) {
            memory->Init(kRawBytes, {});
            std::generate(memory->begin(), memory->end(),
                          [&] { return static_cast<uint8_t>(Below(256)); });
        }
        constexpr uint32_t kPixelCodes[] = {0, 1, 2, 4};
        const uint32_t code = kPixelCodes[Below(chip_.IsPermedia() ? 4 : 3)];
        registers_.Set(tag::FBReadPixel, code);
        registers_.Set(tag::PixelSize, code == 0 ? 2 : code == 1 ? 1 : 0);
        registers_.SetAperture(reg::FBModeSel, Below(4));
        registers_.Set(tag::FBWriteMode, 1);
        registers_.Set(tag::FBPixelOffset, Below(200));
        registers_.Set(tag::FBBlockColor, Below(1u << 31));
        registers_.Set(tag::FBSourceOffset, Below(80) - 40);
        const bool packed = chip_.IsPermedia() && Below(2) == 0;
        const uint32_t patched = Below(16) == 0 ? field::FBReadMode_Patched.Mask() : 0;
        const uint32_t mode = (1 + Below(2)) | patched |
                              (packed ? field::FBReadMode_Packed.Mask() | Below(8) << 20 : 0);
        const bool fills = Below(4) == 0;
        registers_.Set(tag::FBReadMode,
                       mode | (fills ? 0 : field::FBReadMode_ReadSource.Mask()) | Below(2) << 10);
        registers_.Set(tag::FBWriteConfig, mode);
        registers_.Set(tag::PackedDataLimits, Below(20) << 16 | (20 + Below(100)));
        registers_.Set(tag::Render, 0x40 | (fills ? field::Render_FastFill.Mask() : 0) | Below(2));
        registers_.Set(tag::AreaStippleMode, Below(8) == 0);
        registers_.Set(tag::AreaStipplePattern0, Below(256));
        if (Below(4) == 0) {
            registers_.Set(tag::LogicalOpMode, 1 | (Below(2) == 0 ? 3 : Below(16)) << 1);
        }
        if (Below(8) == 0) {
            registers_.Set(tag::FBHardwareWriteMask, Below(1u << 31));
        }
        if (Below(2) == 0) {
            registers_.Set(tag::ScissorMode, 1);
            registers_.Set(tag::ScissorMinXY, Below(4) << 16 | Below(20));
            registers_.Set(tag::ScissorMaxXY, (8 + Below(20)) << 16 | (20 + Below(60)));
        }
        ChooseLocalUpdate();
    }

    // Walks some spans both ways; what differs afterwards, nothing if all is well.
    std::string Compare() {
        Memories single = start_;
        Memories rows = start_;
        Memories watched = start_;
        FaultCounts singleFaults, rowFaults, watchedFaults;
        PickUnit pick;
        const PipelineState one =
            DecodePipeline(chip_, registers_, single, host_, tables_, singleFaults);
        const PipelineState all =
            DecodePipeline(chip_, registers_, rows, host_, tables_, rowFaults);
        const PipelineState told =
            DecodePipeline(chip_, registers_, watched, host_, tables_, watchedFaults);
        ShadowProbe shadow(start_);
        const RowPlan plan = PlanRows(all);
        raw = plan.raw;
        const Interpolants interpolants{};
        for (int i = 0; i < 8; ++i) {
            Span span{};
            span.y = static_cast<int64_t>(Below(Below(8) == 0 ? 600 : 30));
            span.left = static_cast<int64_t>(Below(30));
            span.right = span.left + static_cast<int64_t>(Below(100));
            span.leftward = Below(2) == 0;
            DrawSpan(one, nullptr, span, interpolants, pick, singleFaults);
            DrawSpan(all, &plan, span, interpolants, pick, rowFaults);
            WatchSpan(told, nullptr, span, interpolants, pick, watchedFaults, shadow);
        }
        changed =
            single.frameBuffer != start_.frameBuffer || single.localBuffer != start_.localBuffer;
        return single.frameBuffer != rows.frameBuffer                          ? "frame buffer"
               : single.localBuffer != rows.localBuffer                        ? "local buffer"
               : singleFaults.badMemoryAccesses != rowFaults.badMemoryAccesses ? "bad accesses"
               : single.frameBuffer != watched.frameBuffer ||
                       single.localBuffer != watched.localBuffer ||
                       singleFaults.badMemoryAccesses != watchedFaults.badMemoryAccesses
                   ? "under a probe"
               : shadow.memories.frameBuffer != watched.frameBuffer ||
                       shadow.memories.localBuffer != watched.localBuffer
                   ? "what the probe was told"
                   : shadow.wrong;
    }

    bool raw = false, changed = false;

  private:
    uint32_t Below(uint32_t end) { return static_cast<uint32_t>(random_()) % end; }

    void ChooseLocalUpdate() {
        if (chip_.IsPermedia() || Below(2) == 0) {
            return;
        }
        const bool fills = Below(2) == 0;
        registers_.Set(tag::LBWriteMode, 1);
        registers_.Set(tag::LBWindowBase, Below(200));
        registers_.Set(tag::LBSourceOffset, Below(80) - 40);
        registers_.Set(tag::LBReadMode, 1 | (fills ? 0 : field::LBReadMode_ReadSource.Mask()));
        registers_.Set(tag::Window, field::Window_ForceUpdate.Mask() |
                                        (fills ? field::Window_UpdateFromRegister.Mask() : 0));
        registers_.Set(tag::DepthMode, 2 << 2);
        registers_.Set(tag::Depth, Below(1u << 31));
    }

    const DeviceRow& chip_;
    std::mt19937 random_;
    RegisterFile registers_;
    Memories start_;
    HostMemory host_;
    LookupTables tables_;
};

class RawRows : public testing::TestWithParam<ChipModel> {};

TEST_P(RawRows, MoveWhatPixelsOneByOneMove) {
    constexpr int kModes = 1200;
    int raw = 0, changed = 0;
    for (int seed = 0; seed < kModes; ++seed) {
        RandomCopy copy(GetParam(), static_cast<uint32_t>(seed));
        ASSERT_EQ(copy.Compare(), "") << "seed " << seed;
        raw += copy.raw;
        changed += copy.changed;
    }
    EXPECT_GT(raw, kModes / 3);
    EXPECT_LT(raw, kModes);
    EXPECT_GT(changed, kModes / 2);
}

INSTANTIATE_TEST_SUITE_P(AllChips, RawRows,
                         testing::Values(ChipModel::SX, ChipModel::TX, ChipModel::MX,
                                         ChipModel::Permedia, ChipModel::Permedia2));

} // namespace

} // namespace board
