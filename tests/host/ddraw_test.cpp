#include "driver/heap/linalloc.h"
#include "driver/heap/surface.h"
#include "host/ddraw/ddraw.h"
#include "host/inspect/unwaited.h"
#include "host/win32/heap.h"
#include "tests/support_host/configs.h"
#include "tests/support_host/started_display.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace {

using host::DirectDraw;
using host::DisplayConfig;
using host::Surface;
using host::SurfaceRequest;

struct Machine : test::StartedDisplay {
    using StartedDisplay::StartedDisplay;

    uint32_t FrameOffset(const Surface& surface) {
        return surface.Global()->fpVidMem - reinterpret_cast<uintptr_t>(display.FrameBuffer());
    }
    uint32_t LocalOffset(const Surface& surface) {
        return surface.Global()->fpVidMem - reinterpret_cast<uintptr_t>(display.LocalBuffer());
    }
};

TEST(Results, HaveNames) {
    EXPECT_EQ(host::ResultName(0), "DD_OK");
    EXPECT_EQ(host::ResultName(0x8876017C), "DDERR_OUTOFVIDEOMEMORY");
    EXPECT_EQ(host::ResultName(0x8007000E), "DDERR_OUTOFMEMORY");
    EXPECT_EQ(host::ResultName(0x201), "D3DHAL_OUTOFCONTEXTS");
    EXPECT_EQ(host::ResultName(0x88760001), "0x88760001");
    EXPECT_THROW(host::Check("thing", 0x80070057), host::ResultError);
    EXPECT_NO_THROW(host::Check("thing", 0));
}

TEST(Formats, TheSixteenBitDisplayHasFiveBitsAChannel) {
    const DDPIXELFORMAT format = host::DisplayFormat(16);
    EXPECT_EQ(format.dwRGBBitCount, 16u);
    EXPECT_EQ(format.dwRBitMask, 0x7C00u);
    EXPECT_EQ(format.dwGBitMask, 0x3E0u);
    EXPECT_EQ(format.dwRGBAlphaBitMask, 0u);
    EXPECT_EQ(host::DisplayFormat(8).dwFlags, DDPF_RGB | DDPF_PALETTEINDEXED8);
    EXPECT_EQ(host::DepthFormat(16).dwZBitMask, 0xFFFFu);
}

class AnyChipTest : public ::testing::TestWithParam<uint32_t> {
  protected:
    AnyChipTest() : machine(test::ConfigFor(GetParam())), directDraw(machine.directDraw) {}
    Machine machine;
    DirectDraw& directDraw;
};

TEST_P(AnyChipTest, TheGlobalRecordNamesTheDriverTwice) {
    const uint32_t driver = reinterpret_cast<uintptr_t>(machine.display.Driver());
    EXPECT_EQ(directDraw.Global()->dwReserved1, driver);
    EXPECT_EQ(directDraw.Global()->dwReserved3, driver);
    EXPECT_EQ(directDraw.Global()->vmiData.ddpfDisplay.dwRBitMask, 0x7C00u);
    EXPECT_EQ(directDraw.Global()->vmiData.lDisplayPitch, 1280);
}

TEST_P(AnyChipTest, ThePrimaryIsTheScreen) {
    Surface& primary = directDraw.CreatePrimary();
    EXPECT_EQ(primary.Bytes(), machine.display.FrameBuffer());
    EXPECT_EQ(primary.Pitch(), 1280);
    EXPECT_EQ(primary.Width(), 640u);
    EXPECT_EQ(primary.Height(), 480u);
    EXPECT_NE(PrivateOf(primary.Local()), nullptr);
    EXPECT_EQ(directDraw.Local()->lpPrimary, primary.Interface());
}

