#include "driver/blit/pmdirecx.h"
#include "driver/blit/txdirecx.h"
#include "driver/core/korv32.h"
#include "driver/core/korv32_flip.h"
#include "host/win32/heap.h"
#include "host/win32/registry.h"
#include "host/win32/system.h"
#include "tests/support/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <cpuid.h>
#include <cstring>

namespace {

using test::BusEvent;
using test::Rig;
using test::RigOptions;

// What this machine's processor says, asked by other means.
bool ProcessorPasses() {
    uint32_t a = 0, b = 0, c = 0, d = 0;
    __get_cpuid(1, &a, &b, &c, &d);
    return (a & 0x600) == 0x600;
}

bool ProcessorHasMMX() {
    uint32_t a = 0, b = 0, c = 0, d = 0;
    __get_cpuid(1, &a, &b, &c, &d);
    return (d >> 23 & 1) != 0;
}

TEST(DriverInit, OfADisplayThatIsNotPrimaryLeavesTheGlobalEmpty) {
    Rig rig({.primary = false});
    EXPECT_EQ(DriverInit(1), rig.driver);
    EXPECT_EQ(pDriverData, nullptr);
}

TEST(DriverInit, WithASecondPrimaryEachDisplayIsFoundByItsOwnCalls) {
    Rig first({.primary = false});
    ASSERT_EQ(DriverInit(1), first.driver);
    Rig second;
    ASSERT_EQ(DriverInit(2), second.driver);
    EXPECT_EQ(pDriverData, second.driver);
    first.bus->Clear();
    second.bus->Clear();
    DDHAL_GETSCANLINEDATA data{};
    data.lpDD = &first.directDraw;
    GetScanLine32(&data);
    EXPECT_FALSE(first.bus->events.empty());
    EXPECT_TRUE(second.bus->events.empty());
}

TEST(DriverInit, OfALaterDisplayThatIsNotPrimaryLeavesTheGlobalAlone) {
    Rig first;
    ASSERT_EQ(DriverInit(1), first.driver);
    Rig second({.primary = false});
    pDriverData = first.driver; // a new rig starts with none
    ASSERT_EQ(DriverInit(2), second.driver);
    EXPECT_EQ(pDriverData, first.driver);
}

TEST(DriverInit, ASecondTimeOpensTheKeyOfItsOwnNameAndReadsAllSwitchesAgain) {
    Rig rig;
    rig.SetRegistry("Direct3DHAL.ZPatch", "1");
    ASSERT_EQ(DriverInit(1), rig.driver);
    EXPECT_EQ(DXGlobals.ZPatch, 1u);
    std::strcpy(rig.chip->RegistryName, "Second");
    host::TheRegistry().SetText("SOFTWARE\\Second\\DirectX", "Direct3DHAL.NoFlip", "1");
    ASSERT_EQ(DriverInit(2), rig.driver);
    EXPECT_EQ(DXGlobals.ZPatch, 0u);
    EXPECT_EQ(DXGlobals.NoFlip, 1u);
}

TEST(DriverInit, AHalCallWithoutAReservedWordUsesThePrimary) {
    Rig rig;
    ASSERT_EQ(DriverInit(0), rig.driver);
    rig.bus->Clear();
    DDRAWI_DIRECTDRAW_GBL empty{};
    DDHAL_GETSCANLINEDATA data{};
    data.lpDD = &empty;
    EXPECT_EQ(GetScanLine32(&data), DDHAL_DRIVER_HANDLED);
    EXPECT_FALSE(rig.bus->events.empty());
}

TEST(DriverInit, LeavesTheTwoDimensionalContextAloneIfTheChipHasItAlready) {
    Rig rig;
    rig.chip->CurrentContext = 5;
    ASSERT_EQ(DriverInit(1), rig.driver);
    for (const uint16_t offset : test::kRigList2D) {
        EXPECT_EQ(rig.bus->ReadsOf(offset), 0u) << offset; // nothing was saved
    }
    EXPECT_EQ(rig.chip->CurrentContext, 5u);
}

TEST(DriverInit, FailsForADisplayThatTheMiniVDDDoesNotKnow) {
    struct : Rig {
        bool Control(uint32_t, const void*, uint32_t, void* out, uint32_t, uint32_t*) override {
            std::memset(out, 0, 4);
            return true;
        }
    } rig;
    EXPECT_EQ(DriverInit(1), nullptr);
    EXPECT_EQ(pDriverData, nullptr);
}

TEST(DriverInit, FailsWithoutTheMiniVDD) {
    Rig rig;
    host::UnregisterDevice("\\\\.\\glintmvd");
    EXPECT_EQ(DriverInit(0), nullptr);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(DriverInit, FailsAfterAllTheRestWhenTheSharedHeapCannotBeMade) {
    Rig rig;
    DXGlobals.Heap = nullptr;
    host::heap::FailCreations(1);
    EXPECT_EQ(DriverInit(0), nullptr);
    EXPECT_EQ(rig.driver->ModeChangeCount, 1u);
    EXPECT_EQ(rig.driver->HALInfo.dwSize, 460u);
}

TEST(DllMain, KeepsTheInstanceAtEveryCallAndQuietsThreadsOnAttachOnly) {
    Rig rig;
    const uint32_t before = host::ThreadLibraryCallsDisabled();
    EXPECT_EQ(DllMain(reinterpret_cast<HINSTANCE>(0x1000), 1, nullptr), 1);
    EXPECT_EQ(DXGlobals.Instance, reinterpret_cast<HINSTANCE>(0x1000));
    EXPECT_EQ(host::ThreadLibraryCallsDisabled(), before + 1);
    EXPECT_EQ(DllMain(reinterpret_cast<HINSTANCE>(0x2000), 2, nullptr), 1);
    EXPECT_EQ(DXGlobals.Instance, reinterpret_cast<HINSTANCE>(0x2000));
    EXPECT_EQ(host::ThreadLibraryCallsDisabled(), before + 1);
}

TEST(BringUp, LeavesContextFiveCurrentAndTheRecordsSet) {
    Rig rig;
    DXGlobals.Heap = nullptr;
    ASSERT_EQ(DriverInit(0), rig.driver);
    const DriverData& driver = *rig.driver;
    EXPECT_EQ(driver.Registers, driver.RegisterBase);
    EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
    EXPECT_EQ(driver.TargetLost, 1u);
    EXPECT_EQ(driver.FBWriteMode, 1u);
    EXPECT_EQ(driver.RenderSpare, 0x40u);
    EXPECT_EQ(driver.SubBuffersReady, 1u);
    EXPECT_EQ(driver.ModeChangeCount, 1u);
    EXPECT_EQ(flipRecord.DurationStale, 1u);
    EXPECT_EQ(host::heap::LastCreation().options, 0x04000000u);
    EXPECT_EQ(host::heap::LastCreation().initialBytes, 0x9C4u);
    EXPECT_EQ(host::heap::LastCreation().maximumBytes, 0u);
    EXPECT_EQ(bHALInitialisedOnce, 1u);
    EXPECT_EQ(InitDDHAL32Bit(rig.driver), 1u);
}

TEST(BringUp, ForgetsWhatAnEarlierLifeLeft) {
    Rig rig;
    rig.chip->ContextBlocks->EndIndex[kContext2D] = 77;
    DriverData& driver = *rig.driver;
    driver.Win16Lock = driver.DriverLockKind = driver.Heap.ClientMemoryLost = 77;
    driver.FlipLimitOn = driver.VideoPortActive = 77;
    driver.NonLocalHeapLinear = driver.NonLocalHeapPhysical = 77;
    driver.RenderSolid = driver.RenderCopy = driver.RenderClear = driver.RenderSpare = 0xFF77;
    DXGlobals.Instance = reinterpret_cast<HINSTANCE>(0x1234);
    ASSERT_EQ(DriverInit(0), rig.driver);
    EXPECT_EQ(driver.Win16Lock, 0u);
    EXPECT_EQ(driver.DriverLockKind, 0u);
    EXPECT_EQ(driver.Heap.ClientMemoryLost, 0u);
    EXPECT_EQ(driver.FlipLimitOn, 0u);
    EXPECT_EQ(driver.VideoPortActive, 0u);
    EXPECT_EQ(driver.NonLocalHeapLinear, 0u);
    EXPECT_EQ(driver.NonLocalHeapPhysical, 0u);
    EXPECT_EQ(driver.RenderSolid, 0x48u); // with the fast fill of this chip
    EXPECT_EQ(driver.RenderCopy, 0x40u);
    EXPECT_EQ(driver.RenderClear, 0x48u);
    EXPECT_EQ(driver.RenderSpare, 0x40u);
    EXPECT_EQ(driver.Instance, DXGlobals.Instance);
    EXPECT_NE(driver.D3DCallbacks, nullptr);
    EXPECT_NE(driver.D3DGlobalData, nullptr);
    EXPECT_EQ(driver.D3DTextureFormats, nullptr);
    EXPECT_EQ(rig.chip->ContextBlocks->EndIndex[kContext2D], 0u);
}

TEST(BringUp, FillsTheCallbackTablesByFamily) {
    for (const uint32_t device : {1u, 2u, 6u, 4u, 0x3D04u, 7u, 0x3D07u}) {
        Rig rig({.deviceId = device});
        ASSERT_EQ(DriverInit(0), rig.driver);
        const bool glint = device == 1 || device == 2 || device == 6;
        const DDHAL_DDCALLBACKS& dd = rig.driver->DDCallbacks;
        EXPECT_EQ(dd.dwSize, 0x30u);
        EXPECT_EQ(dd.dwFlags, 0xB2u);
        EXPECT_EQ(dd.WaitForVerticalBlank, WaitForVerticalBlank32);
        EXPECT_EQ(dd.CanCreateSurface, CanCreateSurface32);
        EXPECT_EQ(dd.GetScanLine, GetScanLine32);
        EXPECT_EQ(dd.CreateSurface, glint ? GlintCreateSurface32 : PermediaCreateSurface32);
        EXPECT_EQ(dd.SetColorKey, nullptr);
        const DDHAL_DDSURFACECALLBACKS& surface = rig.driver->SurfaceCallbacks;
        EXPECT_EQ(surface.dwSize, 0x40u);
        EXPECT_EQ(surface.dwFlags, 0x32Bu);
        EXPECT_EQ(surface.DestroySurface, DestroySurface32);
        EXPECT_EQ(surface.Flip, Flip32);
        EXPECT_EQ(surface.Lock, Lock32);
        EXPECT_EQ(surface.GetBltStatus, GetBltStatus32);
        EXPECT_EQ(surface.GetFlipStatus, GetFlipStatus32);
        EXPECT_EQ(surface.Blt, glint ? GlintBlt32 : PermediaBlt32);
        EXPECT_EQ(surface.Unlock, nullptr);
    }
}

TEST(BringUp, TheFirstStartFreesAllDmaBuffersAndASecondDisplayFreesNone) {
    Rig rig({.primary = false});
    rig.chip->DMABufferInUse = 0xF;
    ASSERT_EQ(DriverInit(0), rig.driver);
    EXPECT_EQ(rig.chip->DMABufferInUse, 0u);
    // The second display of the machine: the once-only work is behind us, its own stream is not.
    rig.chip->DMABufferInUse = 0xF;
    rig.driver->SubBuffersReady = 0;
    rig.driver->Stream.CommandMode = 0;
    DXGlobals.MMXPresent = 77;
    ASSERT_EQ(DriverInit(1), rig.driver);
    EXPECT_EQ(rig.chip->DMABufferInUse, 0xFu);
    EXPECT_EQ(DXGlobals.MMXPresent, 77u);
    EXPECT_EQ(rig.driver->Stream.CommandMode, 2u);
    EXPECT_EQ(rig.driver->SubBuffersReady, 1u);
}

TEST(BringUp, ASecondBringUpKeepsTheStream) {
    Rig rig;
    ASSERT_EQ(DriverInit(0), rig.driver);
    uint32_t* marked = rig.driver->Stream.WritePointer;
    rig.driver->Stream.SubBuffers[7].Physical = 0x1234;
    ASSERT_EQ(DriverInit(0), rig.driver);
    EXPECT_EQ(rig.driver->Stream.SubBuffers[7].Physical, 0x1234u);
    EXPECT_NE(rig.driver->Stream.WritePointer, marked); // went on writing
}

struct FirstStart {
    const char* initialised; // null: absent
    uint32_t processorType;
    uint32_t processors;
    bool marks;
    bool enablesDma; // where the processor is of a kind that passes
};

class FirstStartStore : public testing::TestWithParam<FirstStart> {};

TEST_P(FirstStartStore, MarksTheKeyAndSwitchesDmaOn) {
    const FirstStart& row = GetParam();
    Rig rig;
    host::SetProcessor(row.processorType, row.processors);
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    if (row.initialised != nullptr) {
        rig.SetRegistry("Direct3DHAL.Initialised", row.initialised);
    }
    ASSERT_EQ(DriverInit(0), rig.driver);
    const std::string before = row.initialised != nullptr ? row.initialised : "";
    EXPECT_EQ(host::TheRegistry().Text(test::kRigKey, "Direct3DHAL.Initialised"),
              row.marks ? "1" : before);
    EXPECT_EQ(host::TheRegistry().Text(test::kRigKey, "Direct3DHAL.NoDMA"),
              row.enablesDma && ProcessorPasses() ? "0" : "1");
    EXPECT_EQ(DXGlobals.MMXPresent, row.processorType == 586 && ProcessorHasMMX() ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Keys, FirstStartStore,
                         testing::Values(FirstStart{nullptr, 586, 1, false, false},
                                         FirstStart{"1", 586, 1, false, false},
                                         FirstStart{"0", 586, 1, true, true},
                                         FirstStart{"", 586, 1, true, true},
                                         FirstStart{"0", 586, 2, true, false},
                                         FirstStart{"0", 486, 1, true, false}));

TEST(BringUp, DmaControlIsWrittenOnAgpPermedia2Alone) {
    struct Row {
        uint32_t device, boardFlags;
        bool written;
    };
    for (const Row& row : {Row{7, 0x200, true},
                           {0x3D07, 0x200, true},
                           {7, 0, false},
                           {4, 0x200, false},
                           {6, 0x200, false}}) {
        Rig rig({.deviceId = row.device, .boardFlags = row.boardFlags});
        rig.SetRegistry("Direct3DHAL.DMAControl", "3");
        ASSERT_EQ(DriverInit(0), rig.driver);
        EXPECT_EQ(rig.bus->registers.count(t::DMAControl), row.written ? 1u : 0u) << row.device;
        if (row.written) {
            EXPECT_EQ(rig.bus->registers[t::DMAControl], 3u);
        }
    }
    Rig absent({.deviceId = 7, .boardFlags = 0x200});
    ASSERT_EQ(DriverInit(0), absent.driver);
    EXPECT_EQ(absent.bus->registers.count(t::DMAControl), 0u);
}

TEST(BringUp, SyncsBeforeAnythingElse) {
    Rig rig;
    ASSERT_EQ(DriverInit(0), rig.driver);
    const std::vector<BusEvent> writes = rig.bus->Writes();
    ASSERT_GE(writes.size(), 3u);
    EXPECT_EQ(std::vector(writes.begin(), writes.begin() + 3), test::SyncWrites());
}

struct Caps {
    uint32_t caps, caps2, keys, fx, surface, zDepths;
};

Caps CapsOf(const DDHALINFO& info) {
    const DDCORECAPS& c = info.ddCaps;
    return {c.dwCaps, c.dwCaps2, c.dwCKeyCaps, c.dwFXCaps, c.ddsCaps.dwCaps, c.dwZBufferBitDepths};
}

void ExpectCaps(const RigOptions& options,
                const std::vector<std::pair<std::string, std::string>>& registry,
                const Caps& expected) {
    Rig rig(options);
    for (const auto& [name, value] : registry) {
        rig.SetRegistry(name, value);
    }
    ASSERT_EQ(DriverInit(0), rig.driver);
    const Caps caps = CapsOf(rig.driver->HALInfo);
    EXPECT_EQ(caps.caps, expected.caps) << options.deviceId;
    EXPECT_EQ(caps.caps2, expected.caps2) << options.deviceId;
    EXPECT_EQ(caps.keys, expected.keys) << options.deviceId;
    EXPECT_EQ(caps.fx, expected.fx) << options.deviceId;
    EXPECT_EQ(caps.surface, expected.surface) << options.deviceId;
    EXPECT_EQ(caps.zDepths, expected.zDepths) << options.deviceId;
}

TEST(DDHALInfo, NamesWhatEachBoardCanDo) {
    constexpr uint32_t kBase = 0x148204C1;
    constexpr Caps kPermedia = {0x94C207C1, 0, 0xE00, 0x3FCC0, 0x23252 | 0x1000, 0x400};
    ExpectCaps({.deviceId = 4}, {}, {0x94C207C1, 0, 0xE00, 0x3FCC0, 0x23252, 0x400});
    ExpectCaps({.deviceId = 4}, {{"Direct3DHAL.PermediaMip", "1"}},
               {0x94C207C1, 0, 0xE00, 0x3FCC0, 0x423252, 0x400});
    ExpectCaps({.deviceId = 7}, {{"Direct3DHAL.PermediaMip", "2"}},
               {0x94C207C1, 0, 0xE00, 0x3FCC0, 0x23252, 0x400});
    ExpectCaps({.deviceId = 7, .boardFlags = 0x200}, {},
               {0x94C207C1, 0x200, 0xE00, 0x3FCC0, 0x30023252, 0x400});
    ExpectCaps({.deviceId = 4, .boardFlags = 0x200}, {}, kPermedia);
    ExpectCaps({.deviceId = 1}, {}, {kBase | 0x80000000, 0, 0, 0, 0x23252, 0x500});
    ExpectCaps({.deviceId = 2}, {}, {kBase | 0x80000000, 0, 0, 0, 0x23252, 0x500});
    ExpectCaps({.deviceId = 2}, {{"Direct3DHAL.ReportTransparency", "1"}},
               {kBase | 0x80400000, 0, 0x600, 0, 0x23252, 0x500});
    ExpectCaps({.deviceId = 6}, {}, {kBase | 0x80400200, 0, 0x600, 0x3FCC0, 0x423252, 0x500});
}

TEST(DDHALInfo, ReportTransparencyOfTwoChangesNothing) {
    ExpectCaps({.deviceId = 2}, {{"Direct3DHAL.ReportTransparency", "2"}},
               {0x148204C1 | 0x80000000, 0, 0, 0, 0x23252, 0x500});
}

TEST(DDHALInfo, HasTheAlphaDepthsAndRasterOperationsOfAllBoards) {
    Rig rig({.deviceId = 6});
    ASSERT_EQ(DriverInit(0), rig.driver);
    const DDHALINFO& info = rig.driver->HALInfo;
    const DDCORECAPS& caps = info.ddCaps;
    EXPECT_EQ(info.dwSize, 460u);
    EXPECT_EQ(info.dwFlags, 4u);
    EXPECT_EQ(info.GetDriverInfo, GetDriverInfo32);
    EXPECT_EQ(caps.dwAlphaBltConstBitDepths, 0x3800u);
    EXPECT_EQ(caps.dwAlphaOverlayConstBitDepths, 0x3800u);
    EXPECT_EQ(caps.dwAlphaBltPixelBitDepths, 0x4800u);
    EXPECT_EQ(caps.dwAlphaOverlayPixelBitDepths, 0x4800u);
    EXPECT_EQ(caps.dwAlphaBltSurfaceBitDepths, 0x7800u);
    EXPECT_EQ(caps.dwAlphaOverlaySurfaceBitDepths, 0x7800u);
    const uint32_t rops95[8] = {1, 0, 0, 0, 0, 0, 1u << 12, 1u << 31};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(caps.dwRops[i], rops95[i]) << i;
        EXPECT_EQ(caps.dwSVBRops[i], 0u) << i;
    }
    EXPECT_EQ(caps.dwSVBCaps, 0x40u);
    EXPECT_EQ(caps.dwVSBCaps, 0u);
}

class DriverInfo : public testing::Test {
  protected:
    uint8_t buffer[64];
    DD_GETDRIVERINFODATA data{};
    HRESULT Ask(Rig& rig, const GUID& guid, uint32_t expected) {
        std::memset(buffer, 0xEE, sizeof(buffer));
        data = {};
        data.dwContext = reinterpret_cast<uint32_t>(rig.driver);
        data.guidInfo = guid;
        data.dwExpectedSize = expected;
        data.lpvData = buffer;
        EXPECT_EQ(GetDriverInfo32(&data), 1u);
        return data.ddRVal;
    }
    uint32_t Word(int index) const {
        uint32_t word;
        std::memcpy(&word, buffer + index * 4, 4);
        return word;
    }
};

TEST_F(DriverInfo, AShortBufferGetsThatManyBytesAndTheFullSizeIsTold) {
    Rig rig;
    ASSERT_EQ(DriverInit(0), rig.driver);
    EXPECT_EQ(Ask(rig, GUID_D3DCallbacks2, 6), 0u);
    EXPECT_EQ(data.dwActualSize, 28u);
    EXPECT_EQ(buffer[0], 28);
    EXPECT_EQ(buffer[5], 0);
    EXPECT_EQ(buffer[6], 0xEE);
}

TEST_F(DriverInfo, ALongBufferGetsTheRecordAlone) {
    Rig rig;
    ASSERT_EQ(DriverInit(0), rig.driver);
    EXPECT_EQ(Ask(rig, GUID_D3DCallbacks2, 64), 0u);
    EXPECT_EQ(data.dwActualSize, 28u);
    for (int i = 1; i < 7; ++i) {
        EXPECT_EQ(Word(i), 0u);
    }
    EXPECT_EQ(buffer[28], 0xEE);
}

TEST_F(DriverInfo, AnUnknownGuidIsHandledAndNotAvailable) {
    Rig rig;
    ASSERT_EQ(DriverInit(0), rig.driver);
    for (const GUID& guid : {GUID{1, 2, 3, {4}}, GUID_VideoPortCallbacks, GUID_VideoPortCaps}) {
        EXPECT_EQ(Ask(rig, guid, 64), 0x88760028u);
        EXPECT_EQ(buffer[0], 0xEE);
    }
}

TEST_F(DriverInfo, TheKernelTableHoldsBothEntries) {
    Rig rig;
    ASSERT_EQ(DriverInit(0), rig.driver);
    EXPECT_EQ(Ask(rig, GUID_KernelCallbacks, 64), 0u);
    EXPECT_EQ(data.dwActualSize, 16u);
    EXPECT_EQ(Word(0), 16u);
    EXPECT_EQ(Word(1), 3u);
    EXPECT_NE(Word(2), 0u);
    EXPECT_NE(Word(3), 0u);
}

TEST_F(DriverInfo, TheMiscellaneousTableFollowsHeapValueAndBus) {
    struct Row {
        uint32_t device, boardFlags, heapActive;
        const char* rectAlloc; // null: absent
        uint32_t flags;
    };
    for (const Row& row : {Row{4, 0, 0, "0", 4},
                           {4, 0, 1, nullptr, 4},
                           {4, 0, 1, "0", 5},
                           {4, 0, 1, "1", 4},
                           {7, 0x200, 1, "0", 7},
                           {7, 0x200, 0, nullptr, 6},
                           {7, 0, 1, "0", 5},
                           {2, 0x200, 1, "0", 5}}) {
        Rig rig({.deviceId = row.device, .boardFlags = row.boardFlags});
        if (row.rectAlloc != nullptr) {
            rig.SetRegistry("Direct3DHAL.RectAlloc", row.rectAlloc);
        }
        ASSERT_EQ(DriverInit(0), rig.driver);
        rig.driver->HeapActive = row.heapActive;
        EXPECT_EQ(Ask(rig, GUID_MiscellaneousCallbacks, 24), 0u);
        EXPECT_EQ(data.dwActualSize, 24u);
        EXPECT_EQ(Word(0), 24u);
        EXPECT_EQ(Word(1), row.flags);
        EXPECT_EQ(Word(2) != 0, (row.flags & 1) != 0);
        EXPECT_EQ(Word(3) != 0, (row.flags & 2) != 0);
        EXPECT_NE(Word(4), 0u);
        EXPECT_EQ(Word(5), 0u);
    }
}

TEST_F(DriverInfo, OnGlintTheValueIsLookedAtAlthoughTheSwitchIsAlwaysOn) {
    Rig rig({.deviceId = DeviceTX});
    rig.SetRegistry("Direct3DHAL.RectAlloc", "0");
    ASSERT_EQ(DriverInit(0), rig.driver);
    rig.driver->HeapActive = 1;
    EXPECT_EQ(rig.driver->RectAlloc, 1u);
    Ask(rig, GUID_MiscellaneousCallbacks, 24);
    EXPECT_EQ(Word(1), 5u);
}

} // namespace
