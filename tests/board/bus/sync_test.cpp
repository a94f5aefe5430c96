#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

TEST(Sync, AnswersWithItsTagWhenTheFilterLetsItThrough) {
    rig::Rig r;
    r.Send(tag::Sync, 0);
    EXPECT_EQ(r.board.Read(reg::OutFIFOWords), 0u);
    r.board.Write(0x8C00, 0x400);
    r.board.Write(0x8C40, 0);
    EXPECT_EQ(r.board.Read(reg::OutFIFOWords), 1u);
    EXPECT_EQ(r.board.Read(0x2000), 0x188u);
    EXPECT_EQ(r.board.Read(reg::OutFIFOWords), 0u);
}

TEST(Sync, DataFollowsTheTagAndIsReadAtTheSecondWord) {
    rig::Rig r;
    r.Send({{tag::FilterMode, 0xC00}, {tag::Sync, 0x1234}, {tag::Sync, 0x5678}});
    EXPECT_EQ(r.board.Read(reg::OutFIFOWords), 4u);
    EXPECT_EQ(r.board.Read(0x2000), 0x188u);
    EXPECT_EQ(r.board.Read(0x2004), 0x1234u);
    EXPECT_EQ(r.board.Read(0x2000), 0x188u);
    EXPECT_EQ(r.board.Read(0x2004), 0x5678u);
}

TEST(Sync, StrayWordsComeBeforeTheAnswer) {
    board::Config config = rig::SmallConfig();
    config.timing.strayOutputWords = 3;
    rig::Rig r(config);
    r.Send({{tag::FilterMode, 0x400}, {tag::Sync, 0}});
    EXPECT_EQ(r.board.Read(reg::OutFIFOWords), 4u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(r.board.Read(0x2000), 0x188u);
    }
    EXPECT_EQ(r.board.Read(0x2000), 0x188u);
}

TEST(Sync, AnswerWaitsForTheEntriesBeforeIt) {
    board::Config config = rig::SmallConfig();
    config.timing.fifoDrainPerTick = 1;
    rig::Rig r(config);
    std::vector<uint32_t> words = {tag::FilterMode, 0x400};
    for (uint32_t i = 0; i < 10; ++i) {
        words.insert(words.end(), {tag::FogColor, i});
    }
    words.insert(words.end(), {tag::Sync, 0});
    r.board.MapMemory(0, words.data(), words.size() * 4);
    r.board.Write(reg::DMAAddress, 0);
    r.board.Write(reg::DMACount, static_cast<uint32_t>(words.size()));
    int reads = 1;
    while (r.board.Read(reg::OutFIFOWords) == 0) {
        ++reads;
    }
    EXPECT_EQ(reads, 12);
    EXPECT_EQ(r.Register(tag::FogColor), 9u);
}

TEST(Pick, ResultTellsWhetherAPixelPassedInsideTheRegion) {
    rig::Rig r;
    r.Send({{tag::FBWriteMode, 0},
            {tag::MinRegion, 4u << 16 | 4},
            {tag::MaxRegion, 8u << 16 | 8},
            {tag::FilterMode, 0x3C00},
            {tag::StatisticMode, 5}});
    const auto picked = [&](int left, int top, int right, int bottom) {
        r.Send(tag::ResetPickResult, 0);
        r.Rectangle(left, top, right, bottom);
        r.Send(tag::PickResult, 0);
        EXPECT_EQ(r.board.Read(reg::OutFIFOWords), 2u);
        EXPECT_EQ(r.board.Read(0x2000), 0x187u);
        return r.board.Read(0x2004);
    };
    EXPECT_EQ(picked(0, 0, 4, 16), 0u);
    EXPECT_EQ(picked(8, 0, 16, 16), 0u);
    EXPECT_EQ(picked(0, 0, 5, 5), 1u);
    EXPECT_EQ(picked(7, 7, 9, 9), 1u);
    EXPECT_EQ(picked(0, 8, 16, 9), 0u);
    r.Send({{tag::DepthMode, 1}}); // compare field 0: never
    EXPECT_EQ(picked(4, 4, 8, 8), 0u);
}

} // namespace