TEST_P(AnyChipTest, BackBuffersLieBehindTheScreenAndAreAttached) {
    Surface& primary = directDraw.CreatePrimary(2);
    ASSERT_EQ(primary.Chain().size(), 2u);
    Surface& back = *primary.Chain()[0];
    Surface& third = *primary.Chain()[1];
    EXPECT_GE(machine.FrameOffset(back), machine.display.ScreenBytes());
    EXPECT_GE(third.Bytes(), back.Row(480));
    EXPECT_NE(back.Caps() & DDSCAPS_BACKBUFFER, 0u);
    EXPECT_EQ(back.Pitch(), 1280);
    ASSERT_NE(primary.Local()->lpAttachList, nullptr);
    EXPECT_EQ(primary.Local()->lpAttachList->lpAttached, back.Local());
    EXPECT_EQ(back.Local()->lpAttachList->lpAttached, third.Local());
    EXPECT_EQ(back.Local()->lpAttachListFrom->lpAttached, primary.Local());
    if (machine.display.IsGlint()) {
        EXPECT_EQ(machine.FrameOffset(back) % 8192, 0u);
    }
}

TEST_P(AnyChipTest, TheDriversRecordsEndWithTheSurfaces) {
    const size_t before = host::heap::LiveBlocks();
    const uint32_t freeBefore = GetFreeMemInHeap(machine.display.Driver());
    Surface& primary = directDraw.CreatePrimary(1);
    Surface& depth = directDraw.CreateZBuffer(640, 480);
    EXPECT_EQ(host::heap::LiveBlocks(), before + 3);
    directDraw.Destroy(*primary.Chain()[0]); // the whole chain goes
    directDraw.Destroy(depth);
    EXPECT_EQ(host::heap::LiveBlocks(), before);
    EXPECT_EQ(GetFreeMemInHeap(machine.display.Driver()), freeBefore);
    EXPECT_TRUE(directDraw.Surfaces().empty());
}

TEST_P(AnyChipTest, ADestroyedSurfaceIsTakenOffAttachLists) {
    Surface& target = directDraw.CreateTarget(320, 240);
    Surface& depth = directDraw.CreateZBuffer(320, 240);
    directDraw.Attach(target, depth);
    EXPECT_EQ(target.Local()->lpAttachList->lpAttached, depth.Local());
    directDraw.Destroy(depth);
    EXPECT_EQ(target.Local()->lpAttachList, nullptr);
}

TEST_P(AnyChipTest, SurfacesDoNotOverlap) {
    std::vector<Surface*> surfaces = {&directDraw.CreatePrimary(1)};
    surfaces.push_back(surfaces[0]->Chain()[0]);
    surfaces.push_back(&directDraw.CreateOffscreen(100, 50));
    surfaces.push_back(&directDraw.CreateOffscreen(200, 30));
    surfaces.push_back(&directDraw.CreateZBuffer(640, 480));
    if (GetParam() != DeviceSX) {
        surfaces.push_back(&directDraw.CreateTexture(64, 64, host::Format4444()));
        surfaces.push_back(&directDraw.CreateTexture(32, 32, host::Format1555()));
    }
    // Each writes its own number to all its pixels; nobody's pixel may have another's number.
    for (size_t i = 0; i < surfaces.size(); ++i) {
        for (uint32_t y = 0; y < surfaces[i]->Height(); ++y) {
            for (uint32_t x = 0; x < surfaces[i]->Width(); ++x) {
                surfaces[i]->SetPixel(x, y, static_cast<uint32_t>(i + 1));
            }
        }
    }
    for (size_t i = 0; i < surfaces.size(); ++i) {
        for (uint32_t y = 0; y < surfaces[i]->Height(); ++y) {
            for (uint32_t x = 0; x < surfaces[i]->Width(); ++x) {
                ASSERT_EQ(surfaces[i]->Pixel(x, y), i + 1) << "surface " << i;
            }
        }
    }
}

