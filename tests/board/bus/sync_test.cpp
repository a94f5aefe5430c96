#include "tests/board/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

namespace {

TEST(Sync, AnswersWithItsTagWhenTheFilterLetsItThrough) {
    rig::Rig r;
    r.Send(t::Sync, 0);
    EXPECT_EQ(r.board.Read(t::OutFIFOWords), 0u);
    r.board.Write(t::Mapped(t::FilterMode), 0x400);
    r.board.Write(t::Mapped(t::Sync), 0);
    EXPECT_EQ(r.board.Read(t::OutFIFOWords), 1u);
    EXPECT_EQ(r.board.Read(t::OutFIFOWord), t::Sync);
    EXPECT_EQ(r.board.Read(t::OutFIFOWords), 0u);
}

TEST(Sync, DataFollowsTheTagAndIsReadAtTheSecondWord) {
    rig::Rig r;
    r.Send({{t::FilterMode, 0xC00}, {t::Sync, 0x1234}, {t::Sync, 0x5678}});
    EXPECT_EQ(r.board.Read(t::OutFIFOWords), 4u);
    EXPECT_EQ(r.board.Read(t::OutFIFOWord), t::Sync);
    EXPECT_EQ(r.board.Read(t::OutFIFOSecondWord), 0x1234u);
    EXPECT_EQ(r.board.Read(t::OutFIFOWord), t::Sync);
    EXPECT_EQ(r.board.Read(t::OutFIFOSecondWord), 0x5678u);
}

TEST(Sync, StrayWordsComeBeforeTheAnswer) {
    board::Config config = rig::SmallConfig();
    config.timing.strayOutputWords = 3;
    rig::Rig r(config);
    r.Send({{t::FilterMode, 0x400}, {t::Sync, 0}});
    EXPECT_EQ(r.board.Read(t::OutFIFOWords), 4u);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(r.board.Read(t::OutFIFOWord), t::Sync);
    }
    EXPECT_EQ(r.board.Read(t::OutFIFOWord), t::Sync);
}

TEST(Sync, AnswerWaitsForTheEntriesBeforeIt) {
    board::Config config = rig::SmallConfig();
    config.timing.fifoDrainPerTick = 1;
    rig::Rig r(config);
    std::vector<uint32_t> words = {t::FilterMode, 0x400};
    for (uint32_t i = 0; i < 10; ++i) {
        words.insert(words.end(), {t::FogColor, i});
    }
    words.insert(words.end(), {t::Sync, 0});
    r.board.MapMemory(0, words.data(), words.size() * 4);
    r.board.Write(t::DMAAddress, 0);
    r.board.Write(t::DMACount, static_cast<uint32_t>(words.size()));
    int reads = 1;
    while (r.board.Read(t::OutFIFOWords) == 0) {
        ++reads;
    }
    EXPECT_EQ(reads, 12);
    EXPECT_EQ(r.Register(t::FogColor), 9u);
}

TEST(Pick, ResultTellsWhetherAPixelPassedInsideTheRegion) {
    rig::Rig r;
    r.Send({{t::FBWriteMode, 0},
            {t::MinRegion, 4u << 16 | 4},
            {t::MaxRegion, 8u << 16 | 8},
            {t::FilterMode, 0x3C00},
            {t::StatisticMode, 5}});
    const auto picked = [&](int left, int top, int right, int bottom) {
        r.Send(t::ResetPickResult, 0);
        r.Rectangle(left, top, right, bottom);
        r.Send(t::PickResult, 0);
        EXPECT_EQ(r.board.Read(t::OutFIFOWords), 2u);
        EXPECT_EQ(r.board.Read(t::OutFIFOWord), t::PickResult);
        return r.board.Read(t::OutFIFOSecondWord);
    };
    EXPECT_EQ(picked(0, 0, 4, 16), 0u);
    EXPECT_EQ(picked(8, 0, 16, 16), 0u);
    EXPECT_EQ(picked(0, 0, 5, 5), 1u);
    EXPECT_EQ(picked(7, 7, 9, 9), 1u);
    EXPECT_EQ(picked(0, 8, 16, 9), 0u);
    r.Send({{t::DepthMode, 1}}); // compare field 0: never
    EXPECT_EQ(picked(4, 4, 8, 8), 0u);
}

} // namespace
