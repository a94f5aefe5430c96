#include "board/threaded_board.h"
#include "tests/board/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using ThreadedRig = rig::RigOf<board::ThreadedBoard>;

board::Config ThreadedConfig() {
    board::Config config = rig::SmallConfig();
    config.timing.fifoDepth = 16;
    return config;
}

TEST(DmaThread, TransferCompletesWhileTheProcessorPolls) {
    ThreadedRig r(ThreadedConfig());
    std::vector<uint32_t> words(4097);
    words[0] = HoldTag(t::FogColor, 4096);
    words[4096] = 42;
    r.board.MapMemory(0, words.data(), words.size() * 4);
    r.board.Write(t::DMAAddress, 0);
    r.board.Write(t::DMACount, 4097);
    while (r.board.Read(t::DMACount) != 0) {
    }
    r.board.Drain();
    EXPECT_EQ(r.Register(t::FogColor), 42u);
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(DmaThread, HandlerRunsOnTheThreadAndQueuesTheNextTransfer) {
    ThreadedRig r(ThreadedConfig());
    constexpr uint32_t kTransfers = 50;
    std::vector<uint32_t> words;
    for (uint32_t i = 0; i < kTransfers; ++i) {
        words.insert(words.end(), {t::FogColor, i + 1, t::Color, i + 101});
    }
    r.board.MapMemory(0x10000, words.data(), words.size() * 4);
    const auto start = [&](uint32_t index) {
        r.board.Write(t::DMAAddress, 0x10000 + index * 16);
        r.board.Write(t::DMACount, 4);
    };
    std::atomic<uint32_t> done{0};
    std::atomic<bool> onOtherThread{true};
    const std::thread::id own = std::this_thread::get_id();
    r.board.SetInterruptHandler([&] {
        onOtherThread = onOtherThread && std::this_thread::get_id() != own;
        if (const uint32_t next = ++done; next < kTransfers) {
            start(next);
        }
    });
    r.board.Write(t::IntEnable, 1);
    start(0);
    while (done != kTransfers) { // the flag is in memory: no access to the board
        std::this_thread::yield();
    }
    r.board.Drain();
    EXPECT_EQ(r.Register(t::FogColor), kTransfers);
    EXPECT_EQ(r.Register(t::Color), kTransfers + 100);
    EXPECT_TRUE(onOtherThread);
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(DmaThread, LatencyPassesWithoutAccesses) {
    board::Config config = ThreadedConfig();
    config.timing.interruptLatency = 20;
    ThreadedRig r(config);
    std::atomic<bool> called{false};
    r.board.SetInterruptHandler([&] { called = true; });
    r.board.Write(t::IntEnable, 8);
    r.board.Read(t::OutFIFOWord);
    while (!called) {
        std::this_thread::yield();
    }
    SUCCEED();
}

TEST(DmaThread, InterruptsThatTimeBringsAreHandledWithoutAnAccess) {
    ThreadedRig r(ThreadedConfig());
    std::atomic<uint32_t> calls{0};
    r.board.SetInterruptHandler([&] { ++calls; });
    r.board.Write(t::IntEnable, 0x10); // the blank
    for (uint32_t frame = 1; frame <= 50; ++frame) {
        r.board.Advance(1000000 / 60 + 1);
        while (calls != frame) {
            std::this_thread::yield();
        }
        // Some frames at least are to find the thread asleep.
        for (int i = 0; i < 100; ++i) {
            std::this_thread::yield();
        }
    }
    SUCCEED();
}

TEST(DmaThread, FifoWritesWithSpaceChecksArriveInOrder) {
    ThreadedRig r(ThreadedConfig());
    r.Send(t::FilterMode, 0xC00);
    for (uint32_t i = 0; i < 200; ++i) {
        while (r.board.Read(t::InFIFOSpace) < 1) {
        }
        r.board.Write(t::Mapped(t::Sync), i);
    }
    r.board.Drain();
    ASSERT_EQ(r.board.Read(t::OutFIFOWords), 400u);
    for (uint32_t i = 0; i < 200; ++i) {
        ASSERT_EQ(r.board.Read(t::OutFIFOWord), t::Sync);
        ASSERT_EQ(r.board.Read(t::OutFIFOSecondWord), i);
    }
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(DmaThread, TimingCanBeSwitchedWhileEntriesWait) {
    ThreadedRig r(ThreadedConfig());
    std::vector<uint32_t> words(4097);
    words[0] = HoldTag(t::FogColor, 4096);
    words[4096] = 42;
    r.board.MapMemory(0, words.data(), words.size() * 4);
    r.board.Write(t::DMAAddress, 0);
    r.board.Write(t::DMACount, 4097);
    r.board.SetTiming({.fifoDepth = 4, .fifoDrainPerTick = 1, .dmaWordsPerTick = 1});
    r.board.SetTiming({});
    r.board.Drain();
    EXPECT_EQ(r.Register(t::FogColor), 42u) << "waiting entries are not lost";
    EXPECT_FALSE(r.board.FaultReport().Any());
}

// Whoever has only a Board& has the whole of it, lock included.
TEST(DmaThread, IsReachedThroughTheBoardThatItIs) {
    board::ThreadedBoard threaded(ThreadedConfig());
    board::Board& board = threaded;
    std::atomic<bool> onOtherThread{false};
    const std::thread::id own = std::this_thread::get_id();
    board.SetInterruptHandler([&] { onOtherThread = std::this_thread::get_id() != own; });
    board.Write(t::IntEnable, 8);
    board.Read(t::OutFIFOWord); // nothing there: an error
    board.Drain();
    EXPECT_TRUE(onOtherThread);
}

TEST(DmaThread, IsNotAtRestBeforeTheHandlerHasReturned) {
    ThreadedRig r(ThreadedConfig());
    std::atomic<bool> restedInside{true};
    r.board.SetInterruptHandler([&] { restedInside = r.board.AtRest(); });
    EXPECT_TRUE(r.board.AtRest());
    r.board.Write(t::IntEnable, 8);
    r.board.Read(t::OutFIFOWord); // nothing there: an error
    r.board.Drain();
    EXPECT_FALSE(restedInside);
    EXPECT_TRUE(r.board.AtRest());
}

} // namespace
