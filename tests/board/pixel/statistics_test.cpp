// The pick result: has a pixel inside the region passed all tests, with all writes off?
#include "board/pixel/pick.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

using rig::kReadDest;

constexpr uint32_t kLess = 1;
constexpr uint32_t kPickDepthBase = 0x10000; // 16-bit elements

class PickRig : public rig::Rig {
  public:
    PickRig() {
        Send({{tag::LBReadMode, rig::kPitch64 | kReadDest},
              {tag::LBWindowBase, kPickDepthBase},
              {tag::DepthMode, kLess << 4 | 3}});
        for (size_t i = 0; i < 64 * 64; ++i) {
            SetElement<uint16_t>(kPickDepthBase + i, 100);
        }
    }
    // What a driver sends before the primitives.
    void Begin(uint32_t width, uint32_t height) {
        Send({{tag::FBWriteMode, 0},
              {tag::LBWriteMode, 0},
              {tag::MinRegion, 0},
              {tag::MaxRegion, height << 16 | width},
              {tag::FilterMode, 0xC00},
              {tag::StatisticMode, 5},
              {tag::ResetPickResult, 0}});
    }
    void DrawAt(uint32_t depth, int left, int top, int right, int bottom) {
        Send({{tag::ZStartU, depth},
              {tag::ZStartL, 0},
              {tag::dZdxU, 0},
              {tag::dZdxL, 0},
              {tag::dZdyDomU, 0},
              {tag::dZdyDomL, 0}});
        Rectangle(left, top, right, bottom);
    }
    uint32_t End() {
        EXPECT_EQ(board.Read(reg::OutFIFOWords), 0u) << "nothing comes before it is asked for";
        Send({{tag::FilterMode, 0x3C00}, {tag::PickResult, 0}});
        EXPECT_EQ(board.Read(reg::OutFIFOWords), 2u);
        EXPECT_EQ(board.Read(reg::OutFIFOWord), uint32_t{tag::PickResult});
        return board.Read(reg::OutFIFOSecondWord);
    }
};

TEST(Statistics, ResultTellsWhetherAPixelPassedTheDepthTest) {
    PickRig r;
    r.Begin(64, 64);
    r.DrawAt(200, 0, 0, 40, 40);
    EXPECT_EQ(r.End() & 1, 0u) << "all of it is behind";
    r.Begin(64, 64);
    r.DrawAt(99, 5, 5, 6, 6);
    r.DrawAt(200, 0, 0, 40, 40);
    EXPECT_EQ(r.End() & 1, 1u);
    for (size_t i = 0; i < 64 * 64; ++i) {
        ASSERT_EQ(r.Element<uint16_t>(kPickDepthBase + i), 100u) << "depth stays";
        ASSERT_EQ(r.Element<uint32_t>(i), 0u) << "and so do pixels";
    }
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

TEST(Statistics, OnePixelInFrontIsEnough) {
    PickRig r;
    r.SetElement<uint16_t>(kPickDepthBase + 63 * 64 + 63, 201);
    r.Begin(64, 64);
    r.DrawAt(200, 0, 0, 64, 64);
    EXPECT_EQ(r.End() & 1, 1u);
    r.Begin(64, 63);
    r.DrawAt(200, 0, 0, 64, 64);
    EXPECT_EQ(r.End() & 1, 0u) << "the last row is outside the region";
    r.Begin(63, 64);
    r.DrawAt(200, 0, 0, 64, 64);
    EXPECT_EQ(r.End() & 1, 0u) << "the last column is outside the region";
}

TEST(Statistics, NothingDrawnIsNothingPicked) {
    PickRig r;
    r.Begin(64, 64);
    EXPECT_EQ(r.End() & 1, 0u);
    r.Send({{tag::StatisticMode, 0}, {tag::FilterMode, 0xC00}});
    r.DrawAt(1, 0, 0, 64, 64);
    EXPECT_EQ(r.End() & 1, 0u) << "with the unit off";
}

TEST(Statistics, StrayWordsComeBeforeTheAnswer) {
    board::Config config = rig::SmallConfig();
    config.timing.strayOutputWords = 3;
    rig::Rig r(config);
    r.Send({{tag::FilterMode, 0x3C00}, {tag::PickResult, 0}});
    EXPECT_EQ(r.board.Read(reg::OutFIFOWords), 5u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(r.board.Read(reg::OutFIFOWord), tag::PickResult);
    }
    EXPECT_EQ(r.board.Read(reg::OutFIFOWord), tag::PickResult);
    EXPECT_EQ(r.board.Read(reg::OutFIFOSecondWord), 0u);
}

TEST(Statistics, WorksWithTheLocalBuffersDepth) {
    rig::Rig r(rig::SmallConfig(board::Chip::TX));
    auto* depth = reinterpret_cast<uint32_t*>(r.board.LocalBuffer().data());
    for (int i = 0; i < 64 * 64; ++i) {
        depth[i] = 0x40000000;
    }
    for (const auto& [z, visible] : {std::pair{0x3FFFFFFFu, 1u}, {0x40000000u, 0u}}) {
        r.Send({{tag::LBReadMode, rig::kPitch64 | kReadDest},
                {tag::LBReadFormat, 2},
                {tag::DepthMode, kLess << 4 | 3},
                {tag::FBReadMode, rig::kPitch64},
                {tag::MaxRegion, 64u << 16 | 64},
                {tag::FilterMode, 0xC00},
                {tag::StatisticMode, 5},
                {tag::ResetPickResult, 0},
                {tag::ZStartU, z}});
        r.Rectangle(0, 0, 64, 64);
        r.Send({{tag::FilterMode, 0x3C00}, {tag::PickResult, 0}});
        ASSERT_EQ(r.board.Read(reg::OutFIFOWord), uint32_t{tag::PickResult});
        EXPECT_EQ(r.board.Read(reg::OutFIFOSecondWord) & 1, visible);
        EXPECT_EQ(depth[0], 0x40000000u);
    }
}

} // namespace
