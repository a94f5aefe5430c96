#include "driver/core/dma.h"
#include "driver/services/context.h"
#include "tests/support/rig.h"
#include "tests/support/tag_names.h"
#include "tests/support/words.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using test::BusEvent;
using test::Rig;
using test::Words;

constexpr uint32_t kType2D = 1;

uint32_t* DataOf(ChipInfo* chip, uint32_t id) {
    ContextBlock* block = chip->ContextBlocks;
    for (; id >= 32; id -= 32) {
        block = block->NextBlock;
    }
    return reinterpret_cast<uint32_t*>(reinterpret_cast<uint8_t*>(block) + block->DataOffset[id]);
}

Words SavedOf(ChipInfo* chip, uint32_t id, size_t count) {
    const uint32_t* data = DataOf(chip, id);
    return {data, data + count};
}

TEST(HardwareContexts, ANewOneStartsWithTheChipsRegistersAndIsNotCurrent) {
    Rig rig;
    rig.Ready();
    uint32_t value = 0x100;
    for (const uint16_t offset : test::kRigListDirect3D) {
        rig.bus->registers[offset] = value++;
    }
    const uint32_t id = CreateContext(rig.driver, rig.chip, 3, 0x1111, 0x2222);
    EXPECT_EQ(id, 6u);
    EXPECT_EQ(SavedOf(rig.chip, id, 5), (Words{0x100, 0x101, 0x102, 0x103, 0x104}));
    EXPECT_EQ(rig.chip->ContextBlocks->Handle[6], 0x1111u);
    EXPECT_EQ(rig.chip->ContextBlocks->Owner[6], 0x2222u);
    EXPECT_EQ(rig.chip->ContextBlocks->Type[6], 3u);
    EXPECT_EQ(rig.chip->ContextBlocks->Size[6], 20);
    EXPECT_EQ(rig.chip->ContextBlocks->UsedCount, 7u);
    EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
}