TEST_P(AnyChipTest, VideoMemoryRunsOutAndComesBack) {
    std::vector<Surface*> taken;
    SurfaceRequest request;
    request.width = 640;
    request.height = 480;
    Surface* surface = nullptr;
    HRESULT result;
    while ((result = directDraw.CreateSurface(request, &surface)) == DD_OK) {
        taken.push_back(surface);
        ASSERT_LT(taken.size(), 20u);
    }
    EXPECT_EQ(host::ResultName(result), "DDERR_OUTOFVIDEOMEMORY");
    EXPECT_EQ(surface, nullptr);
    EXPECT_GE(taken.size(), 10u);
    const size_t records = host::heap::LiveBlocks();
    EXPECT_NE(directDraw.CreateSurface(request, &surface), DD_OK);
    EXPECT_EQ(host::heap::LiveBlocks(), records) << "a refused surface leaves no record";

    request.allowSystemMemory = true;
    ASSERT_EQ(directDraw.CreateSurface(request, &surface), DD_OK);
    EXPECT_NE(surface->Caps() & DDSCAPS_SYSTEMMEMORY, 0u);
    EXPECT_EQ(surface->Caps() & DDSCAPS_VIDEOMEMORY, 0u);

    directDraw.Destroy(*taken.front());
    request.allowSystemMemory = false;
    EXPECT_EQ(directDraw.CreateSurface(request, &surface), DD_OK);
}

TEST_P(AnyChipTest, SystemMemorySurfacesNeverReachTheDriver) {
    const size_t records = host::heap::LiveBlocks();
    Surface& surface = directDraw.CreateSystem(10, 3, host::Format4444());
    EXPECT_EQ(host::heap::LiveBlocks(), records);
    EXPECT_EQ(surface.Global()->dwReserved1, 0u);
    EXPECT_EQ(surface.Pitch(), 20);
    surface.SetPixel(9, 2, 0xABCD);
    EXPECT_EQ(surface.Pixel(9, 2), 0xABCDu);
    EXPECT_EQ(surface.Pixel(8, 2), 0u);
}

TEST_P(AnyChipTest, AnUnknownFormatIsRefusedByTheDriver) {
    SurfaceRequest request;
    request.width = request.height = 32;
    request.format = host::FourCCFormat(MAKEFOURCC('Y', '4', '1', '1'), 32);
    Surface* surface;
    EXPECT_EQ(host::ResultName(directDraw.CreateSurface(request, &surface)),
              "DDERR_INVALIDPIXELFORMAT");
}

TEST_P(AnyChipTest, AFailedAllocationOfTheRecordIsTold) {
    host::heap::FailAllocations();
    SurfaceRequest request;
    request.width = request.height = 32;
    Surface* surface;
    EXPECT_EQ(host::ResultName(directDraw.CreateSurface(request, &surface)), "DDERR_OUTOFMEMORY");
}

TEST_P(AnyChipTest, ALockGivesTheAddressOfTheRectangle) {
    Surface& surface = directDraw.CreateOffscreen(64, 64);
    machine.display.Board().Advance(20000); // Permedia waits for its first retrace
    void* bytes = nullptr;
    const RECT rect = {5, 7, 20, 20};
    EXPECT_TRUE(directDraw.Lock(surface, &bytes, &rect).Done());
    EXPECT_EQ(bytes, surface.Row(7) + 10);
    directDraw.Finish(surface);
    const board::Faults faults = host::UnexpectedFaults(machine.display.Board());
    EXPECT_FALSE(faults.Any()) << faults.Describe();
}

TEST_P(AnyChipTest, AModeChangeLosesWhatLayInVideoMemory) {
    Surface& primary = directDraw.CreatePrimary();
    Surface& offscreen = directDraw.CreateOffscreen(64, 64);
    Surface& system = directDraw.CreateSystem(8, 8, host::Format565());
    Surface& asDisplay = directDraw.CreateSystem(8, 8);
    directDraw.ChangeMode(800, 600, 16);
    EXPECT_FALSE(asDisplay.Lost());
    directDraw.ChangeMode(800, 600, 32);
    EXPECT_FALSE(primary.Lost());
    EXPECT_EQ(primary.Width(), 800u);
    EXPECT_EQ(primary.Pitch(), 3200);
    EXPECT_TRUE(offscreen.Lost());
    EXPECT_FALSE(system.Lost());
    EXPECT_TRUE(asDisplay.Lost()) << "it has no room for pixels of 32 bits";
    EXPECT_EQ(directDraw.Global()->vmiData.ddpfDisplay.dwRGBBitCount, 32u);
    Surface& next = directDraw.CreateOffscreen(64, 64);
    EXPECT_EQ(machine.display.Driver()->ModeChanged, 0u) << "the driver has followed";
    directDraw.Destroy(offscreen);
    EXPECT_FALSE(next.Lost());
}

