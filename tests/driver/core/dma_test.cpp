#include "driver/core/dma.h"
#include "tests/support/rig.h"
#include "tests/support/tag_names.h"
#include "tests/support/words.h"

#include <gtest/gtest.h>

namespace {

using test::BusEvent;
using test::Rig;
using test::Words;

// The head of a sub-buffer on the first Permedia, as words.
Words HeadOf(const D3DContext* ctx) {
    return {t::FogMode,
            ctx->Copies.FogMode,
            t::TextureAddressMode,
            ctx->Copies.TextureAddressMode,
            t::TextureColorMode,
            ctx->Copies.TextureColorMode,
            t::TextureReadMode,
            ctx->Copies.TextureReadMode,
            t::AlphaBlendMode,
            ctx->AlphaBlendModeOut,
            t::FogColor,
            (ctx->RenderFlags & RF_FOG) != 0 ? ctx->FogColor : 0xFFFFFFFF};
}

D3DContext* ContextOfId5(Rig& rig, bool dma, uint32_t subBuffers = 2) {
    D3DContext* ctx = rig.PlainContext(dma, subBuffers);
    ctx->Stream.HardwareContext = kContext2D; // current already: no change of context in the way
    return ctx;
}

// Fills the stream with `count` single words, unchecked by any reservation.
void Fill(CommandStream& stream, uint32_t count) {
    stream.Guard.Allow(stream.WritePointer + count);
    StoreWritePointer(stream, stream.WritePointer + count);
}

TEST(DriverStream, IsFifoModeOverTheWindow) {
    Rig rig;
    rig.Ready();
    const CommandStream& stream = rig.driver->Stream;
    auto* registers = reinterpret_cast<uint8_t*>(rig.driver->Registers);
    EXPECT_EQ(stream.CommandMode, 2u);
    EXPECT_EQ(stream.SubBufferCount, 1u);
    EXPECT_EQ(stream.SubBufferIndex, 0u);
    EXPECT_EQ(stream.SubBuffers[0].Physical, 0u);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(stream.SubBuffers[0].Linear), registers + 0x2000);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(stream.SubBuffers[0].Last), registers + 0x2FA0);
    EXPECT_EQ(stream.WritePointer, stream.SubBuffers[0].Linear);
    EXPECT_EQ(stream.StartDMA, nullptr);
}

TEST(DriverStream, AReservationThatEndsExactlyOnLastRewinds) {
    Rig rig;
    rig.Ready();
    CommandStream& stream = rig.driver->Stream;
    stream.WritePointer = stream.SubBuffers[0].Last - 10;
    ReserveSpace(rig.driver, 36);
    EXPECT_EQ(stream.WritePointer, stream.SubBuffers[0].Last - 10);
    ReserveSpace(rig.driver, 40);
    EXPECT_EQ(stream.WritePointer, stream.SubBuffers[0].Linear);
}

TEST(DriverStream, InDmaModeAFullSubBufferGoesOutUnderContextFive) {
    Rig rig;
    rig.Ready();
    CommandStream& stream = rig.driver->Stream;
    auto* linear = reinterpret_cast<uint32_t*>(rig.chip->DMABufferLinear[0]);
    stream.CommandMode = kCommandModeDMA;
    stream.SubBufferCount = 2;
    stream.SubBuffers[0] = {rig.chip->DMABufferPhysical[0], linear, linear + 15};
    stream.SubBuffers[1] = {rig.chip->DMABufferPhysical[0] + 64, linear + 16, linear + 31};
    stream.WritePointer = linear;
    ReserveSpace(rig.driver, 40);
    EmitTag(stream, tag::FogMode, 1);
    ReserveSpace(rig.driver, 52); // 8 + 52 = 60 bytes: exactly Last
    ASSERT_EQ(rig.bus->transfers.size(), 1u);
    EXPECT_EQ(rig.bus->transfers[0].address, rig.chip->DMABufferPhysical[0]);
    EXPECT_EQ(rig.bus->transfers[0].words, (Words{tag::FogMode, 1}));
    EXPECT_EQ(stream.SubBufferIndex, 1u);
    EXPECT_EQ(stream.WritePointer, linear + 16);
    Fill(stream, 8);
    ReserveSpace(rig.driver, 40);
    EXPECT_EQ(stream.SubBufferIndex, 0u);
    EXPECT_EQ(stream.WritePointer, linear);
}

