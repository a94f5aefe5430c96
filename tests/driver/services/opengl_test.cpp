#include "driver/blit/pmdirecx.h"
#include "driver/services/OpenGL.h"
#include "driver/services/context.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using test::Rig;
using test::RigOptions;

class Client : public testing::Test {
  protected:
    void SetUp() override { rig.Ready(); }

    Rig rig;
};

TEST_F(Client, InitializeGivesTheInterfacesVersion) {
    EXPECT_EQ(KORV_Initialize(rig.driver), 0x10000);
    EXPECT_EQ(KORV_Initialize(nullptr), 0x10000);
}

TEST_F(Client, InitializeRefusesWithoutADisplayOrABoard) {
    DriverData* primary = pDriverData;
    pDriverData = nullptr;
    EXPECT_EQ(KORV_Initialize(nullptr), -1);
    pDriverData = primary;
    rig.driver->ChipInfo = nullptr;
    EXPECT_EQ(KORV_Initialize(rig.driver), -1);
    rig.driver->ChipInfo = rig.chip;
}

TEST_F(Client, InitializeRefusesADisplayOfEightBits) {
    rig.driver->PixelDepthBits = 8;
    EXPECT_EQ(KORV_Initialize(rig.driver), -1);
    rig.driver->PixelDepthBits = 9;
    EXPECT_EQ(KORV_Initialize(rig.driver), 0x10000);
}

// A record of 0xEE bytes behind its size; what the call changed shows.
struct Record {
    alignas(4) uint8_t bytes[0x90];

    explicit Record(uint32_t size) {
        std::memset(bytes, 0xEE, sizeof bytes);
        std::memcpy(bytes, &size, 4);
    }
    uint32_t Word(uint32_t offset) const {
        uint32_t word;
        std::memcpy(&word, bytes + offset, 4);
        return word;
    }
    ServiceInfo* Info() { return reinterpret_cast<ServiceInfo*>(bytes); }
};

class Info : public Client {
  protected:
    void SetUp() override {
        Client::SetUp();
        rig.chip->Flags = 0x12345678;
        rig.chip->FrameBufferSize = 0x400000;
        rig.chip->LocalBufferSize = 0x800000;
        rig.chip->ClientByte = 0x9A;
        rig.chip->Revision = 7;
        for (uint32_t word = 0; word < 4; ++word) {
            rig.chip->ClientWords[word] = 0xC0DE0000 + word;
        }
        rig.chip->ClientWord = 0xFACE;
        std::strcpy(rig.chip->RegistryName, "Board");
    }
};

TEST_F(Info, OfLessThanSixtyBytesOnlyItsSizeIsSetToZero) {
    Record record(59);
    EXPECT_EQ(KORV_GetInfo(rig.driver, record.Info()), record.Info());
    EXPECT_EQ(record.Word(0), 0u);
    for (uint32_t at = 4; at < sizeof record.bytes; ++at) {
        EXPECT_EQ(record.bytes[at], 0xEE) << at;
    }
}

TEST_F(Info, OfSixtyBytesGoesUpToTheClientWords) {
    Record record(60);
    EXPECT_EQ(KORV_GetInfo(rig.driver, record.Info()), record.Info());
    EXPECT_EQ(record.Word(0x00), 60u);
    EXPECT_EQ(record.Word(0x04), reinterpret_cast<uintptr_t>(rig.driver->Registers));
    EXPECT_EQ(record.Word(0x08), reinterpret_cast<uintptr_t>(rig.driver->FrameBufferBase));
    EXPECT_EQ(record.Word(0x0C), reinterpret_cast<uintptr_t>(rig.driver->LocalBufferBase));
    EXPECT_EQ(record.Word(0x10), 0x5678EEEEu); // two bytes are nobody's
    EXPECT_EQ(record.Word(0x14), 0x400000u);
    EXPECT_EQ(record.Word(0x18), 0x400000u);
    EXPECT_EQ(record.Word(0x1C), 16u);
    EXPECT_EQ(record.Word(0x20), 0x9Au);
    EXPECT_EQ(record.Word(0x24), 4u);
    EXPECT_EQ(record.Word(0x28), 7u);
    EXPECT_EQ(record.Word(0x2C), 0xC0DE0000u);
    EXPECT_EQ(record.Word(0x38), 0xC0DE0003u);
    EXPECT_EQ(record.Word(0x3C), 0xEEEEEEEEu);
}

TEST_F(Info, TellsAGlintsLocalBufferAndWiderBus) {
    rig.chip->Family = FamilyGlint;
    rig.chip->DeviceId = DeviceMX;
    Record record(60);
    KORV_GetInfo(nullptr, record.Info());
    EXPECT_EQ(record.Word(0x14), 0x800000u);
    EXPECT_EQ(record.Word(0x18), 0x400000u);
    EXPECT_EQ(record.Word(0x1C), 32u);
    EXPECT_EQ(record.Word(0x24), 6u);
}

TEST_F(Info, CallsTheFirstRevisionOne) {
    rig.chip->Revision = 0x10000;
    Record record(60);
    KORV_GetInfo(rig.driver, record.Info());
    EXPECT_EQ(record.Word(0x28), 1u);
}