TEST(HardwareContexts, ChangeToTheCurrentIdReturnsAtOnce) {
    Rig rig;
    rig.Ready();
    ChangeContext(rig.driver, rig.chip, kContext2D);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(HardwareContexts, ANullChipInfoChangesNothing) {
    Rig rig;
    rig.Ready();
    ChangeContext(rig.driver, nullptr, 4);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(HardwareContexts, FromNoneNothingIsSavedAndTheChipIsStillSynced) {
    Rig rig;
    rig.Ready();
    const uint32_t id = CreateContext(rig.driver, rig.chip, 3, 0, 0);
    rig.chip->CurrentContext = kNoContext;
    rig.bus->Clear();
    ChangeContext(rig.driver, rig.chip, id);
    for (const uint16_t offset : test::kRigListDirect3D) {
        EXPECT_EQ(rig.bus->ReadsOf(offset), 0u);
    }
    const std::vector<BusEvent> writes = rig.bus->Writes();
    ASSERT_EQ(writes.size(), 3u + 5u);
    EXPECT_EQ(writes[1], (BusEvent{'w', t::Mapped(t::Sync), 0}));
    EXPECT_EQ(rig.chip->CurrentContext, id);
}

TEST(HardwareContexts, TypesOfDifferentLengthsSaveAndRestoreTheirOwnLists) {
    Rig rig;
    rig.Ready();
    for (const uint16_t offset : test::kRigListDirect3D) {
        rig.bus->registers[offset] = 1;
    }
    const uint32_t client = CreateContext(rig.driver, rig.chip, 2, 0, 0);
    const uint32_t d3d = CreateContext(rig.driver, rig.chip, 3, 0, 0);
    ChangeContext(rig.driver, rig.chip, client);
    for (const uint16_t offset : test::kRigListDirect3D) {
        rig.bus->registers[offset] = 20;
    }
    for (const uint16_t offset : test::kRigListClient) {
        rig.bus->registers[offset] = 21;
    }
    ChangeContext(rig.driver, rig.chip, d3d);
    EXPECT_EQ(SavedOf(rig.chip, client, 2), (Words{21, 21}));
    for (const uint16_t offset : test::kRigListDirect3D) {
        EXPECT_EQ(rig.bus->registers[offset], 1u);
        rig.bus->registers[offset] = 30;
    }
    ChangeContext(rig.driver, rig.chip, client);
    EXPECT_EQ(SavedOf(rig.chip, d3d, 5), (Words{30, 30, 30, 30, 30}));
    for (const uint16_t offset : test::kRigListClient) {
        EXPECT_EQ(rig.bus->registers[offset], 21u);
    }
}

TEST(HardwareContexts, AFreedSlotIsReusedWithItsOldSize) {
    Rig rig;
    rig.Ready();
    const uint32_t big = CreateContext(rig.driver, rig.chip, 3, 1, 2);
    const uint16_t nextFree = rig.chip->ContextBlocks->NextFree;
    DeleteContext(rig.driver, rig.chip, big);
    EXPECT_EQ(rig.chip->ContextBlocks->Size[big], -20);
    EXPECT_EQ(rig.chip->ContextBlocks->Handle[big], 1u); // client words stay
    EXPECT_EQ(rig.chip->ContextBlocks->Owner[big], 2u);
    const uint32_t again = CreateContext(rig.driver, rig.chip, kType2D, 0, 0); // needs 12 bytes
    EXPECT_EQ(again, big);
    EXPECT_EQ(rig.chip->ContextBlocks->Size[big], 20);
    EXPECT_EQ(rig.chip->ContextBlocks->NextFree, nextFree);
}

TEST(HardwareContexts, AFreedSlotThatIsTooSmallStaysFree) {
    Rig rig;
    rig.Ready();
    const uint32_t small = CreateContext(rig.driver, rig.chip, 2, 0, 0); // 8 bytes
    DeleteContext(rig.driver, rig.chip, small);
    const uint32_t other = CreateContext(rig.driver, rig.chip, 3, 0, 0);
    EXPECT_EQ(other, small + 1);
    EXPECT_EQ(rig.chip->ContextBlocks->Size[small], -8);
    EXPECT_EQ(rig.chip->ContextBlocks->Size[other], 20);
}

TEST(HardwareContexts, ThirtyThirdContextAsksForABlockAndIsNumber32) {
    Rig rig;
    rig.Ready();
    uint32_t id = 0;
    for (uint32_t expected = 6; expected < 32; ++expected) {
        id = CreateContext(rig.driver, rig.chip, 3, 0, 0);
        EXPECT_EQ(id, expected);
    }
    EXPECT_EQ(rig.contextBlockCalls, 0u);
    rig.bus->registers[test::kRigListDirect3D[0]] = 0x77;
    EXPECT_EQ(CreateContext(rig.driver, rig.chip, 3, 5, 6), 32u);
    EXPECT_EQ(rig.contextBlockCalls, 1u);
    EXPECT_EQ(SavedOf(rig.chip, 32, 1), (Words{0x77}));
    EXPECT_EQ(rig.chip->ContextBlocks->NextBlock->Owner[0], 6u);
    ChangeContext(rig.driver, rig.chip, 32);
    EXPECT_EQ(rig.chip->CurrentContext, 32u);
}

TEST(HardwareContexts, ABlockWithoutRoomInItsDataAreaIsPassedOver) {
    Rig rig;
    rig.Ready();
    rig.chip->ContextBlocks->FreeBytes = 19;
    EXPECT_EQ(CreateContext(rig.driver, rig.chip, 3, 0, 0), 32u);
    EXPECT_EQ(CreateContext(rig.driver, rig.chip, kType2D, 0, 0), 6u); // 12 bytes still fit
}

TEST(HardwareContexts, EndIndexZeroLeavesTheQueueOffAndIntEnableAlone) {
    Rig rig;
    rig.Ready();
    const uint32_t id = CreateContext(rig.driver, rig.chip, 3, 0, 0);
    SetDMAState(rig.chip, DMAQueueOn);
    rig.bus->Clear();
    ChangeContext(rig.driver, rig.chip, id);
    EXPECT_EQ(rig.chip->DMAState & DMAQueueOn, 0u);
    EXPECT_EQ(rig.bus->ReadsOf(t::IntEnable), 0u);
    for (const BusEvent& write : rig.bus->Writes()) {
        EXPECT_NE(write.offset, t::IntEnable);
    }
}

TEST(HardwareContexts, EndIndexSevenOnABoardWithDeltaEnablesBothInterrupts) {
    Rig rig({.chipFlags = DeltaPresent});
    rig.Ready();
    rig.bus->registers[t::IntEnable] = 0x12;
    rig.bus->registers[reg::DeltaIntEnable] = 0x40;
    const uint32_t id = CreateContext(rig.driver, rig.chip, 3, 0, 0);
    SetEndIndex(rig.chip, id, 7);
    rig.chip->QueueHead = 3;
    rig.chip->QueueTail = 3;
    ChangeContext(rig.driver, rig.chip, id);
    EXPECT_EQ(rig.chip->QueueEnd, 7u);
    EXPECT_EQ(rig.chip->QueueHead, 0u);
    EXPECT_EQ(rig.chip->QueueTail, 0u);
    EXPECT_NE(rig.chip->DMAState & DMAQueueOn, 0u);
    EXPECT_EQ(rig.bus->registers[t::IntEnable], 0x1Bu);
    EXPECT_EQ(rig.bus->registers[reg::DeltaIntEnable], 0x49u);
}

TEST(HardwareContexts, WithoutDeltaItsInterruptRegisterIsNotTouched) {
    Rig rig;
    rig.Ready();
    const uint32_t id = CreateContext(rig.driver, rig.chip, 3, 0, 0);
    SetEndIndex(rig.chip, id, 2);
    ChangeContext(rig.driver, rig.chip, id);
    EXPECT_EQ(rig.bus->registers[t::IntEnable], 9u);
    EXPECT_EQ(rig.bus->registers.count(reg::DeltaIntEnable), 0u);
}

TEST(HardwareContexts, ToNoneKeepsTheOldQueueLength) {
    Rig rig;
    rig.Ready();
    const uint32_t id = CreateContext(rig.driver, rig.chip, 3, 0, 0);
    SetEndIndex(rig.chip, id, 4);
    ChangeContext(rig.driver, rig.chip, id);
    ChangeContext(rig.driver, rig.chip, kNoContext);
    EXPECT_EQ(rig.chip->CurrentContext, kNoContext);
    EXPECT_NE(rig.chip->DMAState & DMAQueueOn, 0u); // the old length decides
    ChangeContext(rig.driver, rig.chip, kContext2D);
    EXPECT_EQ(rig.chip->DMAState & DMAQueueOn, 0u);
}

TEST(HardwareContexts, DeletingTheCurrentOneLeavesTheChipWithoutAContext) {
    Rig rig;
    rig.Ready();
    const uint32_t id = CreateContext(rig.driver, rig.chip, 3, 0, 0);
    ChangeContext(rig.driver, rig.chip, id);
    DeleteContext(rig.driver, rig.chip, id);
    EXPECT_EQ(rig.chip->CurrentContext, kNoContext);
}

TEST(HardwareContexts, DeletingTwiceNegatesTheSizeTwice) {
    Rig rig;
    rig.Ready();
    const uint32_t id = CreateContext(rig.driver, rig.chip, 3, 0, 0);
    DeleteContext(rig.driver, rig.chip, id);
    DeleteContext(rig.driver, rig.chip, id);
    EXPECT_EQ(rig.chip->ContextBlocks->Size[id], 20);
}

TEST(HardwareContexts, SetEndIndexOfNoneDoesNothing) {
    Rig rig;
    rig.Ready();
    const ContextBlock before = *rig.chip->ContextBlocks;
    SetEndIndex(rig.chip, kNoContext, 7);
    EXPECT_EQ(std::memcmp(&before, rig.chip->ContextBlocks, sizeof(before)), 0);
}

TEST(HardwareContexts, AnOutgoingDirect3DContextsWordsGoFirstThenTheSync) {
    Rig rig({.deviceId = DeviceTX});
    rig.Ready();
    D3DContext* ctx = rig.PlainContext(true);
    ctx->Stream.HardwareContext =
        CreateContext(rig.driver, rig.chip, 3, 0x99, reinterpret_cast<uint32_t>(ctx));
    ChangeContext(rig.driver, rig.chip, ctx->Stream.HardwareContext);
    ReserveSpace(ctx, 8);
    EmitTag(ctx->Stream, tag::FogMode, 1);
    rig.bus->Clear();
    ChangeContext(rig.driver, rig.chip, kContext2D);
    ASSERT_EQ(rig.bus->transfers.size(), 1u);
    EXPECT_EQ(rig.bus->transfers[0].words, (Words{t::FogMode, 1}));
    const std::vector<BusEvent> writes = rig.bus->Writes();
    EXPECT_EQ(writes[0].offset, t::DMAAddress);
    EXPECT_EQ(writes[1].offset, t::DMACount);
    EXPECT_EQ(writes[2], (BusEvent{'w', t::Mapped(t::FilterMode), 0x400}));
    EXPECT_TRUE(Rig::Pending(ctx).empty());
}

TEST(HardwareContexts, AClientWithoutBothWordsIsNotFlushed) {
    Rig rig({.deviceId = DeviceTX});
    rig.Ready();
    D3DContext* ctx = rig.PlainContext(true);
    ctx->Stream.HardwareContext =
        CreateContext(rig.driver, rig.chip, 3, 0, reinterpret_cast<uint32_t>(ctx));
    ChangeContext(rig.driver, rig.chip, ctx->Stream.HardwareContext);
    ReserveSpace(ctx, 8);
    EmitTag(ctx->Stream, tag::FogMode, 1);
    ChangeContext(rig.driver, rig.chip, kContext2D);
    EXPECT_TRUE(rig.bus->transfers.empty());
}

TEST(HardwareContexts, BeyondTheFirstBlockTheRecordIsReadFromTheListsBlock) {
    Rig rig({.deviceId = DeviceTX});
    rig.Ready();
    while (rig.chip->ContextBlocks->SlotCount < 32) {
        CreateContext(rig.driver, rig.chip, 2, 0, 0);
    }
    D3DContext* ctx = rig.PlainContext(true);
    D3DContext* other = rig.PlainContext(true);
    ctx->Stream.HardwareContext =
        CreateContext(rig.driver, rig.chip, 3, 0x99, reinterpret_cast<uint32_t>(ctx));
    ASSERT_EQ(ctx->Stream.HardwareContext, 32u);
    ChangeContext(rig.driver, rig.chip, 32);
    ReserveSpace(ctx, 8);
    EmitTag(ctx->Stream, tag::FogMode, 1);
    ReserveSpace(other, 8);
    EmitTag(other->Stream, tag::FogMode, 2);
    rig.chip->ContextBlocks->Owner[0] = reinterpret_cast<uint32_t>(other);
    ChangeContext(rig.driver, rig.chip, kContext2D);
    EXPECT_FALSE(Rig::Pending(ctx).empty());
    EXPECT_TRUE(Rig::Pending(other).empty());

    // With nothing in that slot nothing is sent.
    ChangeContext(rig.driver, rig.chip, 32);
    rig.chip->ContextBlocks->Owner[0] = 0;
    rig.bus->Clear();
    ChangeContext(rig.driver, rig.chip, kContext2D);
    EXPECT_TRUE(rig.bus->transfers.empty());
}

TEST(RegisterLists, AreWrittenInRunsOfTheReportedSpace) {
    Rig rig;
    rig.Ready();
    rig.bus->ScriptFIFOSpace({2, 0, 9});
    const struct {
        uint16_t count;
        uint16_t offsets[5];
    } list = {5,
              {t::Mapped(t::StartXSub), t::Mapped(t::StartY), t::Mapped(t::Count),
               t::Mapped(t::ContinueNewLine), t::Mapped(t::ContinueNewSub)}};
    const uint32_t values[] = {1, 2, 3, 4, 5};
    WriteRegisters(rig.driver, reinterpret_cast<const RegisterList*>(&list), values);
    const std::vector<BusEvent> expected = {
        {'r', t::InFIFOSpace, 2},
        {'w', t::Mapped(t::StartXSub), 1},
        {'w', t::Mapped(t::StartY), 2},
        {'r', t::InFIFOSpace, 0},
        {'r', t::InFIFOSpace, 9},
        {'w', t::Mapped(t::Count), 3},
        {'w', t::Mapped(t::ContinueNewLine), 4},
        {'w', t::Mapped(t::ContinueNewSub), 5},
    };
    EXPECT_EQ(rig.bus->events, expected);
}

TEST(RegisterLists, AnEmptyOneIsNotWritten) {
    Rig rig;
    rig.Ready();
    const RegisterList none = {0, {0}};
    WriteRegisters(rig.driver, &none, nullptr);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(RegisterLists, AreReadInOrderWithTheOddOneLast) {
    Rig rig;
    rig.Ready();
    const struct {
        uint16_t count;
        uint16_t offsets[3];
    } list = {3, {0x8010, 0x8020, 0x8030}};
    rig.bus->registers = {{0x8010, 7}, {0x8020, 8}, {0x8030, 9}};
    uint32_t data[4] = {0, 0, 0, 0xAA};
    ReadRegisters(rig.driver, reinterpret_cast<const RegisterList*>(&list), data);
    EXPECT_EQ((Words{data, data + 4}), (Words{7, 8, 9, 0xAA}));
    EXPECT_EQ(rig.bus->events.size(), 3u);
}

TEST(ClientContexts, GetTheirQueueLengthFromTheNumberOfSubBuffers) {
    Rig rig;
    rig.Ready();
    for (const auto& [subBuffers, endIndex] : {std::pair{0u, 0u}, {2u, 0u}, {3u, 2u}, {8u, 7u}}) {
        const int32_t id = KORV_CreateContext(nullptr, subBuffers);
        EXPECT_EQ(rig.chip->ContextBlocks->EndIndex[id], endIndex) << subBuffers;
        EXPECT_EQ(rig.chip->ContextBlocks->Type[id], 2u);
        EXPECT_EQ(rig.chip->ContextBlocks->Owner[id], 0u);
    }
}

TEST(ClientContexts, SwitchAndDeleteAnswerZero) {
    Rig rig;
    rig.Ready();
    const auto id = static_cast<uint32_t>(KORV_CreateContext(rig.driver, 2));
    EXPECT_EQ(KORV_SwitchContext(rig.driver, id), 0);
    EXPECT_EQ(rig.chip->CurrentContext, id);
    EXPECT_EQ(KORV_DeleteContext(nullptr, id), 0);
    EXPECT_EQ(rig.chip->CurrentContext, kNoContext);
}

TEST(MiniVDD, IsOpenedAnewForEachRequestAndClosedAfter) {
    Rig rig;
    uint32_t address = 0;
    EXPECT_NE(DoIOCTL(4, &address, 4, &address, 4, nullptr), 0);
    EXPECT_EQ(address, reinterpret_cast<uint32_t>(rig.driver));
    EXPECT_EQ(host::OpenDeviceHandles(), 0u);
    EXPECT_EQ(host::LastDeviceOpening().name, "\\\\.\\glintmvd");
    EXPECT_EQ(host::LastDeviceOpening().access, 0x80000000u);
    EXPECT_EQ(host::LastDeviceOpening().share, 3u);
    EXPECT_EQ(host::LastDeviceOpening().creation, 3u);
    EXPECT_EQ(host::LastDeviceOpening().attributes, 0x80u);
    EXPECT_EQ(DoIOCTL(99, &address, 4, &address, 4, nullptr), 0);
    EXPECT_EQ(host::OpenDeviceHandles(), 0u);
    host::UnregisterDevice("\\\\.\\glintmvd");
    EXPECT_EQ(DoIOCTL(4, &address, 4, &address, 4, nullptr), 0);
}

TEST(AddContextMemory, AnswersAsTheMiniVDDDid) {
    Rig rig;
    rig.Ready();
    EXPECT_EQ(AddContextMemory(rig.chip), 1);
    EXPECT_EQ(rig.contextBlockCalls, 1u);
    host::UnregisterDevice("\\\\.\\glintmvd");
    EXPECT_EQ(AddContextMemory(rig.chip), 0);
    EXPECT_EQ(rig.contextBlockCalls, 1u);
}

} // namespace