INSTANTIATE_TEST_SUITE_P(Chips, AnyChipTest,
                         ::testing::Values(DeviceSX, DeviceTX, DeviceMX, DevicePermedia,
                                           DevicePermedia2));

TEST(DirectDrawTest, GlintDepthAndTexturesLieInTheLocalBuffer) {
    Machine machine(test::ConfigFor(DeviceTX));
    Surface& depth = machine.directDraw.CreateZBuffer(640, 480);
    EXPECT_EQ(depth.Bits(), 32u);
    EXPECT_LT(machine.LocalOffset(depth), 8u << 20);
    EXPECT_EQ(depth.Pitch(), 640 * 4);
    Surface& texture = machine.directDraw.CreateTexture(16, 16, host::Format4444());
    EXPECT_LT(machine.LocalOffset(texture), 8u << 20);
    EXPECT_EQ(texture.Pitch(), 32) << "lines follow each other without a gap";
    EXPECT_GE(texture.Bytes(), depth.Row(480));
}

TEST(DirectDrawTest, PermediaDepthLiesInTheFrameBuffer) {
    Machine machine(test::ConfigFor(DevicePermedia));
    Surface& depth = machine.directDraw.CreateZBuffer(640, 480);
    EXPECT_EQ(depth.Bits(), 16u);
    EXPECT_GE(machine.FrameOffset(depth), machine.display.ScreenBytes());
    EXPECT_EQ(depth.Pitch(), 1280);
}

TEST(DirectDrawTest, APermediaSurfaceOfRectanglesSitsAtScreenPitch) {
    DisplayConfig config = test::ConfigFor(DevicePermedia);
    config.registry = {{"Direct3DHAL.RectAlloc", "1"}};
    Machine machine(config);
    Surface& first = machine.directDraw.CreateOffscreen(96, 40);
    Surface& second = machine.directDraw.CreateOffscreen(96, 40);
    EXPECT_EQ(first.Pitch(), 1280);
    EXPECT_EQ(machine.FrameOffset(first), machine.display.ScreenBytes());
    EXPECT_EQ(machine.FrameOffset(second), machine.display.ScreenBytes() + 192);
    // A depth buffer asks for a block of bytes instead.
    Surface& depth = machine.directDraw.CreateZBuffer(320, 64);
    EXPECT_EQ(machine.FrameOffset(depth), machine.display.ScreenBytes() + 40 * 1280);
    EXPECT_EQ(depth.Pitch(), 640);
}

TEST(DirectDrawTest, MipLevelsAreAChainOfHalves) {
    Machine machine(test::ConfigFor(DevicePermedia2));
    Surface& texture = machine.directDraw.CreateTexture(32, 8, host::Format4444(), 6);
    ASSERT_EQ(texture.Chain().size(), 5u);
    const std::array<std::pair<uint32_t, uint32_t>, 6> sizes = {
        {{32, 8}, {16, 4}, {8, 2}, {4, 1}, {2, 1}, {1, 1}}};
    DDRAWI_DDRAWSURFACE_LCL* level = texture.Local();
    for (const auto& [width, height] : sizes) {
        ASSERT_NE(level, nullptr);
        EXPECT_EQ(level->lpGbl->wWidth, width);
        EXPECT_EQ(level->lpGbl->wHeight, height);
        EXPECT_NE(level->ddsCaps.dwCaps & DDSCAPS_MIPMAP, 0u);
        EXPECT_NE(PrivateOf(level), nullptr);
        level = level->lpAttachList != nullptr ? level->lpAttachList->lpAttached : nullptr;
    }
    EXPECT_EQ(level, nullptr);
}