TEST(ContextStream, AnExactFitStaysAndOneWordFurtherFlushes) {
    Rig rig({.deviceId = DeviceTX});
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, true);
    CommandStream& stream = ctx->Stream;
    Fill(stream, stream.SubBufferFlushWords - 2);
    ReserveSpace(ctx, 8);
    EXPECT_TRUE(rig.bus->transfers.empty());
    EXPECT_EQ(stream.SubBufferFlushWords, 256u);
    Fill(stream, 1);
    ReserveSpace(ctx, 8);
    ASSERT_EQ(rig.bus->transfers.size(), 1u);
    EXPECT_EQ(rig.bus->transfers[0].words.size(), 255u);
    EXPECT_EQ(stream.SubBufferFlushWords, 512u);
    EXPECT_EQ(stream.SubBufferIndex, 1u);
}

TEST(ContextStream, TheLimitGrowsBy256UpToTheSubBuffer) {
    Rig rig({.deviceId = DeviceTX, .dmaBufferBytes = 2 * 700 * 4});
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, true);
    CommandStream& stream = ctx->Stream;
    ASSERT_EQ(stream.SubBufferWords, 700u);
    for (const uint32_t expected : {512u, 700u, 700u}) {
        Fill(stream, stream.SubBufferFlushWords);
        ReserveSpace(ctx, 8);
        EXPECT_EQ(stream.SubBufferFlushWords, expected);
    }
}

TEST(ContextStream, TheIndexWrapsAtTheLastSubBuffer) {
    Rig rig({.deviceId = DeviceTX});
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, true, 3);
    for (const uint32_t expected : {1u, 2u, 0u, 1u}) {
        Fill(ctx->Stream, ctx->Stream.SubBufferFlushWords);
        ReserveSpace(ctx, 8);
        EXPECT_EQ(ctx->Stream.SubBufferIndex, expected);
        EXPECT_EQ(ctx->Stream.WritePointer, ctx->Stream.SubBuffers[expected].Linear);
    }
}

TEST(ContextStream, AnOverflowWithNothingWrittenStartsNothingAndStillMovesOn) {
    Rig rig({.deviceId = DeviceTX});
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, true);
    ReserveSpace(ctx, 2048);
    EXPECT_TRUE(rig.bus->transfers.empty());
    EXPECT_EQ(ctx->Stream.SubBufferIndex, 1u);
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 512u);
}

TEST(ContextStream, InFifoModeEveryReservationGoesBackToTheStartOfTheWindow) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, false);
    for (int i = 0; i < 3; ++i) {
        ReserveSpace(ctx, 64);
        EXPECT_EQ(ctx->Stream.WritePointer, ctx->Stream.SubBuffers[0].Linear);
        EmitTag(ctx->Stream, tag::FogMode, 5);
        EXPECT_EQ(ctx->Stream.WritePointer, ctx->Stream.SubBuffers[0].Linear + 2);
    }
    EXPECT_EQ(rig.bus->FifoWords(),
              test::Pairs({{t::FogMode, 5}, {t::FogMode, 5}, {t::FogMode, 5}}));
}

TEST(SubBufferHead, OpensEachNewSubBufferOnTheFirstPermediaUnderBothIds) {
    for (const uint32_t device : {4u, 0x3D04u}) {
        Rig rig({.deviceId = device});
        rig.Ready();
        D3DContext* ctx = ContextOfId5(rig, true);
        ctx->Copies.FogMode = 0x11;
        ctx->Copies.TextureAddressMode = 0x22;
        ctx->Copies.TextureColorMode = 0x33;
        ctx->Copies.TextureReadMode = 0x44;
        ctx->AlphaBlendModeOut = 0x55;
        ctx->FogColor = 0x123456;
        EXPECT_TRUE(Rig::Pending(ctx).empty()); // the very first has none
        Fill(ctx->Stream, 256);
        ReserveSpace(ctx, 8);
        EXPECT_EQ(Rig::Pending(ctx), HeadOf(ctx));
        EXPECT_EQ(Rig::Pending(ctx).back(), 0xFFFFFFFFu);
        ctx->RenderFlags |= RF_FOG;
        FlushSubBuffer(ctx);
        EXPECT_EQ(Rig::Pending(ctx), HeadOf(ctx));
        EXPECT_EQ(Rig::Pending(ctx).back(), 0x123456u);
    }
}

