#include "chip/register_table.h"
#include "driver/core/tags.h"
#include "driver/heap/linalloc.h"
#include "driver/services/context.h"
#include "host/display/context_lists.h"
#include "host/display/display.h"
#include "host/display/machine.h"
#include "host/inspect/unwaited.h"
#include "host/vdd/minivdd.h"
#include "host/win32/registry.h"
#include "tests/support_host/configs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <stdexcept>

namespace {

using host::Display;
using host::DisplayConfig;

constexpr uint32_t kAllDevices[] = {DeviceSX,
                                    DeviceTX,
                                    DeviceMX,
                                    DevicePermedia,
                                    DevicePermediaSecond,
                                    DevicePermedia2,
                                    DevicePermedia2Second};

class DisplayTest : public ::testing::Test {
  protected:
    DisplayTest() { host::PowerCycle(); }
};

bool Holds(const std::vector<uint16_t>& list, uint32_t tagNumber) {
    return std::find(list.begin(), list.end(), MappedOffset(tagNumber)) != list.end();
}

TEST(ScreenPitch, IsTheSumOfThreeProducts) {
    EXPECT_EQ(host::ScreenPitchPixels(DevicePermedia, 640), 640u); // 512 + 128
    EXPECT_EQ(host::ScreenPitchPixels(DevicePermedia, 800), 800u); // 512 + 256 + 32
    EXPECT_EQ(host::ScreenPitchPixels(DevicePermedia, 1024), 1024u);
    EXPECT_EQ(host::ScreenPitchPixels(DevicePermedia2, 1600), 1600u); // 1024 + 512 + 64
    EXPECT_EQ(host::ScreenPitchPixels(DevicePermedia, 1600), 1536u);  // the 64 finds no room
    EXPECT_EQ(host::ScreenPitchPixels(DevicePermedia, 650), 640u);    // below 32 does not count
    EXPECT_EQ(host::ScreenPitchPixels(DeviceTX, 992), 224u);          // 32 + 64 + 128
    EXPECT_EQ(host::ScreenPitchPixels(DevicePermedia, 2048), 0u);     // four whole units
}

TEST(ContextLists, HoldStateAndNoCommands) {
    for (const uint32_t device : kAllDevices) {
        const std::vector<uint16_t> list = host::StateRegisters(device);
        const std::set<uint16_t> unique(list.begin(), list.end());
        EXPECT_EQ(unique.size(), list.size());
        for (const uint32_t wanted :
             {tag::FBReadMode, tag::LBWriteMode, tag::RStart, tag::dZdyDomL, tag::StartXDom,
              tag::Count, tag::AreaStipplePattern7, tag::FBPixelOffset, tag::LBWindowBase,
              tag::ScreenSize, tag::FogColor, tag::FBBlockColor}) {
            EXPECT_TRUE(Holds(list, wanted)) << NameOfTag(wanted);
        }
        for (const uint32_t command :
             {tag::Render, tag::Continue, tag::ContinueNewSub, tag::Sync, tag::ResetPickResult,
              tag::DrawTriangle, tag::DrawLine10, tag::Color, tag::TextureData, tag::FlushSpan}) {
            EXPECT_FALSE(Holds(list, command)) << NameOfTag(command);
        }
    }
}

TEST(ContextLists, TextureUnitsAreTheChipsOwn) {
    EXPECT_FALSE(Holds(host::StateRegisters(DeviceSX), tag::GlintTextureReadMode));
    EXPECT_FALSE(Holds(host::StateRegisters(DeviceSX), tag::TexelLUT0));
    EXPECT_TRUE(Holds(host::StateRegisters(DeviceTX), tag::GlintTextureReadMode));
    EXPECT_FALSE(Holds(host::StateRegisters(DeviceTX), tag::TextureReadMode));
    EXPECT_TRUE(Holds(host::StateRegisters(DevicePermedia), tag::TextureReadMode));
    EXPECT_EQ(host::StateRegisters(DevicePermedia2).back(), MappedOffset(tag::TexelLUTTransfer));
}

TEST(ContextLists, TheScreensListLeavesInterpolantsOut) {
    const std::vector<uint16_t> all = host::StateRegisters(DevicePermedia);
    const std::vector<uint16_t> screen = host::ScreenRegisters(DevicePermedia);
    EXPECT_LT(screen.size(), all.size());
    EXPECT_TRUE(Holds(screen, tag::FBReadMode));
    EXPECT_FALSE(Holds(screen, tag::dRdx));
    EXPECT_FALSE(Holds(screen, tag::ZStartU));
}

TEST_F(DisplayTest, SharedRecordsAreFilledAsTheOtherSideFillsThem) {
    DisplayConfig config = test::ConfigFor(DeviceTX);
    config.width = 800;
    config.height = 600;
    config.bits = 32;
    config.delta = true;
    config.chipFlags = TwoSubBuffers;
    config.dmaBufferCount = 3;
    config.dmaBufferBytes = 0x2000;
    config.refreshRate = 75;
    config.registryName = "Board";
    config.registry = {{"Direct3DHAL.NoDMA", "1"}};
    Display display(config);
    const DriverData* driver = display.Driver();
    const ChipInfo* chip = display.Chip();
    EXPECT_EQ(driver->ChipInfo, chip);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(driver->RegisterBase) % 0x10000, 0u);
    EXPECT_EQ(driver->FrameBufferBase, display.Board().FrameBuffer().data());
    EXPECT_EQ(driver->LocalBufferBase, display.Board().LocalBuffer().data());
    EXPECT_EQ(driver->ScreenWidth, 800u);
    EXPECT_EQ(driver->ScissorHeight, 600u);
    EXPECT_EQ(driver->PixelSize, 2u);
    EXPECT_EQ(driver->PixelDepthBits, 32u);
    EXPECT_EQ(chip->Flags, uint32_t{TwoSubBuffers | DeltaPresent});
    EXPECT_EQ(chip->Family, uint32_t{FamilyGlint});
    EXPECT_EQ(chip->PrimaryDisplay, 1u);
    EXPECT_EQ(chip->RefreshRate, 75);
    EXPECT_EQ(chip->DMABufferCount, 3);
    EXPECT_EQ(chip->DMABufferSize, 0x2000u);
    EXPECT_EQ(chip->LocalBufferSize, 8u << 20);
    EXPECT_NE(chip->DMAState & DMAIdle, 0u);
    EXPECT_STREQ(chip->RegistryName, "Board");
    EXPECT_EQ(host::TheRegistry().Text("SOFTWARE\\Board\\DirectX", "Direct3DHAL.NoDMA"), "1");
    EXPECT_EQ(display.Pitch(), 3200u);
}