TEST(DirectDrawTest, TheExtensionOfAGlobalRecordIsInFrontOfIt) {
    Machine machine(test::ConfigFor(DevicePermedia));
    Surface& surface = machine.directDraw.CreateSystem(8, 8);
    EXPECT_EQ(GET_LPDDRAWSURFACE_GBL_MORE(surface.Global()), surface.GlobalMore());
}

TEST(DirectDrawTest, PalettesAndKeysHangOnTheLocalRecord) {
    Machine machine(test::ConfigFor(DevicePermedia));
    Surface& surface = machine.directDraw.CreateSystem(8, 8, host::PaletteFormat(8));
    EXPECT_EQ(surface.Palette(), nullptr);
    std::vector<PALETTEENTRY> entries(256);
    entries[255] = {1, 2, 3, 0};
    machine.directDraw.SetPalette(surface, entries);
    ASSERT_NE(surface.Palette(), nullptr);
    EXPECT_EQ(surface.Palette()[255].peGreen, 2);
    EXPECT_EQ(surface.Local()->lpDDPalette->lpLcl->lpGbl->dwFlags, DDRAWIPAL_256);
    EXPECT_THROW(machine.directDraw.SetPalette(surface, {entries.begin(), entries.begin() + 4}),
                 std::invalid_argument);
    machine.directDraw.SetSourceKey(surface, {5, 6});
    EXPECT_EQ(surface.Local()->ddckCKSrcBlt.dwColorSpaceHighValue, 6u);
    EXPECT_NE(surface.Local()->dwFlags & DDRAWISURF_HASCKEYSRCBLT, 0u);
}

TEST(DirectDrawTest, AFlipShowsTheBackBufferAndSwapsTheMemory) {
    Machine machine(test::ConfigFor(DevicePermedia));
    DirectDraw& directDraw = machine.directDraw;
    Surface& primary = directDraw.CreatePrimary(1);
    Surface& back = *primary.Chain()[0];
    uint8_t* front = primary.Bytes();
    uint8_t* behind = back.Bytes();
    machine.display.Board().Advance(20000); // a retrace must have been seen
    const host::HalAnswer answer = directDraw.Flip(primary, back);
    ASSERT_TRUE(answer.Done()) << host::ResultName(answer.result);
    EXPECT_EQ(primary.Bytes(), behind);
    EXPECT_EQ(back.Bytes(), front);
    EXPECT_EQ(host::ResultName(directDraw.Flip(primary, back).result), "DDERR_WASSTILLDRAWING");
    EXPECT_EQ(machine.display.VisibleOffset(), 0u);
    directDraw.Finish(back);
    EXPECT_EQ(machine.display.VisibleOffset(), machine.FrameOffset(primary));
    EXPECT_TRUE(directDraw.Flip(primary, back).Done());
    machine.display.Board().Advance(20000);
    EXPECT_EQ(machine.display.VisibleOffset(), 0u);
}

TEST(DirectDrawTest, AgpMemoryIsAnnouncedToTheDriver) {
    DisplayConfig config = test::ConfigFor(DevicePermedia2);
    config.agp = true;
    Machine machine(config);
    ASSERT_TRUE(machine.directDraw.EnableAgp(1 << 20));
    EXPECT_EQ(machine.display.Driver()->NonLocalHeapPhysical, 0x80000000u);
    SurfaceRequest request;
    request.caps = DDSCAPS_TEXTURE | DDSCAPS_NONLOCALVIDMEM;
    request.width = request.height = 64;
    request.format = host::Format4444();
    Surface* texture;
    ASSERT_EQ(machine.directDraw.CreateSurface(request, &texture), DD_OK);
    EXPECT_EQ(texture->GlobalMore()->fpPhysicalVidMem,
              0x80000000u + texture->Global()->fpVidMem -
                  machine.display.Driver()->NonLocalHeapLinear);
}

TEST(DirectDrawTest, ABoardOffTheAgpBusTakesNoAgpMemory) {
    Machine machine(test::ConfigFor(DevicePermedia2));
    EXPECT_FALSE(machine.directDraw.EnableAgp(1 << 20));
}

} // namespace