TEST(SubBufferHead, IsAbsentOnTheOtherChips) {
    for (const uint32_t device : {1u, 2u, 6u, 7u, 0x3D07u}) {
        Rig rig({.deviceId = device});
        rig.Ready();
        D3DContext* ctx = ContextOfId5(rig, true);
        Fill(ctx->Stream, 256);
        ReserveSpace(ctx, 8);
        EXPECT_TRUE(Rig::Pending(ctx).empty()) << device;
    }
}

TEST(FlushSubBuffer, SendsAHeadOnlySubBufferAndLeavesTheLimit) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, true, 3);
    Fill(ctx->Stream, 4);
    FlushSubBuffer(ctx);
    ASSERT_EQ(Rig::Pending(ctx).size(), 12u);
    FlushSubBuffer(ctx);
    ASSERT_EQ(rig.bus->transfers.size(), 2u);
    EXPECT_EQ(rig.bus->transfers[1].words, HeadOf(ctx));
    EXPECT_EQ(ctx->Stream.SubBufferFlushWords, 256u);
}

TEST(FlushSubBuffer, StartsNothingWithoutWords) {
    Rig rig({.deviceId = DeviceMX});
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, true);
    FlushSubBuffer(ctx);
    EXPECT_TRUE(rig.bus->transfers.empty());
    EXPECT_EQ(ctx->Stream.SubBufferIndex, 0u);
}

TEST(SendSubBufferDirect, SendsBeyondTheHeadAndReusesTheSubBuffer) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, true);
    Fill(ctx->Stream, 4);
    FlushSubBuffer(ctx);
    rig.bus->Clear();
    SendSubBufferDirect(rig.driver, ctx); // head only: counts as empty
    EXPECT_TRUE(rig.bus->events.empty());
    ReserveSpace(ctx, 8);
    EmitTag(ctx->Stream, tag::dY, 7);
    SendSubBufferDirect(rig.driver, ctx);
    ASSERT_EQ(rig.bus->transfers.size(), 1u);
    EXPECT_EQ(rig.bus->transfers[0].address, ctx->Stream.SubBuffers[1].Physical);
    EXPECT_EQ(rig.bus->transfers[0].words.size(), 14u);
    EXPECT_EQ(rig.bus->transfers[0].words[13], 7u);
    EXPECT_EQ(ctx->Stream.SubBufferIndex, 1u);
    EXPECT_EQ(Rig::Pending(ctx), HeadOf(ctx));
}

TEST(SendSubBufferDirect, WritesTheNewHeadAfterTheStartAndBeforeTheWait) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, true);
    Fill(ctx->Stream, 14);
    uint32_t* first = ctx->Stream.SubBuffers[0].Linear;
    *first = 0;
    uint32_t seenAtWait = 0;
    rig.bus->readDMACount = [&] {
        seenAtWait = *first;
        return 0u;
    };
    SendSubBufferDirect(rig.driver, ctx);
    EXPECT_EQ(rig.bus->transfers[0].words[0], 0u);
    EXPECT_EQ(seenAtWait, t::FogMode);
}

TEST(SendSubBufferDirect, DoesNothingInFifoMode) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, false);
    ReserveSpace(ctx, 64);
    EmitTag(ctx->Stream, tag::dY, 7);
    rig.bus->Clear();
    SendSubBufferDirect(rig.driver, ctx);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(SendSubBufferDirect, RunsOnADisplayThatIsNotPrimary) {
    Rig rig({.deviceId = DeviceTX, .primary = false});
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, true);
    Fill(ctx->Stream, 2);
    SendSubBufferDirect(rig.driver, ctx);
    EXPECT_EQ(rig.bus->transfers.size(), 1u);
}