TEST_F(DisplayTest, PixelPlacesInWordsFollowTheDepth) {
    const struct {
        uint32_t bits, size, shift, mask;
    } kDepths[] = {{8, 0, 2, 3}, {16, 1, 1, 1}, {24, 4, 0, 0}, {32, 2, 0, 0}};
    for (const auto& depth : kDepths) {
        DisplayConfig config;
        config.bits = depth.bits;
        Display display(config);
        EXPECT_EQ(display.Driver()->PixelSize, depth.size);
        EXPECT_EQ(display.Driver()->PixelsPerWordShift, depth.shift);
        EXPECT_EQ(display.Driver()->PixelsPerWordMask, depth.mask);
    }
}

TEST_F(DisplayTest, ModesAndDevicesThatNoBoardHasAreRefused) {
    EXPECT_THROW(Display(test::ConfigFor(99)), std::invalid_argument);
    DisplayConfig config = test::ConfigFor(DevicePermedia);
    config.bits = 24;
    EXPECT_THROW(Display{config}, std::invalid_argument);
    config.bits = 16;
    config.width = 1600;
    EXPECT_THROW(Display{config}, std::invalid_argument);
    config.width = 1024;
    config.height = 4096;
    EXPECT_THROW(Display{config}, std::invalid_argument);
    config = {};
    config.registryName = std::string(35, 'x');
    EXPECT_THROW(Display{config}, std::invalid_argument);
}

