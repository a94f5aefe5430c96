// The smaller surface callbacks, and how each finds its display.
#include "tests/driver/heap/surface_rig.h"
#include "tests/support/tag_names.h"

namespace {

using namespace test;

constexpr HRESULT kRefused = DDERR_INVALIDPIXELFORMAT;

HRESULT CanCreate(SurfaceRig& rig, DDSURFACEDESC& desc, bool different = true) {
    DDHAL_CANCREATESURFACEDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDSurfaceDesc = &desc;
    data.bIsDifferentPixelFormat = different;
    data.ddRVal = 0x5EED5EED;
    EXPECT_EQ(CanCreateSurface32(&data), 1u);
    return data.ddRVal;
}

DDSURFACEDESC Desc(const DDPIXELFORMAT& format, uint32_t caps = DDSCAPS_OFFSCREENPLAIN) {
    DDSURFACEDESC desc{};
    desc.dwSize = sizeof desc;
    desc.ddpfPixelFormat = format;
    desc.ddsCaps.dwCaps = caps;
    return desc;
}

DDSURFACEDESC ZDesc(uint32_t bits, uint32_t caps) {
    DDSURFACEDESC desc = Desc(DDPIXELFORMAT{}, caps);
    desc.dwZBufferBitDepth = bits;
    return desc;
}

TEST(CanCreateSurface, TakesTheDisplaysFormatAndAnyRgb) {
    for (uint32_t device : {DevicePermedia, DevicePermedia2, DeviceTX, DeviceMX}) {
        SurfaceRig rig(device);
        DDSURFACEDESC same = Desc(DDPIXELFORMAT{});
        EXPECT_EQ(CanCreate(rig, same, false), DD_OK);
        DDSURFACEDESC rgb = Desc(RGBFormat(32, 0xFF0000));
        EXPECT_EQ(CanCreate(rig, rgb), DD_OK);
        DDSURFACEDESC other = Desc(FlagFormat(DDPF_YUV, 16));
        EXPECT_EQ(CanCreate(rig, other), kRefused);
        DDSURFACEDESC z = Desc(FlagFormat(DDPF_ZBUFFER, 16));
        EXPECT_EQ(CanCreate(rig, z), kRefused);
    }
}

TEST(CanCreateSurface, PermediaZBuffersInVideoMemoryHave16Bits) {
    constexpr uint32_t kVideo = DDSCAPS_ZBUFFER | DDSCAPS_VIDEOMEMORY;
    SurfaceRig rig;
    DDSURFACEDESC good = ZDesc(16, kVideo);
    EXPECT_EQ(CanCreate(rig, good, false), DD_OK);
    DDSURFACEDESC wide = ZDesc(32, kVideo);
    EXPECT_EQ(CanCreate(rig, wide, false), kRefused);
    for (uint32_t depth : {0u, 15u, 24u}) {
        DDSURFACEDESC odd = ZDesc(depth, kVideo);
        EXPECT_EQ(CanCreate(rig, odd, false), kRefused) << depth;
    }
    DDSURFACEDESC system = ZDesc(32, DDSCAPS_ZBUFFER | DDSCAPS_SYSTEMMEMORY);
    EXPECT_EQ(CanCreate(rig, system, false), DD_OK);
    DDSURFACEDESC plain = ZDesc(32, DDSCAPS_OFFSCREENPLAIN | DDSCAPS_VIDEOMEMORY);
    EXPECT_EQ(CanCreate(rig, plain, false), DD_OK);
    SurfaceRig glint(DeviceTX);
    EXPECT_EQ(CanCreate(glint, wide, false), DD_OK);
}

TEST(CanCreateSurface, Y411NeverPasses) {
    for (uint32_t bits : {8u, 16u, 24u, 32u}) {
        SurfaceRig rig(DevicePermedia2, bits);
        DDSURFACEDESC desc = Desc(FourCCFormat("Y411"));
        EXPECT_EQ(CanCreate(rig, desc), kRefused);
        EXPECT_EQ(desc.ddpfPixelFormat.dwYUVBitCount, bits == 8 ? 0u : 32u);
    }
}

TEST(CanCreateSurface, YUY2DependsOnTheMode) {
    struct {
        uint32_t bits, width, rectangles;
        HRESULT expected;
    } const cases[] = {
        {8, 640, 0, kRefused}, {8, 640, 1, kRefused},  {16, 640, 1, DD_OK},
        {16, 1024, 1, DD_OK},  {32, 640, 1, DD_OK},    {32, 641, 1, kRefused},
        {32, 800, 0, DD_OK},   {24, 800, 1, kRefused}, {24, 640, 1, DD_OK},
    };
    for (const auto& c : cases) {
        SurfaceRig rig(DevicePermedia2, c.bits);
        rig.driver->ScreenWidth = c.width;
        rig.driver->RectAlloc = c.rectangles;
        DDSURFACEDESC desc = Desc(FourCCFormat("YUY2"));
        EXPECT_EQ(CanCreate(rig, desc), c.expected) << c.bits << " " << c.width;
        EXPECT_EQ(desc.ddpfPixelFormat.dwYUVBitCount, c.expected == DD_OK ? 16u : 0u);
    }
}

TEST(CanCreateSurface, OtherFourCCsAreRefusedEvenWithRgb) {
    SurfaceRig rig;
    DDPIXELFORMAT format = FourCCFormat("UYVY");
    format.dwFlags |= DDPF_RGB;
    DDSURFACEDESC desc = Desc(format);
    EXPECT_EQ(CanCreate(rig, desc), kRefused);
}

TEST(CanCreateSurface, GlintKnowsNoFourCC) {
    SurfaceRig rig(DeviceTX);
    DDSURFACEDESC desc = Desc(FourCCFormat("YUY2"));
    EXPECT_EQ(CanCreate(rig, desc), kRefused);
    EXPECT_EQ(desc.ddpfPixelFormat.dwYUVBitCount, 0u);
}

TEST(CanCreateSurface, RunsAPendingModeChange) {
    SurfaceRig rig;
    rig.driver->ModeChanged = 1;
    DDSURFACEDESC desc = Desc(DDPIXELFORMAT{});
    CanCreate(rig, desc, false);
    EXPECT_EQ(rig.driver->ModeChanged, 0u);
}

TEST(SetColorKey, OnlySaysYes) {
    DDHAL_SETCOLORKEYDATA data{};
    data.ddRVal = 0x5EED5EED;
    EXPECT_EQ(SetColorKey32(&data), 1u);
    EXPECT_EQ(data.ddRVal, DD_OK);
}

TEST(UpdateNonLocalHeap, StoresTheHeapAndTellsTheChip) {
    SurfaceRig rig(DevicePermedia2);
    int reads = 0;
    rig.bus->readFIFOSpace = [&] { return ++reads < 4 ? 1u : 2u; };
    rig.bus->Clear();
    DDHAL_UPDATENONLOCALHEAPDATA data{};
    data.lpDD = &rig.directDraw;
    data.fpGARTLin = 0xC0000000;
    data.fpGARTDev = 0x40000000;
    data.ddRVal = 0x5EED5EED;
    EXPECT_EQ(UpdateNonLocalHeap32(&data), 1u);
    EXPECT_EQ(data.ddRVal, DD_OK);
    EXPECT_EQ(rig.driver->NonLocalHeapLinear, 0xC0000000u);
    EXPECT_EQ(rig.driver->NonLocalHeapPhysical, 0x40000000u);
    EXPECT_EQ(reads, 4);
    EXPECT_EQ(rig.bus->Writes(), (std::vector<BusEvent>{{'w', t::AGPTextureBase, 0x40000000}}));
    EXPECT_EQ(rig.bus->events.back().kind, 'w');
}

DDHAL_GETHEAPALIGNMENTDATA AlignmentData(SurfaceRig& rig, uint32_t heap) {
    DDHAL_GETHEAPALIGNMENTDATA data{};
    data.dwInstance = reinterpret_cast<uint32_t>(rig.driver);
    data.dwHeap = heap;
    data.ddRVal = 0x5EED5EED;
    data.Alignment.FlipTarget.Linear.dwPitchAlignment = 77;
    return data;
}

TEST(GetHeapAlignment, FlipTargetsOnTXAndMXStartOnMultiplesOf8192) {
    for (uint32_t device : {DeviceTX, DeviceMX}) {
        SurfaceRig rig(device);
        for (uint32_t heap : {0u, 1u, 2u}) {
            DDHAL_GETHEAPALIGNMENTDATA data = AlignmentData(rig, heap);
            EXPECT_EQ(GetHeapAlignment32(&data), 1u);
            EXPECT_EQ(data.ddRVal, DD_OK);
            EXPECT_EQ(data.Alignment.ddsCaps.dwCaps, 16u);
            EXPECT_EQ(data.Alignment.FlipTarget.Linear.dwStartAlignment, 8192u);
            EXPECT_EQ(data.Alignment.FlipTarget.Linear.dwPitchAlignment, 0u);
        }
        DDHAL_GETHEAPALIGNMENTDATA data = AlignmentData(rig, 3);
        EXPECT_EQ(GetHeapAlignment32(&data), 0u);
        EXPECT_EQ(data.ddRVal, DDERR_INVALIDPARAMS);
        EXPECT_EQ(data.Alignment.ddsCaps.dwCaps, 0u);
    }
}

TEST(GetHeapAlignment, OtherChipsAskForNothing) {
    for (uint32_t device : {DevicePermedia, DevicePermedia2, DeviceSX}) {
        SurfaceRig rig(device);
        DDHAL_GETHEAPALIGNMENTDATA data = AlignmentData(rig, 9);
        EXPECT_EQ(GetHeapAlignment32(&data), 1u);
        EXPECT_EQ(data.ddRVal, DD_OK);
        EXPECT_EQ(data.Alignment.ddsCaps.dwCaps, 0u);
        EXPECT_EQ(data.Alignment.FlipTarget.Linear.dwPitchAlignment, 77u);
    }
}

TEST(GetHeapAlignment, WithoutAnInstanceAsksThePrimary) {
    SurfaceRig rig(DeviceMX);
    DDHAL_GETHEAPALIGNMENTDATA data = AlignmentData(rig, 0);
    data.dwInstance = 0;
    GetHeapAlignment32(&data);
    EXPECT_EQ(data.Alignment.ddsCaps.dwCaps, 16u);
}

TEST(GetAvailDriverMemory, TellsSizeAndFreeBytesOfTheHeap) {
    SurfaceRig rig;
    rig.driver->RectAlloc = 0;
    const uint32_t total = rig.driver->Heap.HeapEnd - rig.driver->Heap.HeapStart + 1;
    rig.Create(rig.Make(64, 64, DDSCAPS_OFFSCREENPLAIN));
    DDHAL_GETAVAILDRIVERMEMORYDATA data{};
    data.lpDD = &rig.directDraw;
    data.ddRVal = 0x5EED5EED;
    EXPECT_EQ(GetAvailDriverMemory32(&data), 1u);
    EXPECT_EQ(data.ddRVal, DD_OK);
    EXPECT_EQ(data.dwTotal, total);
    EXPECT_EQ(data.dwFree, total - 64 * 128);
}

TEST(GetAvailDriverMemory, LeavesNonLocalMemoryToDirectDraw) {
    SurfaceRig rig;
    DDHAL_GETAVAILDRIVERMEMORYDATA data{};
    data.lpDD = &rig.directDraw;
    data.DDSCaps.dwCaps = DDSCAPS_NONLOCALVIDMEM;
    data.dwTotal = 5;
    data.ddRVal = 0x5EED5EED;
    EXPECT_EQ(GetAvailDriverMemory32(&data), 0u);
    EXPECT_EQ(data.ddRVal, DD_OK);
    EXPECT_EQ(data.dwTotal, 5u);
}

TEST(SurfaceDriver, IsFoundByEitherReservedWordOrIsThePrimary) {
    SurfaceRig rig;
    DDHAL_GETAVAILDRIVERMEMORYDATA data{};
    data.lpDD = &rig.directDraw;
    const uint32_t self = reinterpret_cast<uint32_t>(rig.driver);
    const uint32_t bytes = rig.driver->Heap.HeapEnd - rig.driver->Heap.HeapStart + 1;
    struct {
        uint32_t third, first;
    } const words[] = {{self, 0}, {0, self}, {0, 0}};
    for (const auto& word : words) {
        rig.directDraw.dwReserved3 = word.third;
        rig.directDraw.dwReserved1 = word.first;
        pDriverData = word.third == 0 && word.first == 0 ? rig.driver : nullptr;
        data.dwTotal = 0;
        GetAvailDriverMemory32(&data);
        EXPECT_EQ(data.dwTotal, bytes);
    }
}

} // namespace