TEST_F(Info, AddsTheClientWordAboveSixtyAndTheNameAboveSixtyFour) {
    for (const uint32_t size : {61u, 63u, 64u}) {
        Record word(size);
        KORV_GetInfo(rig.driver, word.Info());
        EXPECT_EQ(word.Word(0x00), size);
        EXPECT_EQ(word.Word(0x3C), 0xFACEu);
        EXPECT_EQ(word.Word(0x40), 0xEEEEEEEEu);
    }

    Record name(65);
    KORV_GetInfo(rig.driver, name.Info());
    EXPECT_EQ(name.Word(0x3C), 0xFACEu);
    EXPECT_STREQ(reinterpret_cast<char*>(name.bytes + 0x40), "Board");
    EXPECT_EQ(name.bytes[0x46], 0xEE);
}

struct SubBufferCase {
    const char* text; // null: the value is absent
    uint32_t flags;
    uint32_t told;
};

class ClientSubBuffers : public testing::TestWithParam<SubBufferCase> {};

TEST_P(ClientSubBuffers, AreToldWithTheBuffer) {
    const SubBufferCase& c = GetParam();
    Rig rig({.chipFlags = c.flags, .dmaBufferBytes = 0x8000});
    rig.Ready();
    if (c.text != nullptr) {
        rig.SetRegistry("OpenGL.NumberOfSubBuffers", c.text);
    }
    ServiceDMABuffer buffer{};
    EXPECT_EQ(KORV_GetDMABuffer(rig.driver, &buffer), 0);
    EXPECT_EQ(buffer.Size, 0x8000u);
    EXPECT_EQ(buffer.Physical, rig.chip->DMABufferPhysical[0]);
    EXPECT_EQ(buffer.Linear, rig.chip->DMABufferLinear[0]);
    EXPECT_EQ(buffer.SubBuffers, c.told);
}

INSTANTIATE_TEST_SUITE_P(Counts, ClientSubBuffers,
                         testing::Values(SubBufferCase{nullptr, 0, 2}, SubBufferCase{"0", 0, 2},
                                         SubBufferCase{"1", 0, 2}, SubBufferCase{"2", 0, 2},
                                         SubBufferCase{"17", 0, 17}, SubBufferCase{"32", 0, 32},
                                         SubBufferCase{"33", 0, 32}, SubBufferCase{"-1", 0, 32},
                                         SubBufferCase{"17", 4, 2}));

TEST_F(Client, DMABuffersRunOutAndComeBack) {
    ServiceDMABuffer buffer{};
    for (int32_t index = 0; index < 4; ++index) {
        EXPECT_EQ(KORV_GetDMABuffer(nullptr, &buffer), index);
    }
    buffer = {1, 2, 3, 4};
    EXPECT_EQ(KORV_GetDMABuffer(nullptr, &buffer), -1);
    EXPECT_EQ(buffer.SubBuffers, 4u);
    EXPECT_EQ(KORV_FreeDMABuffer(nullptr, 2), 0);
    EXPECT_EQ(KORV_FreeDMABuffer(nullptr, 2), -1);
    EXPECT_EQ(KORV_GetDMABuffer(nullptr, &buffer), 2);
}

TEST_F(Client, StartsItsWordsUnderItsOwnContext) {
    ServiceDMABuffer buffer{};
    ASSERT_EQ(KORV_GetDMABuffer(rig.driver, &buffer), 0);
    const int32_t id = KORV_CreateContext(rig.driver, buffer.SubBuffers);
    auto* words = reinterpret_cast<uint32_t*>(buffer.Linear);
    words[0] = 0x7;
    words[1] = 0x40;
    EXPECT_EQ(KORV_StartDMA(rig.driver, static_cast<uint32_t>(id), 2, buffer.Physical, words, 0),
              0);
    EXPECT_EQ(rig.chip->CurrentContext, static_cast<uint32_t>(id));
    ASSERT_EQ(rig.bus->transfers.size(), 1u);
    EXPECT_EQ(rig.bus->transfers[0].address, buffer.Physical);
    EXPECT_EQ(rig.bus->transfers[0].words, (std::vector<uint32_t>{0x7, 0x40}));
    EXPECT_EQ(KORV_StartDMA(rig.driver, static_cast<uint32_t>(id), 0, buffer.Physical, words, 0),
              -1);
}

TEST_F(Client, WaitForDMALooksAtTheTransferAndDoesNotSync) {
    uint32_t left = 3;
    rig.bus->readDMACount = [&] { return left == 0 ? 0 : --left; };
    ClearDMAState(rig.chip, DMAIdle);
    EXPECT_EQ(KORV_WaitForDMA(nullptr), 0);
    EXPECT_EQ(left, 0u);
    EXPECT_TRUE(rig.bus->Writes().empty());
}