TEST_F(DisplayTest, DmaBuffersAreReachableFromTheBus) {
    DisplayConfig config;
    config.dmaBufferCount = 2;
    Display display(config);
    EXPECT_EQ(display.Chip()->DMABufferPhysical[1], Display::DmaBusAddress(1));
    const uint32_t words[2] = {tag::FogColor, 0x123456};
    std::memcpy(display.DmaBuffer(1) + 64, words, sizeof(words));
    display.Board().Write(reg::DMAAddress, Display::DmaBusAddress(1) + 64);
    display.Board().Write(reg::DMACount, 2);
    display.Board().Drain();
    EXPECT_EQ(display.Board().Read(MappedOffset(tag::FogColor)), 0x123456u);
    EXPECT_FALSE(host::UnexpectedFaults(display.Board()).Any())
        << host::UnexpectedFaults(display.Board()).Describe();
}

TEST_F(DisplayTest, TheContextTableHoldsListsAndTheTwoContextsOfTheScreen) {
    Display display(test::ConfigFor(DeviceMX));
    const ContextBlock* block = display.Chip()->ContextBlocks;
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->SlotCount, 6);
    EXPECT_EQ(block->UsedCount, 6);
    EXPECT_EQ(display.Chip()->CurrentContext, 4u);
    const auto* bytes = reinterpret_cast<const uint8_t*>(block);
    const std::vector<uint16_t> all = host::StateRegisters(DeviceMX);
    for (const uint32_t type : {kContextTypeClient, kContextTypeDirect3D}) {
        EXPECT_EQ(block->Type[type], 0xFFFF);
        uint16_t count;
        std::memcpy(&count, bytes + block->DataOffset[type], 2);
        ASSERT_EQ(count, all.size());
        EXPECT_EQ(std::memcmp(bytes + block->DataOffset[type] + 2, all.data(), 2 * count), 0);
        EXPECT_GE(block->Size[type], 2 + 2 * count);
    }
    EXPECT_EQ(block->Size[kContext2D], static_cast<int>(4 * all.size()));
    // Slots follow each other without overlap, and a block has room for all its 32 contexts.
    uint32_t expected = block->DataOffset[0];
    for (uint32_t slot = 0; slot < block->SlotCount; ++slot) {
        EXPECT_EQ(block->DataOffset[slot], expected);
        expected += block->Size[slot];
    }
    EXPECT_EQ(block->NextFree, expected);
    EXPECT_EQ(block->NextFree + block->FreeBytes, int{host::MiniVdd::kContextBlockBytes});
    EXPECT_GE(block->FreeBytes, 26 * 4 * all.size());
}

TEST_F(DisplayTest, ContextDataStartsWithThePowerOnRegisters) {
    Display display(test::ConfigFor(DevicePermedia));
    const ContextBlock* block = display.Chip()->ContextBlocks;
    const std::vector<uint16_t> list = host::StateRegisters(DevicePermedia);
    const size_t index =
        std::find(list.begin(), list.end(), MappedOffset(tag::FBHardwareWriteMask)) - list.begin();
    uint32_t mask;
    std::memcpy(&mask,
                reinterpret_cast<const uint8_t*>(block) + block->DataOffset[kContext2D] + 4 * index,
                4);
    EXPECT_EQ(mask, 0xFFFFFFFFu);
}

TEST_F(DisplayTest, TheHeapLiesBehindTheScreen) {
    Display display(test::ConfigFor(DevicePermedia2)); // 640 x 480 x 16
    const uint32_t base = reinterpret_cast<uintptr_t>(display.FrameBuffer());
    EXPECT_TRUE(display.HasLinearHeap());
    EXPECT_EQ(display.Driver()->HeapActive, 1u);
    EXPECT_EQ(display.Driver()->Heap.HeapStart, base + 640 * 480 * 2);
    EXPECT_EQ(display.Driver()->Heap.HeapEnd, base + (8u << 20) - 1);
    EXPECT_EQ(GetFreeMemInHeap(display.Driver()), (8u << 20) - 640 * 480 * 2);
    EXPECT_EQ(display.OffscreenBytes(), 0u);
}

TEST_F(DisplayTest, RectangularMemoryLeavesTheHeapASliceAtTheEnd) {
    for (const bool byRegistry : {false, true}) {
        DisplayConfig config = test::ConfigFor(byRegistry ? DevicePermedia : DeviceTX);
        if (byRegistry) {
            config.registry = {{"Direct3DHAL.RectAlloc", "1"}};
        }
        host::PowerCycle();
        Display display(config);
        EXPECT_FALSE(display.HasLinearHeap());
        EXPECT_EQ(display.Driver()->HeapActive, 0u);
        EXPECT_EQ(GetFreeMemInHeap(display.Driver()), 256u * 1024);
        EXPECT_EQ(display.OffscreenBytes(), (8u << 20) - 640 * 480 * 2 - 256 * 1024);
    }
}

