#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// 50 frames of 100 lines a second: 200 microseconds a line, 20000 a frame.
board::Config SlowBeam() {
    board::Config config = rig::SmallConfig();
    config.refreshRate = 50;
    config.linesTotal = 100;
    config.linesBlank = 8;
    config.timing.microsecondsPerTick = 0; // accesses take no time
    return config;
}

TEST(Beam, LineCounterFollowsTheClock) {
    rig::Rig r(SlowBeam());
    for (uint64_t time = 0; time < 45000; time += 100) {
        ASSERT_EQ(r.board.Microseconds(), time);
        ASSERT_EQ(r.board.Read(reg::LineCounter), time % 20000 / 200) << time;
        r.board.Advance(100);
    }
}

TEST(Beam, EveryAccessMovesTheClockByATick) {
    board::Config config = SlowBeam();
    config.timing.microsecondsPerTick = 200;
    rig::Rig r(config);
    // The rig's own access was the first.
    EXPECT_EQ(r.board.Read(reg::LineCounter), 2u);
    EXPECT_EQ(r.board.Read(reg::LineCounter), 3u);
    r.board.Idle(10);
    EXPECT_EQ(r.board.Read(reg::LineCounter), 14u);
    const uint32_t words[] = {tag::FogMode, 0, tag::FogMode, 0};
    r.board.WriteFifo(words, 4);
    EXPECT_EQ(r.board.Read(reg::LineCounter), 19u);
}

TEST(Beam, BlankEndRegistersHoldTheBlankLinesUntilWritten) {
    rig::Rig r(SlowBeam());
    EXPECT_EQ(r.board.Read(reg::BlankEndGlint), 8u);
    EXPECT_EQ(r.board.Read(reg::BlankEndPermedia), 8u);
    r.board.Write(reg::BlankEndPermedia, 20);
    EXPECT_EQ(r.board.Read(reg::BlankEndPermedia), 20u);
    EXPECT_EQ(r.board.Read(reg::BlankEndGlint), 8u);
}

// In units of 8 bytes on one family and of 8 KB on the other.
TEST(Beam, TheShownImageIsAtTheFamilysScreenBaseFromTheNextFrameOn) {
    for (const auto& [chip, bytes] :
         {std::pair{board::Chip::Permedia2, 3u * 8}, {board::Chip::MX, 5u * 8192}}) {
        board::Config config = SlowBeam();
        config.chip = chip;
        rig::Rig r(config);
        r.board.Write(reg::ScreenBasePermedia, 3);
        r.board.Write(reg::ScreenBaseGlint, 5);
        EXPECT_EQ(r.board.ShownBase(), 0u);
        r.board.Advance(20000);
        EXPECT_EQ(r.board.ShownBase(), bytes);
    }
}

TEST(Beam, RetraceFlagIsSetWhenBlankBeginsAndStaysUntilCleared) {
    rig::Rig r(SlowBeam());
    r.board.Advance(19999);
    EXPECT_EQ(r.board.Read(reg::IntFlags), 0u);
    r.board.Advance(1);
    EXPECT_EQ(r.board.Read(reg::IntFlags), 0x10u);
    r.board.Advance(15000);
    EXPECT_EQ(r.board.Read(reg::IntFlags), 0x10u);
    r.board.Write(reg::IntFlags, 0x10);
    EXPECT_EQ(r.board.Read(reg::IntFlags), 0u);
    r.board.Advance(5000);
    EXPECT_EQ(r.board.Read(reg::IntFlags), 0x10u);
}

TEST(Beam, RetraceInterruptComesOncePerFrameEvenInALongIdle) {
    board::Config config = SlowBeam();
    config.timing.microsecondsPerTick = 7;
    rig::Rig r(config);
    int calls = 0;
    r.board.SetInterruptHandler([&] { ++calls; });
    r.board.Write(reg::IntEnable, 0x10);
    r.board.Advance(1000000);
    EXPECT_EQ(calls, 50);
}

TEST(Beam, AHandlerThatTakesLongerThanAFrameLetsAccessesEnd) {
    board::Config config = SlowBeam();
    config.timing.microsecondsPerTick = 20000; // a frame
    rig::Rig r(config);
    int calls = 0;
    r.board.SetInterruptHandler([&] {
        ++calls;
        r.board.Write(reg::IntFlags, r.board.Read(reg::IntFlags));
    });
    r.board.Write(reg::IntEnable, 0x10);
    int before = calls;
    for (int access = 0; access < 3; ++access) {
        r.board.Read(reg::LineCounter);
        // Each call brings the next, as long as there is patience.
        EXPECT_GT(calls, before + 1);
        EXPECT_LT(calls, before + 1000);
        before = calls;
    }
}

TEST(Beam, DefaultBoardShowsAllLinesOfAFrame) {
    rig::Rig r;
    std::vector<bool> seen(525);
    for (int i = 0; i < 20000; ++i) {
        const uint32_t line = r.board.Read(reg::LineCounter);
        ASSERT_LT(line, 525u);
        seen[line] = true;
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), true), 525);
}

} // namespace