TEST_F(Client, TheWholeFrameBufferIsGivenAndTakenBackWithoutTheHeap) {
    rig.driver->Heap.HeapStart = reinterpret_cast<uintptr_t>(rig.FrameBuffer()) + 0x1000;
    rig.driver->Heap.HeapEnd = rig.driver->Heap.HeapStart + 0xFFFF;
    InitialiseHeapManager(rig.driver);
    const uint32_t free = GetFreeMemInHeap(rig.driver);
    HeapRequest request{.Size = 20, .Flags = 0x400, .Bytes = 5};
    EXPECT_EQ(KORV_AllocateVideoMemory(rig.driver, &request), 0);
    EXPECT_EQ(request.Address, reinterpret_cast<uintptr_t>(rig.driver->FrameBufferBase));
    EXPECT_EQ(KORV_FreeVideoMemory(rig.driver, request.Address), 0);
    EXPECT_EQ(GetFreeMemInHeap(rig.driver), free);
}

TEST_F(Client, OtherMemoryComesFromTheHeapAndGoesBack) {
    rig.driver->Heap.HeapStart = reinterpret_cast<uintptr_t>(rig.FrameBuffer()) + 0x1000;
    rig.driver->Heap.HeapEnd = rig.driver->Heap.HeapStart + 0xFFFF;
    InitialiseHeapManager(rig.driver);
    HeapRequest request{.Size = 20, .Flags = 1, .Alignment = 4, .Bytes = 0x100};
    EXPECT_EQ(KORV_AllocateVideoMemory(nullptr, &request), 0);
    EXPECT_EQ(GetFreeMemInHeap(rig.driver), 0xFF00u);
    EXPECT_EQ(KORV_FreeVideoMemory(nullptr, request.Address), 0);
    EXPECT_EQ(GetFreeMemInHeap(rig.driver), 0x10000u);
    EXPECT_EQ(KORV_FreeVideoMemory(nullptr, request.Address), 1);
    request.Size = 19;
    EXPECT_EQ(KORV_AllocateVideoMemory(nullptr, &request), 2);
}

TEST_F(Client, WithoutADisplayAllMemoryIsRefusedAndNothingIsFreed) {
    DriverData* primary = pDriverData;
    pDriverData = nullptr;
    HeapRequest request{.Size = 20, .Flags = 0x400};
    EXPECT_EQ(KORV_AllocateVideoMemory(nullptr, &request), -1);
    EXPECT_EQ(KORV_FreeVideoMemory(nullptr, 0x1234), 0);
    pDriverData = primary;
}

struct ScreenCopy {
    RECTL* dest;
    RECTL* src;
    int32_t stride;
    uint32_t destOffset;
    int32_t srcRelative;
    uint32_t logicOp;
    uint32_t context;
    int calls;
};
ScreenCopy screenCopy;

TEST_F(Client, CopyBltCallsTheScreenCopyInContextFive) {
    SetupFnTable(rig.driver);
    screenCopy = {};
    CHIPRender.ScreenCopyBlt = [](DriverData* driver, RECTL* dest, RECTL* src, int32_t stride,
                                  uint32_t destOffset, int32_t srcRelative, uint32_t logicOp) {
        screenCopy = {dest,
                      src,
                      stride,
                      destOffset,
                      srcRelative,
                      logicOp,
                      driver->ChipInfo->CurrentContext,
                      screenCopy.calls + 1};
    };
    const int32_t id = KORV_CreateContext(rig.driver, 2);
    KORV_SwitchContext(rig.driver, static_cast<uint32_t>(id));
    RECTL rect{1, 2, 30, 40};
    EXPECT_EQ(KORV_CopyBlt(nullptr, &rect, 77, static_cast<uint32_t>(-12)), 0);
    EXPECT_EQ(screenCopy.calls, 1);
    EXPECT_EQ(screenCopy.dest, &rect);
    EXPECT_EQ(screenCopy.src, &rect);
    EXPECT_EQ(screenCopy.stride, 640);
    EXPECT_EQ(screenCopy.destOffset, 77u);
    EXPECT_EQ(screenCopy.srcRelative, -12);
    EXPECT_EQ(screenCopy.logicOp, 3u);
    EXPECT_EQ(screenCopy.context, 5u);
    SetupFnTable(rig.driver);
}

TEST_F(Client, CopyBltFillsTheTableAgainAfterAModeChange) {
    const uint32_t key = rig.driver->ModeKey;
    CHIPRender.ModeKey = key + 1;
    CHIPRender.ScreenCopyBlt = nullptr;
    RECTL rect{-8, -8, -4, -4}; // off the screen: nothing to copy
    EXPECT_EQ(KORV_CopyBlt(rig.driver, &rect, 0, 0), 0);
    EXPECT_EQ(CHIPRender.ModeKey, key);
    EXPECT_NE(CHIPRender.ScreenCopyBlt, nullptr);
}

TEST_F(Client, StoppingTheSoftwareCursorKeepsItOffTheChip) {
    rig.chip->Flags = 0x1;
    EXPECT_EQ(KORV_StopSoftwareCursor(nullptr), 0);
    EXPECT_EQ(rig.chip->Flags, 0x11u);
    EXPECT_EQ(KORV_StartSoftwareCursor(rig.driver), 0);
    EXPECT_EQ(rig.chip->Flags, 0x1u);
}

} // namespace