TEST(StartDMA, OfCountZeroChangesNoState) {
    Rig rig;
    rig.Ready();
    rig.chip->CurrentContext = 4;
    EXPECT_EQ(StartDMA(rig.driver, kContext2D, 0, 0x1000, nullptr, 0), -1);
    EXPECT_EQ(rig.chip->CurrentContext, 4u);
    EXPECT_EQ(rig.chip->DMAState, uint32_t{DMAIdle});
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(StartDMA, WritesTheAddressThenWaitsThenTheCount) {
    Rig rig;
    rig.Ready();
    std::vector<uint32_t> left = {9, 3, 0};
    size_t read = 0;
    rig.bus->readDMACount = [&] { return left.at(read++); };
    EXPECT_EQ(StartDMA(rig.driver, kContext2D, 20, 0x1000, nullptr, 0), 0);
    const std::vector<BusEvent> expected = {
        {'w', t::DMAAddress, 0x1000}, {'r', t::DMACount, 9}, {'i', 8, 0},
        {'r', t::DMACount, 3},        {'i', 2, 0},           {'r', t::DMACount, 0},
        {'w', t::DMACount, 20},
    };
    EXPECT_EQ(rig.bus->events, expected);
    EXPECT_EQ(rig.chip->DMAState & DMAIdle, 0u);
}

TEST(StartDMA, OnADisplayThatIsNotPrimaryDropsTheWordsButTakesTheContext) {
    Rig rig({.primary = false});
    rig.Ready();
    rig.chip->CurrentContext = kNoContext;
    EXPECT_EQ(StartDMA(rig.driver, kContext2D, 20, 0x1000, nullptr, 0), 0);
    EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
    EXPECT_EQ(rig.chip->DMAState & DMAIdle, 0u);
    EXPECT_TRUE(rig.bus->transfers.empty());
    EXPECT_EQ(rig.bus->ReadsOf(t::DMACount), 0u);
}

class QueueTest : public testing::Test {
  protected:
    QueueTest() {
        rig.Ready();
        rig.chip->DMAState = DMAQueueOn;
        rig.chip->QueueEnd = 7;
    }
    Rig rig;
    int32_t Start(uint32_t count) {
        return StartDMA(rig.driver, kContext2D, count, 0x1000 * count, nullptr, 0);
    }
};

TEST_F(QueueTest, AnEntryIsStoredAndTheHandlerKicked) {
    EXPECT_EQ(Start(3), 0);
    EXPECT_EQ(rig.chip->QueueAddress[0], 0x3000u);
    EXPECT_EQ(rig.chip->QueueCount[0], 3u);
    EXPECT_EQ(rig.chip->QueueHead, 1u);
    const std::vector<BusEvent> kick = {{'w', t::ErrorFlags, 7}, {'r', t::OutFIFOWord, 0}};
    EXPECT_EQ(rig.bus->events, kick);
}

TEST_F(QueueTest, ARunningHandlerIsNotKicked) {
    rig.chip->QueueRunning = 1;
    EXPECT_EQ(Start(3), 0);
    EXPECT_TRUE(rig.bus->events.empty());
    EXPECT_EQ(rig.chip->QueueHead, 1u);
}

TEST_F(QueueTest, TheHeadWrapsAfterEntrySixOfSeven) {
    rig.chip->QueueHead = 6;
    rig.chip->QueueTail = 6;
    Start(2);
    EXPECT_EQ(rig.chip->QueueCount[6], 2u);
    EXPECT_EQ(rig.chip->QueueHead, 0u);
}

TEST_F(QueueTest, HoldsAtMostOneLessThanItsEntriesAndThenBlocks) {
    rig.chip->QueueRunning = 1;
    for (uint32_t i = 1; i <= 6; ++i) {
        Start(i);
    }
    EXPECT_EQ(rig.chip->QueueHead, 6u);
    EXPECT_EQ(rig.bus->events.size(), 0u);
    uint32_t rounds = 0;
    rig.bus->onIdle = [&](uint32_t) {
        if (++rounds == 5) {
            EXPECT_EQ(rig.chip->QueueHead, 6u); // nothing moved while it waited
            rig.chip->QueueTail = 1;
        }
    };
    Start(7);
    EXPECT_EQ(rounds, 5u);
    EXPECT_EQ(rig.chip->QueueHead, 0u);
    EXPECT_EQ(rig.chip->QueueCount[6], 7u);
}

TEST_F(QueueTest, ServesADisplayThatIsNotPrimary) {
    rig.chip->PrimaryDisplay = 0;
    Start(4);
    EXPECT_EQ(rig.chip->QueueHead, 1u);
}

TEST(WaitDMAIdle, WithIdleSetTouchesNoRegister) {
    Rig rig;
    rig.Ready();
    rig.chip->DMAState = DMAIdle | DMAQueueOn;
    rig.chip->QueueHead = 3;
    WaitDMAIdle(rig.driver);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(WaitDMAIdle, WaitsForTheTailThenForTheCountWithSpacedReads) {
    Rig rig;
    rig.Ready();
    rig.chip->DMAState = DMAQueueOn;
    rig.chip->QueueHead = 2;
    rig.bus->onIdle = [&](uint32_t) { rig.chip->QueueTail = rig.chip->QueueHead; };
    std::vector<uint32_t> left = {0x80000000, 100, 32, 31, 0};
    size_t read = 0;
    rig.bus->readDMACount = [&] { return left.at(read++); };
    WaitDMAIdle(rig.driver);
    const std::vector<BusEvent> expected = {
        {'i', 1, 0},   {'r', t::DMACount, 0x80000000}, {'i', 0, 0},  {'r', t::DMACount, 100},
        {'i', 199, 0}, {'r', t::DMACount, 32},         {'i', 63, 0}, {'r', t::DMACount, 31},
        {'i', 0, 0},   {'r', t::DMACount, 0},
    };
    EXPECT_EQ(rig.bus->events, expected);
    EXPECT_EQ(rig.chip->DMAState, DMAIdle | DMAQueueOn);
}

TEST(SyncChip, DropsWordsOfOtherTags) {
    Rig rig;
    rig.Ready();
    rig.bus->output = {0x17, t::PickResult, 0x400};
    SyncChip(rig.driver);
    EXPECT_TRUE(rig.bus->output.empty());
    EXPECT_EQ(rig.bus->ReadsOf(t::OutFIFOWord), 4u);
}

TEST(ChipBus, AWholeWindowOfWordsIsHandedOver) {
    Rig rig;
    rig.Ready();
    const uint32_t* window = rig.driver->Stream.SubBuffers[0].Linear;
    constexpr uint32_t kWords = 4096 / 4;
    HandOverWords(window, window + kWords);
    EXPECT_EQ(rig.bus->FifoWords().size(), kWords);
}

TEST(SyncChip, LooksAgainUntilTheAnswerIsThere) {
    Rig rig;
    rig.Ready();
    uint32_t looks = 0;
    rig.bus->readOutFIFOWords = [&] { return ++looks < 4 ? 0u : 1u; };
    SyncChip(rig.driver);
    EXPECT_EQ(looks, 4u);
    EXPECT_EQ(rig.bus->ReadsOf(t::OutFIFOWord), 1u);
}

TEST(SyncChip, WaitsForThreeEntriesAndWritesFilterSyncFilter) {
    Rig rig;
    rig.Ready();
    rig.bus->ScriptFIFOSpace({0, 2, 3});
    SyncChip(rig.driver);
    EXPECT_EQ(rig.bus->ReadsOf(t::InFIFOSpace), 3u);
    EXPECT_EQ(rig.bus->Writes(), test::SyncWrites());
}

TEST(WaitFIFOSpace, AsksTheChipOnlyForWhatIsNotLeftFromBefore) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = rig.PlainContext(false);
    EXPECT_EQ(WaitFIFOSpace(ctx, 8, 9), 1);
    EXPECT_EQ(WaitFIFOSpace(ctx, 8, 8), 0);
    EXPECT_TRUE(rig.bus->events.empty());
    rig.bus->ScriptFIFOSpace({7, 10});
    EXPECT_EQ(WaitFIFOSpace(ctx, 8, 7), 2);
    EXPECT_EQ(rig.bus->ReadsOf(t::InFIFOSpace), 2u);
}

TEST(WaitFIFOSpace, DoesNothingUnderDmaOrWithDisconnectOn) {
    Rig rig;
    rig.Ready();
    D3DContext* dma = rig.PlainContext(true);
    EXPECT_EQ(WaitFIFOSpace(dma, 8, 3), 3);
    D3DContext* fifo = rig.PlainContext(false);
    fifo->Stream.DisconnectMode = 1;
    EXPECT_EQ(WaitFIFOSpace(fifo, 8, 3), 3);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(WaitFIFOSpace, ReadsTheRegisterOnlyWhenTheCreditRunsOut) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = rig.PlainContext(false);
    rig.bus->ScriptFIFOSpace({5, 9, 20});
    int32_t credit = WaitFIFOSpace(ctx, 10, 0);
    EXPECT_EQ(credit, 10);
    EXPECT_EQ(rig.bus->ReadsOf(t::InFIFOSpace), 3u);
    credit = WaitFIFOSpace(ctx, 10, credit);
    EXPECT_EQ(credit, 0);
    EXPECT_EQ(rig.bus->ReadsOf(t::InFIFOSpace), 3u);
}

TEST(StreamWriter, BehindAReloadNoSpaceCountsAsLeft) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, false);
    rig.bus->ScriptFIFOSpace({10, 3});
    StreamWriter<D3DContext> out(ctx);
    out.Wait(4);
    out.Wait(6);
    EXPECT_EQ(rig.bus->ReadsOf(t::InFIFOSpace), 1u);
    out.Reload();
    out.Wait(1);
    EXPECT_EQ(rig.bus->ReadsOf(t::InFIFOSpace), 2u);
}

