// Entries that were never waited for, and paces of the pipeline below one entry a tick.
#include "board/threaded_board.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

using Unwaited = std::map<uint32_t, board::UnwaitedEntries>;

board::Config WithTiming(const board::Timing& timing) {
    board::Config config = rig::SmallConfig();
    config.timing = timing;
    return config;
}

void Pairs(board::Board& board, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t words[] = {tag::FogMode, 0};
        board.WriteFifo(words, 2);
    }
}

// At once and by a thread, whose boards count alike.
template <class Kind>
class UnwaitedEntry : public testing::Test {
  protected:
    Kind board{WithTiming({.fifoDepth = 8})};
};
using Kinds = testing::Types<board::Board, board::ThreadedBoard>;
TYPED_TEST_SUITE(UnwaitedEntry, Kinds, );

TYPED_TEST(UnwaitedEntry, OneMoreThanThePollIsToldWithRegisterAndPlace) {
    EXPECT_EQ(this->board.Read(reg::InFIFOSpace), 8u);
    Pairs(this->board, 7);
    this->board.Drain();
    // Words 14 to 16: a burst of two, of which the second is one too many.
    const uint32_t burst[] = {IndexedTag(tag::StartXDom, 0x3), 1, 2};
    this->board.WriteFifo(burst, 3);
    EXPECT_EQ(this->board.FaultReport().unwaited, (Unwaited{{tag::StartXDom + 1, {1, 16}}}));
    EXPECT_EQ(this->board.FaultReport().Describe(),
              "1 writes to dXDom without waiting for FIFO space, the first as FIFO word 16\n");
    EXPECT_TRUE(this->board.FaultReport().Any());
}

TYPED_TEST(UnwaitedEntry, MappedWritesTakeOfTheSameCredit) {
    EXPECT_EQ(this->board.Read(reg::InFIFOSpace), 8u);
    Pairs(this->board, 7);
    this->board.Drain();
    for (int i = 0; i < 3; ++i) {
        this->board.Write(MappedOffset(tag::FogColor), 0);
    }
    EXPECT_EQ(this->board.FaultReport().unwaited,
              (Unwaited{{MappedOffset(tag::FogColor), {2, 1}}}));
    EXPECT_EQ(this->board.FaultReport().Describe(),
              "2 writes to FogColor without waiting for FIFO space, the first as mapped write 1\n");
}

TYPED_TEST(UnwaitedEntry, StaleCreditOfAWriterWhoseCalleeWroteIsTold) {
    // The outer writer keeps 4 of 8 entries for later, and its callee polls and leaves none.
    EXPECT_EQ(this->board.Read(reg::InFIFOSpace), 8u);
    Pairs(this->board, 4);
    this->board.Drain();
    EXPECT_EQ(this->board.Read(reg::InFIFOSpace), 8u);
    Pairs(this->board, 6);
    this->board.Drain();
    EXPECT_FALSE(this->board.FaultReport().Any());
    Pairs(this->board, 4);
    EXPECT_EQ(this->board.FaultReport().unwaited, (Unwaited{{tag::FogMode, {2, 25}}}));
}

TYPED_TEST(UnwaitedEntry, AnswersReplaceEachOther) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(this->board.Read(reg::InFIFOSpace), 8u);
    }
    Pairs(this->board, 8);
    EXPECT_FALSE(this->board.FaultReport().Any());
    Pairs(this->board, 1);
    EXPECT_TRUE(this->board.FaultReport().Any());
}

TYPED_TEST(UnwaitedEntry, NoneIsCountedUnderDisconnectNorForDma) {
    const std::vector<uint32_t> words(64, 0); // pairs of StartXDom
    this->board.MapMemory(0, words.data(), words.size() * 4);
    this->board.Write(reg::DMAAddress, 0);
    this->board.Write(reg::DMACount, 64);
    this->board.Drain();
    EXPECT_FALSE(this->board.FaultReport().Any());
    for (const uint32_t control : {reg::DisconnectControl, reg::DeltaDisconnectControl}) {
        this->board.Write(control, 1);
        Pairs(this->board, 20);
        this->board.Write(control, 0);
    }
    EXPECT_FALSE(this->board.FaultReport().Any());
    Pairs(this->board, 1);
    EXPECT_TRUE(this->board.FaultReport().Any());
}

TEST(Pace, TicksPerEntryHoldEachEntryAsLong) {
    rig::Rig r(WithTiming({.fifoDepth = 16, .fifoTicksPerEntry = 5}));
    EXPECT_EQ(r.board.Read(reg::InFIFOSpace), 16u);
    const uint32_t words[] = {HoldTag(tag::FogColor, 4), 1, 2, 3, 4};
    r.board.WriteFifo(words, 5);
    // The first went in with the third access; one leaves with every fifth from the fourth on.
    EXPECT_EQ(r.Register(tag::FogColor), 1u);
    r.board.Idle(2);
    EXPECT_EQ(r.Register(tag::FogColor), 2u);
    EXPECT_EQ(r.board.Read(reg::InFIFOSpace), 14u);
    r.board.Drain();
    EXPECT_EQ(r.Register(tag::FogColor), 4u);
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

// Ticks until the entry behind a rectangle of 8 x `rows` pixels is executed.
uint32_t TicksBehindRectangle(uint32_t pixelsPerTick, int rows) {
    rig::Rig r(
        WithTiming({.fifoDepth = 32, .pixelsPerTick = pixelsPerTick, .microsecondsPerTick = 1}));
    r.board.Read(reg::InFIFOSpace);
    r.Rectangle(0, 0, 8, rows);
    r.Send(tag::FogColor, 77);
    uint32_t ticks = 0;
    while (r.Register(tag::FogColor) != 77 && ticks < 10000) {
        ++ticks;
    }
    EXPECT_EQ(r.board.FaultReport().Describe(), "");
    return ticks;
}

TEST(Pace, DrawingKeepsThePipelineBusyByItsPixels) {
    // Four times the pixels, four times as long; four times the rate, a quarter.
    const uint32_t one = TicksBehindRectangle(1, 10);
    EXPECT_NEAR(one, 80, 4);
    EXPECT_NEAR(TicksBehindRectangle(1, 40), 320, 4);
    EXPECT_NEAR(TicksBehindRectangle(4, 40), 80, 4);
    EXPECT_LE(TicksBehindRectangle(1000, 40), 2u);
}

TEST(Pace, ASlowFifoLosesWhatIsNotWaitedForAndNothingElse) {
    rig::Rig r(WithTiming({.fifoDepth = 4, .fifoTicksPerEntry = 50}));
    for (uint32_t i = 1; i <= 20; ++i) {
        while (r.board.Read(reg::InFIFOSpace) == 0) {
        }
        r.Send(tag::FogColor, i);
    }
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
    for (uint32_t i = 0; i < 5; ++i) {
        r.Send(tag::FogMode, 1);
    }
    EXPECT_GE(r.board.FaultReport().fifoOverflows, 4u);
    EXPECT_GE(r.board.FaultReport().unwaited.at(tag::FogMode).entries, 4u);
    r.board.Drain();
    EXPECT_EQ(r.Register(tag::FogColor), 20u);
}

} // namespace
