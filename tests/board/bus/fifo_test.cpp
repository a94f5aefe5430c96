#include "board/bus/fifo.h"
#include "tests/board/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

board::Config SlowConfig(uint32_t depth, uint32_t drain) {
    board::Config config = rig::SmallConfig();
    config.timing.fifoDepth = depth;
    config.timing.fifoDrainPerTick = drain;
    return config;
}

TEST(Fifo, EveryWordOfTheWindowEntersInWriteOrder) {
    rig::Rig r;
    // First word, last word, and one in the middle: the address does not matter.
    r.board.Write(t::FIFOWindow + 0xF9C, t::FogMode);
    r.board.Write(t::FIFOWindow, 1);
    r.board.Write(t::FIFOWindow + 0x400, t::FogColor);
    r.board.Write(t::FIFOWindow + 4, 0x123456);
    EXPECT_EQ(r.Register(t::FogMode), 1u);
    EXPECT_EQ(r.Register(t::FogColor), 0x123456u);
    EXPECT_FALSE(r.board.FaultReport().Any());
}

// Writers that reserve less than they write run a few words past the window of 0xFA0 bytes.
TEST(Fifo, WordsInTheRestOfTheWindowsPageEnterToo) {
    rig::Rig r;
    r.board.Write(t::FIFOWindow + 0xFA0, t::FogMode);
    r.board.Write(t::FIFOWindow + 0xFFC, 1);
    EXPECT_EQ(r.Register(t::FogMode), 1u);
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(Fifo, MappedWriteEqualsStreamWrite) {
    rig::Rig mapped;
    rig::Rig stream;
    const std::pair<uint32_t, uint32_t> writes[] = {
        {t::Color, 0xFF8040},     {t::StartXDom, 3u << 16},
        {t::StartXSub, 9u << 16}, {t::StartY, 2u << 16},
        {t::dY, 0x10000},         {t::Count, 4},
        {t::FogColor, 77},        {t::Render, rig::kTrapezoid}};
    for (const auto& [number, data] : writes) {
        mapped.board.Write(t::Mapped(number), data);
        stream.Send(number, data);
    }
    EXPECT_EQ(mapped.Pixel(3, 2), 0xFF8040u);
    EXPECT_TRUE(std::ranges::equal(mapped.board.FrameBuffer(), stream.board.FrameBuffer()));
    EXPECT_EQ(mapped.Register(t::FogColor), 77u);
}

TEST(Fifo, SpaceCountsEntriesAndNotTagWords) {
    rig::Rig r(SlowConfig(16, 1));
    EXPECT_EQ(r.board.Read(t::InFIFOSpace), 16u);
    const uint32_t words[] = {burst::Depth, 1, 2, 3, 4, 5, 6, t::FogColor, 7};
    r.board.MapMemory(0, words, sizeof words);
    r.board.Write(t::DMAAddress, 0);
    r.board.Write(t::DMACount, 9);                     // seven entries come in at once
    EXPECT_EQ(r.board.Read(t::InFIFOSpace), 16u - 6u); // and one is drained by this tick
}

TEST(Fifo, WaitingEntriesTakeSpaceUntilTheyDrain) {
    board::InputFifo fifo;
    fifo.Configure(4, 0, 0);
    EXPECT_EQ(fifo.Space(), 4u);
    fifo.Push({1, 1});
    fifo.Push({2, 2});
    EXPECT_EQ(fifo.ReportSpace(), 2u);
    EXPECT_EQ(fifo.Pop().tag, 1u);
    EXPECT_EQ(fifo.ReportSpace(), 3u);
    fifo.Push({3, 3});
    fifo.Push({4, 4});
    EXPECT_FALSE(fifo.Full());
    fifo.Push({5, 5});
    EXPECT_TRUE(fifo.Full());
    EXPECT_EQ(fifo.Space(), 0u);
}

TEST(Fifo, ReportLagAndCapOnlyEverLowerTheReport) {
    board::InputFifo fifo;
    fifo.Configure(8, 2, 0);
    for (uint32_t i = 0; i < 6; ++i) {
        fifo.Push({i, i});
    }
    EXPECT_EQ(fifo.ReportSpace(), 2u);
    for (uint32_t i = 0; i < 6; ++i) {
        fifo.Pop();
    }
    EXPECT_EQ(fifo.ReportSpace(), 2u); // one read ago
    EXPECT_EQ(fifo.ReportSpace(), 2u); // two reads ago
    EXPECT_EQ(fifo.ReportSpace(), 8u); // now the reports are all of the empty FIFO
    fifo.Push({1, 1});
    EXPECT_EQ(fifo.ReportSpace(), 7u) << "a lagging report must not promise space that is taken";
    fifo.Configure(8, 0, 5);
    EXPECT_EQ(fifo.ReportSpace(), 5u);
}

TEST(Fifo, WritesToAFullFifoAreLostAndCounted) {
    board::Config config = SlowConfig(1, 1);
    rig::Rig r(config);
    // Each indexed data word is an access of its own and a tick drains one entry: no loss.
    r.Words({burst::Trapezoid, 1, 2, 3, 4, 5, 6, 0, 0});
    EXPECT_EQ(r.board.FaultReport().fifoOverflows, 0u);

    // A transfer refills the FIFO right after each drain, so that it is full at every access.
    std::vector<uint32_t> words(1 + 64, 0);
    words[0] = HoldTag(t::FogColor, 64);
    r.board.MapMemory(0x1000, words.data(), words.size() * 4);
    r.board.Write(t::DMAAddress, 0x1000);
    r.board.Write(t::DMACount, 65);
    r.board.Write(t::Mapped(t::FogMode), 1);
    EXPECT_EQ(r.board.FaultReport().fifoOverflows, 1u);
    EXPECT_EQ(r.board.Read(t::ErrorFlags) & 1, 1u);
    r.board.Drain();
    EXPECT_EQ(r.Register(t::FogMode), 0u);
}

TEST(Fifo, DisconnectHoldsTheBusInsteadOfLosingWrites) {
    for (const uint32_t control : {t::DisconnectControl, reg::DeltaDisconnectControl}) {
        rig::Rig r(SlowConfig(1, 1));
        std::vector<uint32_t> words(1 + 64, 0);
        words[0] = HoldTag(t::FogColor, 64);
        r.board.MapMemory(0x1000, words.data(), words.size() * 4);
        r.board.Write(control, 1);
        r.board.Write(t::DMAAddress, 0x1000);
        r.board.Write(t::DMACount, 65);
        r.board.Write(t::Mapped(t::FogMode), 1);
        r.board.Drain();
        EXPECT_EQ(r.board.FaultReport().fifoOverflows, 0u);
        EXPECT_EQ(r.Register(t::FogMode), 1u);
    }
}

TEST(Fifo, DrainRateSetsHowSoonEntriesExecute) {
    rig::Rig r(SlowConfig(64, 2));
    std::vector<uint32_t> words;
    for (uint32_t i = 0; i < 20; ++i) {
        words.insert(words.end(), {t::FogColor, i + 1});
    }
    r.board.MapMemory(0, words.data(), words.size() * 4);
    r.board.Write(t::DMAAddress, 0);
    r.board.Write(t::DMACount, 40); // all 20 entries wait at the end of this access
    EXPECT_EQ(r.board.Read(t::InFIFOSpace), 64u - 18u);
    r.board.Idle(4);
    EXPECT_EQ(r.board.Read(t::InFIFOSpace), 64u - 8u);
    EXPECT_EQ(r.Register(t::FogColor), 14u);
    r.board.Drain();
    EXPECT_EQ(r.Register(t::FogColor), 20u);
}

TEST(Fifo, DrainingTakesTheTicksThatItsEntriesTake) {
    board::Config config = SlowConfig(16, 1);
    config.timing.microsecondsPerTick = 3;
    board::Board board(config);
    board.Write(t::DisconnectControl, 1);
    std::vector<uint32_t> words = {HoldTag(t::FogColor, 8), 1, 2, 3, 4, 5, 6, 7, 8};
    board.MapMemory(0, words.data(), words.size() * 4);
    board.Write(t::DMAAddress, 0);
    board.Write(t::DMACount, 9); // all eight wait behind this access
    const uint64_t before = board.Microseconds();
    board.Drain();
    EXPECT_EQ(board.Microseconds() - before, 8u * 3);
    EXPECT_EQ(board.Peek(t::Mapped(t::FogColor)), 8u);
}

} // namespace