TEST(DMABuffers, AreTakenLowestFirstAndGivenBackOnce) {
    Rig rig({.dmaBufferCount = 2});
    rig.Ready();
    DMABufferRecord record{};
    EXPECT_EQ(GetDMABuffer(rig.driver, &record), 0);
    EXPECT_EQ(record.Size, rig.chip->DMABufferSize);
    EXPECT_EQ(record.Physical, rig.chip->DMABufferPhysical[0]);
    EXPECT_EQ(record.Linear, rig.chip->DMABufferLinear[0]);
    EXPECT_EQ(GetDMABuffer(rig.driver, &record), 1);
    EXPECT_EQ(GetDMABuffer(rig.driver, &record), -1);
    EXPECT_EQ(FreeDMABuffer(rig.driver, 0), 0);
    EXPECT_EQ(FreeDMABuffer(rig.driver, 0), -1);
    EXPECT_EQ(FreeDMABuffer(rig.driver, 2), -1);
    EXPECT_EQ(FreeDMABuffer(rig.driver, -1), -1);
    EXPECT_EQ(GetDMABuffer(rig.driver, &record), 0);
    EXPECT_EQ(rig.chip->DMABufferInUse, 3u);
}

TEST(WordForms, AreEmittedAsTagWordAndData) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, false);
    ReserveSpace(ctx, 64);
    const uint32_t data[] = {1, 2, 3};
    EmitIndexed(ctx->Stream, t::TextureColorMode, 0x70, data);
    EmitHold(ctx->Stream, tag::Color, 3, data);
    EmitTag(ctx->Stream, tag::FogMode, 9);
    EXPECT_EQ(rig.bus->FifoWords(),
              (Words{0x007080D0, 1, 2, 3, 0x00020000 | t::Color, 1, 2, 3, t::FogMode, 9}));
}