TEST_F(DisplayTest, AModeChangeRefillsRecordsAndHeapAndRaisesTheFlag) {
    Display display(test::ConfigFor(DevicePermedia2));
    HeapRequest request{20, 9, 4, 1000, 0};
    ASSERT_EQ(AllocateVideoMemory(display.Driver(), &request), HeapDone);
    display.ChangeMode(1024, 768, 32);
    const DriverData* driver = display.Driver();
    EXPECT_EQ(driver->ModeChanged, 1u);
    EXPECT_EQ(driver->ScreenWidth, 1024u);
    EXPECT_EQ(driver->ScreenHeight, 768u);
    EXPECT_EQ(driver->PixelSize, 2u);
    EXPECT_EQ(driver->PixelDepthBits, 32u);
    EXPECT_EQ(display.Pitch(), 4096u);
    EXPECT_EQ(GetFreeMemInHeap(display.Driver()), (8u << 20) - 1024 * 768 * 4);
    EXPECT_THROW(display.ChangeMode(1024, 4096, 32), std::invalid_argument);
    EXPECT_EQ(driver->ScreenHeight, 768u);
}

TEST_F(DisplayTest, TheSystemsClockIsTheBoards) {
    Display display(test::ConfigFor(DevicePermedia));
    const uint32_t before = timeGetTime();
    display.Board().Advance(25000);
    EXPECT_EQ(timeGetTime(), before + 25);
}

TEST_F(DisplayTest, BlanksAreTrackedByInterruptWhenAskedFor) {
    DisplayConfig config = test::ConfigFor(DevicePermedia);
    config.chipFlags = VBlankByInterrupt;
    Display display(config);
    EXPECT_EQ(display.Chip()->Flags & VBlankSeen, 0u);
    display.Board().Advance(20000); // more than a frame
    EXPECT_NE(display.Chip()->Flags & VBlankSeen, 0u);
}

class StartTest : public DisplayTest, public ::testing::WithParamInterface<uint32_t> {};

TEST_P(StartTest, TheDriverComesUpWithAHealthyBoard) {
    Display display(test::ConfigFor(GetParam()));
    ASSERT_TRUE(display.Start());
    EXPECT_EQ(pDriverData, display.Driver());
    EXPECT_EQ(display.Chip()->CurrentContext, kContext2D);
    EXPECT_EQ(display.Driver()->HALInfo.dwSize, 460u);
    EXPECT_EQ(display.Driver()->ModeChangeCount, 1u);
    EXPECT_FALSE(host::UnexpectedFaults(display.Board()).Any())
        << host::UnexpectedFaults(display.Board()).Describe();
}

INSTANTIATE_TEST_SUITE_P(Chips, StartTest, ::testing::ValuesIn(kAllDevices));

TEST_F(DisplayTest, ASecondDisplayIsNotThePrimary) {
    DisplayConfig config = test::ConfigFor(DevicePermedia2);
    config.number = 1;
    config.primary = false;
    config.registryName = "Second";
    Display second(config);
    EXPECT_TRUE(second.Start());
    EXPECT_EQ(pDriverData, nullptr);
    Display first(test::ConfigFor(DeviceTX));
    EXPECT_TRUE(first.Start());
    EXPECT_EQ(pDriverData, first.Driver());
}

TEST_F(DisplayTest, APowerCycleForgetsTheDisplaysBefore) {
    {
        Display display(test::ConfigFor(DevicePermedia));
        ASSERT_TRUE(display.Start());
        EXPECT_THROW(host::PowerCycle(), std::logic_error);
    }
    host::PowerCycle();
    EXPECT_EQ(pDriverData, nullptr);
    EXPECT_EQ(bHALInitialisedOnce, 0u);
    EXPECT_EQ(DXGlobals.Heap, nullptr);
    EXPECT_NE(DXGlobals.Instance, nullptr);
    EXPECT_EQ(host::TheMiniVdd().LiveBlocks(), 0u);
}

} // namespace
