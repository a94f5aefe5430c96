#include "tests/board/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace {

void StartTransfer(board::Board& board, uint32_t address, uint32_t words) {
    board.Write(t::DMAAddress, address);
    board.Write(t::DMACount, words);
}

TEST(Dma, TransfersWordsFromBusAddresses) {
    rig::Rig r;
    const uint32_t first[] = {t::FogColor, 11};
    const uint32_t second[] = {t::Color, 22, t::FogMode, 1};
    r.board.MapMemory(0x00400000, first, sizeof first);
    r.board.MapMemory(0xFF000000, second, sizeof second);
    StartTransfer(r.board, 0xFF000000 + 8, 2);
    StartTransfer(r.board, 0x00400000, 2);
    EXPECT_EQ(r.Register(t::FogMode), 1u);
    EXPECT_EQ(r.Register(t::FogColor), 11u);
    EXPECT_EQ(r.Register(t::Color), 0u);
    EXPECT_EQ(r.board.Read(t::DMACount), 0u);
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(Dma, RemappingAnAddressReplacesTheMemory) {
    rig::Rig r;
    const uint32_t old[] = {t::FogColor, 1};
    const uint32_t fresh[] = {t::FogColor, 2};
    r.board.MapMemory(0x1000, old, sizeof old);
    r.board.MapMemory(0x1000, fresh, sizeof fresh);
    StartTransfer(r.board, 0x1000, 2);
    EXPECT_EQ(r.Register(t::FogColor), 2u);
}

TEST(Dma, UnknownBusAddressIsCountedAndEndsTheTransfer) {
    rig::Rig r;
    const uint32_t words[] = {t::FogColor, 5};
    r.board.MapMemory(0x1000, words, sizeof words);
    StartTransfer(r.board, 0x2000, 4);
    EXPECT_EQ(r.board.FaultReport().badDmaAddresses, 1u);
    EXPECT_EQ(r.board.Read(t::DMACount), 0u);
    StartTransfer(r.board, 0x1000, 3); // runs over the end
    EXPECT_EQ(r.Register(t::FogColor), 5u);
    EXPECT_EQ(r.board.FaultReport().badDmaAddresses, 2u);
}

TEST(Dma, CountReadsTheWordsStillToGo) {
    board::Config config = rig::SmallConfig();
    config.timing.dmaWordsPerTick = 3;
    rig::Rig r(config);
    std::vector<uint32_t> words(10);
    words[0] = HoldTag(t::FogColor, 9);
    r.board.MapMemory(0, words.data(), 40);
    StartTransfer(r.board, 0, 10);
    EXPECT_EQ(r.board.Read(t::DMACount), 7u);
    EXPECT_EQ(r.board.Read(t::DMACount), 4u);
    r.board.Idle(1);
    EXPECT_EQ(r.board.Read(t::DMACount), 0u);
}

TEST(Dma, AdvanceMovesWordsWithTheClock) {
    board::Config config = rig::SmallConfig();
    config.timing.dmaWordsPerTick = 1;
    config.timing.microsecondsPerTick = 10;
    rig::Rig r(config);
    std::vector<uint32_t> words(101);
    words[0] = HoldTag(t::FogColor, 100);
    r.board.MapMemory(0, words.data(), 404);
    StartTransfer(r.board, 0, 101);
    const uint64_t before = r.board.Microseconds();
    r.board.Advance(495); // 49 ticks and half of one
    EXPECT_EQ(r.board.Microseconds(), before + 495);
    r.board.Advance(5);
    EXPECT_EQ(r.board.Microseconds(), before + 500);
    EXPECT_EQ(r.board.Read(t::DMACount), 101u - 51u);
}

TEST(Dma, FullFifoStallsTheEngineInsteadOfLosingWords) {
    board::Config config = rig::SmallConfig();
    config.timing.fifoDepth = 2;
    config.timing.fifoDrainPerTick = 1;
    rig::Rig r(config);
    std::vector<uint32_t> words(51);
    words[0] = HoldTag(t::FogColor, 50);
    for (uint32_t i = 1; i <= 50; ++i) {
        words[i] = i;
    }
    r.board.MapMemory(0, words.data(), words.size() * 4);
    StartTransfer(r.board, 0, 51);
    EXPECT_EQ(r.board.Read(t::DMACount), 51u - 1u - 3u);
    r.board.Drain();
    EXPECT_EQ(r.board.Read(t::DMACount), 0u);
    EXPECT_EQ(r.Register(t::FogColor), 50u);
    EXPECT_EQ(r.board.FaultReport().fifoOverflows, 0u);
}

TEST(Dma, AddressWrittenDuringATransferServesTheNextOne) {
    board::Config config = rig::SmallConfig();
    config.timing.dmaWordsPerTick = 1;
    rig::Rig r(config);
    const uint32_t first[] = {t::FogColor, 1};
    const uint32_t second[] = {t::Color, 2};
    r.board.MapMemory(0x1000, first, 8);
    r.board.MapMemory(0x2000, second, 8);
    StartTransfer(r.board, 0x1000, 2);
    r.board.Write(t::DMAAddress, 0x2000);
    r.board.Drain();
    EXPECT_EQ(r.Register(t::FogColor), 1u);
    r.board.Write(t::DMACount, 2);
    r.board.Drain();
    EXPECT_EQ(r.Register(t::Color), 2u);
}

TEST(Dma, TransferStartedOverARunningOneIsCounted) {
    board::Config config = rig::SmallConfig();
    config.timing.dmaWordsPerTick = 1;
    rig::Rig r(config);
    const uint32_t words[] = {t::FogColor, 1, t::Color, 2};
    r.board.MapMemory(0, words, sizeof words);
    StartTransfer(r.board, 0, 4);
    StartTransfer(r.board, 0, 4);
    EXPECT_EQ(r.board.FaultReport().dmaRestarts, 1u);
}

class InterruptTest : public ::testing::Test {
  protected:
    void Make(const board::Timing& timing) {
        board::Config config = rig::SmallConfig();
        config.timing = timing;
        rig = std::make_unique<rig::Rig>(config);
        rig->board.MapMemory(0x1000, words, sizeof words);
        rig->board.SetInterruptHandler([this] { ++calls; });
    }
    const uint32_t words[2] = {t::FogColor, 5};
    std::unique_ptr<rig::Rig> rig;
    int calls = 0;
};

TEST_F(InterruptTest, CompletionRaisesTheDmaInterruptWhenEnabled) {
    Make({});
    StartTransfer(rig->board, 0x1000, 2);
    EXPECT_EQ(calls, 0);
    rig->board.Write(t::IntFlags, 1);
    rig->board.Write(t::IntEnable, 9);
    EXPECT_EQ(calls, 0) << "enabling calls nobody";
    StartTransfer(rig->board, 0x1000, 2);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(rig->board.Read(t::IntFlags), 1u);
    EXPECT_EQ(rig->board.Read(t::IntEnable), 9u);
    rig->board.Write(t::IntFlags, 1);
    EXPECT_EQ(rig->board.Read(t::IntFlags), 0u);
}

TEST_F(InterruptTest, ReadingTheEmptyOutputFifoKicksTheHandler) {
    Make({});
    rig->board.Write(t::IntEnable, 9);
    rig->board.Write(t::ErrorFlags, 7);
    EXPECT_EQ(calls, 0);
    rig->board.Read(t::OutFIFOWord);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(rig->board.Read(t::ErrorFlags), 2u);
    EXPECT_EQ(rig->board.Read(t::IntFlags), 8u);
    rig->board.Write(t::ErrorFlags, 5);
    EXPECT_EQ(rig->board.Read(t::ErrorFlags), 2u) << "only bits written as one are cleared";
    rig->board.Write(t::ErrorFlags, 7);
    EXPECT_EQ(rig->board.Read(t::ErrorFlags), 0u);
    rig->board.Write(t::IntEnable, 1);
    rig->board.Read(t::OutFIFOWord);
    EXPECT_EQ(calls, 1) << "the error interrupt is off";
}

TEST_F(InterruptTest, LatencyIsCountedInTicks) {
    board::Timing timing;
    timing.interruptLatency = 3;
    Make(timing);
    rig->board.Write(t::IntEnable, 8);
    rig->board.Read(t::OutFIFOWord);
    EXPECT_EQ(calls, 0);
    rig->board.Idle(2);
    EXPECT_EQ(calls, 0);
    rig->board.Idle(1);
    EXPECT_EQ(calls, 1);
    rig->board.Idle(100);
    EXPECT_EQ(calls, 1);
}

TEST_F(InterruptTest, HandlerQueuesTransfersAndIsNeverReentered) {
    Make({});
    int depth = 0;
    int deepest = 0;
    int left = 5;
    rig->board.SetInterruptHandler([&] {
        deepest = std::max(deepest, ++depth);
        ++calls;
        if (left-- > 0) {
            StartTransfer(rig->board, 0x1000, 2); // ends, and interrupts, inside this write
        }
        --depth;
    });
    rig->board.Write(t::IntEnable, 1);
    StartTransfer(rig->board, 0x1000, 2);
    EXPECT_EQ(calls, 6);
    EXPECT_EQ(deepest, 1);
}

TEST_F(InterruptTest, DrainFollowsTransfersThatTheHandlerStarts) {
    board::Timing timing;
    timing.dmaWordsPerTick = 1;
    timing.interruptLatency = 10;
    Make(timing);
    int left = 3;
    rig->board.SetInterruptHandler([&] {
        ++calls;
        if (left-- > 0) {
            StartTransfer(rig->board, 0x1000, 2);
        }
    });
    rig->board.Write(t::IntEnable, 1);
    StartTransfer(rig->board, 0x1000, 2);
    rig->board.Drain();
    EXPECT_EQ(calls, 4);
}

} // namespace