TEST(OutputFifo, APairIsFoundBehindOtherWords) {
    Rig rig;
    rig.Ready();
    rig.bus->output = {t::Sync, t::PickResult, 42};
    EXPECT_EQ(ReadOutputFIFOPair(rig.driver, t::PickResult), 42u);
    EXPECT_EQ(rig.bus->ReadsOf(t::OutFIFOSecondWord), 1u);
}

TEST(OutputFifo, APairIsNotTakenApart) {
    Rig rig;
    rig.Ready();
    rig.bus->output = {t::PickResult, 42};
    uint32_t looks = 0;
    rig.bus->readOutFIFOWords = [&] { return looks < 2 ? looks++ : 2u; };
    EXPECT_EQ(ReadOutputFIFOPair(rig.driver, t::PickResult), 42u);
    EXPECT_EQ(looks, 2u);
    EXPECT_EQ(rig.bus->ReadsOf(t::OutFIFOWord), 1u);
}

TEST(ReserveGuardDeathTest, WordsBeyondTheReservationAbort) {
    Rig rig;
    rig.Ready();
    D3DContext* ctx = ContextOfId5(rig, false);
    ReserveSpace(ctx, 8);
    EmitTag(ctx->Stream, tag::FogMode, 0);
    EXPECT_DEATH(EmitTag(ctx->Stream, tag::FogMode, 0), "beyond the reservation");
}

TEST(ReserveGuardDeathTest, WordsBeyondTheDisplaysOwnReservationAbort) {
    Rig rig;
    rig.Ready();
    ReserveSpace(rig.driver, 8);
    EmitTag(rig.driver->Stream, tag::FogMode, 0);
    EXPECT_DEATH(EmitTag(rig.driver->Stream, tag::FogMode, 0), "beyond the reservation");
}

} // namespace
