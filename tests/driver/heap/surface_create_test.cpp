// Creating and destroying surfaces on both families.
#include "tests/driver/heap/heap_rig.h"
#include "tests/driver/heap/surface_rig.h"

namespace {

using namespace test;
using Codes = std::array<uint32_t, 4>;

constexpr uint32_t kPlain = DDSCAPS_OFFSCREENPLAIN;
constexpr DWORD kHandled = 1;
constexpr DWORD kNotHandled = 0;

const DDPIXELFORMAT kZ16 = FlagFormat(DDPF_ZBUFFER, 16);
const DDPIXELFORMAT kZ32 = FlagFormat(DDPF_ZBUFFER, 32);

uint32_t FreeBytes(SurfaceRig& rig) {
    return GetFreeMemInHeap(rig.driver);
}

// A heap of `bytes` bytes in the rig's frame buffer.
void ShrinkHeap(SurfaceRig& rig, uint32_t bytes) {
    rig.driver->Heap.HeapStart = reinterpret_cast<uint32_t>(rig.FrameBuffer());
    rig.driver->Heap.HeapEnd = rig.driver->Heap.HeapStart + bytes - 1;
    InitialiseHeapManager(rig.driver);
}

// What both families share.

TEST(SurfaceRecord, IsNewZeroedAndHungOnTheSurface) {
    for (uint32_t device : {DevicePermedia, DeviceTX}) {
        SurfaceRig rig(device);
        RawSurface& surface = rig.Make(64, 64, kPlain);
        rig.Create(surface);
        ASSERT_NE(PrivateOf(&surface.local), nullptr);
        EXPECT_EQ(surface.Record().MagicNo, 0xD3D10110u);
        EXPECT_EQ(surface.Record().Surface, &surface.local);
        EXPECT_EQ(surface.Record().LUTAddress, 0u);
        EXPECT_EQ(surface.Record().OwnerContext, nullptr);
        EXPECT_TRUE(host::heap::IsLive(&surface.Record()));
        EXPECT_EQ(host::heap::LiveBytes(), 116u);
    }
}

TEST(SurfaceRecord, OfAnEarlierCreationIsClearedAndUsedAgain) {
    for (uint32_t device : {DevicePermedia, DeviceTX}) {
        SurfaceRig rig(device);
        RawSurface& surface = rig.Make(64, 64, kPlain);
        rig.Create(surface);
        PrivateSurfaceData* record = &surface.Record();
        record->LUTAddress = 99;
        record->Flags |= SURFACE_PATCHED;
        rig.Create(surface);
        EXPECT_EQ(&surface.Record(), record);
        EXPECT_EQ(record->LUTAddress, 0u);
        EXPECT_EQ(record->Flags, SURFACE_READY | SURFACE_FORMAT_VALID);
        EXPECT_EQ(host::heap::LiveBlocks(), 1u);
    }
}

TEST(SurfaceRecord, ForeignOneIsLeftAlone) {
    for (uint32_t device : {DevicePermedia, DeviceTX}) {
        SurfaceRig rig(device);
        RawSurface& surface = rig.Make(64, 64, kPlain);
        PrivateSurfaceData foreign = {};
        foreign.MagicNo = 0xD3D10111;
        foreign.Flags = 0x1234;
        surface.global.dwReserved1 = reinterpret_cast<uint32_t>(&foreign);
        rig.Create(surface);
        EXPECT_NE(surface.global.dwReserved1, reinterpret_cast<uint32_t>(&foreign));
        EXPECT_EQ(foreign.MagicNo, 0xD3D10111u);
        EXPECT_EQ(foreign.Flags, 0x1234u);
    }
}

TEST(SurfaceRecord, WithoutMemoryTheListEndsAtOnce) {
    for (uint32_t device : {DevicePermedia, DeviceTX}) {
        SurfaceRig rig(device);
        RawSurface& first = rig.Make(64, 64, kPlain);
        RawSurface& second = rig.Make(64, 64, kPlain);
        RawSurface& third = rig.Make(64, 64, kPlain);
        host::heap::FailAllocations(1, 1);
        EXPECT_EQ(rig.Create({&first, &second, &third}), kHandled);
        EXPECT_EQ(rig.result, DDERR_OUTOFMEMORY);
        EXPECT_NE(first.global.dwReserved1, 0u);
        EXPECT_EQ(second.global.dwReserved1, 0u);
        EXPECT_EQ(third.global.dwReserved1, 0u);
    }
}

TEST(CreateSurface, RunsAPendingModeChangeFirst) {
    for (uint32_t device : {DevicePermedia, DeviceTX}) {
        SurfaceRig rig(device);
        rig.driver->ModeChanged = 1;
        const uint32_t changes = rig.driver->ModeChangeCount;
        rig.Create({&rig.Make(64, 64, kPlain), &rig.Make(64, 64, kPlain)});
        EXPECT_EQ(rig.driver->ModeChanged, 0u);
        EXPECT_EQ(rig.driver->ModeChangeCount, changes + 1);
    }
}

TEST(CreateSurface, ScreenPitchSurfaceTakesTheScreensProducts) {
    for (uint32_t device : {DevicePermedia, DeviceTX}) {
        SurfaceRig rig(device);
        rig.driver->PartialProducts = 0xFFFFF000 | 5 | 3 << 3 | 1 << 6;
        RawSurface& surface = rig.Make(100, 100, kPlain, 1280);
        surface.global.dwBlockSizeX = 0x1111;
        EXPECT_EQ(rig.Create(surface), kNotHandled);
        EXPECT_EQ(rig.result, SurfaceRig::kUntouched);
        EXPECT_EQ(surface.Products(), (Codes{5, 3, 1, 5 | 3 << 3 | 1 << 6}));
        EXPECT_EQ(surface.Record().PartialProduct3, 0u);
        EXPECT_EQ(surface.Packed(), (Codes{4, 2, 0, 4 | 2 << 3}));
        EXPECT_NE(surface.Record().Flags & SURFACE_READY, 0u);
        EXPECT_EQ(surface.global.lPitch, 1280);
        EXPECT_EQ(surface.global.dwBlockSizeX, 0x1111u);
        EXPECT_TRUE(rig.bus->Writes().empty());
    }
}

TEST(CreateSurface, BringsTheChipsDepthInStepBeforeItTakesTheScreensProducts) {
    for (uint32_t device : {DevicePermedia, DeviceTX}) {
        SurfaceRig rig(device);
        rig.driver->FBDepth = PixelSize32;
        rig.driver->DepthTable[1].word = 4 | 2 << 3;
        rig.driver->DepthTable[2].word = 7;
        RawSurface& surface = rig.Make(100, 100, kPlain, 1280);
        rig.Create(surface);
        EXPECT_EQ(rig.driver->FBDepth, rig.driver->PixelSize);
        EXPECT_EQ(surface.Products(), (Codes{4, 2, 0, 4 | 2 << 3}));
    }
}

// Glint.

TEST(GlintCreateSurface, TextureKeepsItsPitch) {
    SurfaceRig rig(DeviceTX);
    RawSurface& surface = rig.Make(128, 128, DDSCAPS_TEXTURE, kRGB555, 256);
    EXPECT_EQ(rig.Create(surface), kNotHandled);
    EXPECT_EQ(surface.Products(), (Codes{3, 0, 0, 3}));
    EXPECT_EQ(surface.Packed(), (Codes{2, 0, 0, 2}));
    EXPECT_NE(surface.Record().Flags & SURFACE_READY, 0u);
    EXPECT_EQ(surface.global.lPitch, 256);
    EXPECT_EQ(surface.global.fpVidMem, 0x77777777u);
}

TEST(GlintCreateSurface, TexturePitchCountsAsAtLeast32Pixels) {
    SurfaceRig rig(DeviceTX);
    RawSurface& surface = rig.Make(8, 8, DDSCAPS_TEXTURE, kRGB555, 16);
    rig.Create(surface);
    EXPECT_EQ(surface.Products(), (Codes{1, 0, 0, 1}));
    EXPECT_EQ(surface.Packed(), (Codes{0, 0, 0, 0}));
}

TEST(GlintCreateSurface, PitchOfA4BitTextureIsShiftedByItsCode) {
    SurfaceRig rig(DeviceTX);
    RawSurface& surface = rig.Make(128, 8, DDSCAPS_TEXTURE, kIndexed4, 512);
    rig.Create(surface);
    EXPECT_EQ(surface.Products(), (Codes{2, 0, 0, 2})); // 512 >> 3 = 64
}

TEST(GlintCreateSurface, TextureOfFourProductsKeepsTheFourthApart) {
    SurfaceRig rig(DeviceTX);
    RawSurface& surface = rig.Make(480, 8, DDSCAPS_TEXTURE, kRGB555, 480 * 2);
    rig.Create(surface); // 256 + 128 + 64 + 32
    EXPECT_EQ(surface.Products(), (Codes{1, 2, 3, (3 * 8 + 2) * 8 + 1}));
    EXPECT_EQ(surface.Record().PartialProduct3, 4u);
}

TEST(GlintCreateSurface, ZBufferIsCountedIn32BitElements) {
    SurfaceRig rig(DeviceTX);
    RawSurface& surface = rig.Make(640, 480, DDSCAPS_ZBUFFER, kZ16, 1280);
    EXPECT_EQ(rig.Create(surface), kHandled);
    EXPECT_EQ(rig.result, DD_OK);
    EXPECT_EQ(surface.global.lPitch, 2560);
    EXPECT_EQ(surface.global.fpVidMem, 2u);
    EXPECT_EQ(surface.global.dwBlockSizeX, 480u * 2560);
    EXPECT_EQ(surface.global.dwBlockSizeY, 1u);
    EXPECT_EQ(surface.Products(), (Codes{3, 5, 0, 5 * 8 + 3}));
    EXPECT_EQ(surface.Packed(), (Codes{2, 4, 0, 4 * 8 + 2}));
    EXPECT_EQ(surface.Record().Flags, SURFACE_FORMAT_VALID | SURFACE_READY | SURFACE_SHORT_Z);
}

TEST(GlintCreateSurface, ZBufferOf32BitsIsNotShort) {
    SurfaceRig rig(DeviceTX);
    RawSurface& surface = rig.Make(640, 480, DDSCAPS_ZBUFFER, kZ32);
    rig.Create(surface);
    EXPECT_EQ(surface.Record().Flags, SURFACE_FORMAT_VALID | SURFACE_READY);
}

TEST(GlintCreateSurface, ZBufferTooWideForAnyPitchFails) {
    SurfaceRig rig(DeviceTX);
    RawSurface& surface = rig.Make(3 * 2048 + 1, 4, DDSCAPS_ZBUFFER, kZ32);
    EXPECT_EQ(rig.Create(surface), kHandled);
    EXPECT_EQ(rig.result, DDERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(surface.global.fpVidMem, 0u);
}

TEST(GlintCreateSurface, HandledCoversTheWholeList) {
    SurfaceRig rig(DeviceTX);
    RawSurface& z = rig.Make(640, 480, DDSCAPS_ZBUFFER, kZ32);
    RawSurface& plain = rig.Make(64, 64, kPlain);
    EXPECT_EQ(rig.Create({&z, &plain}), kHandled);
    EXPECT_EQ(rig.result, DD_OK);
    EXPECT_EQ(plain.global.fpVidMem, 0x77777777u);
}

TEST(GlintCreateSurface, IndexedTextureOnMXGetsRoomForItsColours) {
    SurfaceRig rig(DeviceMX);
    RawSurface& surface = rig.Make(100, 50, DDSCAPS_TEXTURE, kIndexed8, 100);
    EXPECT_EQ(rig.Create(surface), kHandled);
    // Eleven lines of 100 bytes hold 1024.
    EXPECT_EQ(surface.global.dwBlockSizeX, 50u * 100 + 1100);
    EXPECT_EQ(surface.global.dwBlockSizeY, 1u);
    EXPECT_EQ(surface.global.fpVidMem, 2u);
    EXPECT_EQ(surface.global.lPitch, 100);
    EXPECT_EQ(surface.Products(), (Codes{1, 2, 0, 2 * 8 + 1})); // 96 of 100 pixels

    RawSurface& wide = rig.Make(2048, 4, DDSCAPS_TEXTURE, kIndexed8, 2048);
    rig.Create(wide);
    EXPECT_EQ(wide.global.dwBlockSizeX, 4u * 2048 + 2048);
    RawSurface& even = rig.Make(512, 4, DDSCAPS_TEXTURE, kIndexed8, 512);
    rig.Create(even);
    EXPECT_EQ(even.global.dwBlockSizeX, 4u * 512 + 1024);
}

TEST(GlintCreateSurface, ColourRoomOfATextureWithoutAPitchIsItsBytes) {
    SurfaceRig rig(DeviceMX);
    RawSurface& surface = rig.Make(100, 50, DDSCAPS_TEXTURE, kIndexed8, 0);
    EXPECT_EQ(rig.Create(surface), kHandled);
    EXPECT_EQ(surface.global.dwBlockSizeX, 1024u);
}

TEST(GlintCreateSurface, OnlyIndexedTexturesOnMXGetColourRoom) {
    SurfaceRig tx(DeviceTX);
    EXPECT_EQ(tx.Create(tx.Make(128, 128, DDSCAPS_TEXTURE, kIndexed8, 128)), kNotHandled);
    SurfaceRig mx(DeviceMX);
    EXPECT_EQ(mx.Create(mx.Make(128, 128, kPlain, kIndexed8, 128)), kNotHandled);
    EXPECT_EQ(mx.Create(mx.Make(128, 128, DDSCAPS_TEXTURE, kIndexed4, 128)), kNotHandled);
}

TEST(GlintCreateSurface, FlipLimitStopsTheThirdFlippingSurface) {
    SurfaceRig rig(DeviceTX);
    rig.driver->FlipLimitOn = 1;
    RawSurface& front = rig.Make(640, 480, DDSCAPS_PRIMARYSURFACE | DDSCAPS_FLIP);
    RawSurface& back = rig.Make(640, 480, DDSCAPS_BACKBUFFER);
    RawSurface& third = rig.Make(640, 480, DDSCAPS_BACKBUFFER | DDSCAPS_FLIP);
    RawSurface& plain = rig.Make(640, 480, kPlain);
    EXPECT_EQ(rig.Create({&front, &back}), kNotHandled);
    EXPECT_EQ(rig.driver->FlipSurfaceCount, 2u);
    EXPECT_EQ(rig.Create(third), kHandled);
    EXPECT_EQ(rig.result, DDERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(third.global.fpVidMem, 0u);
    EXPECT_EQ(third.global.dwReserved1, 0u);
    EXPECT_EQ(rig.driver->FlipSurfaceCount, 2u);
    EXPECT_EQ(rig.Create(plain), kNotHandled);

    rig.Destroy(back);
    EXPECT_EQ(rig.driver->FlipSurfaceCount, 1u);
    EXPECT_EQ(rig.Create(third), kNotHandled);
}

TEST(GlintCreateSurface, WithoutTheLimitNothingIsCounted) {
    SurfaceRig rig(DeviceTX);
    RawSurface& surface = rig.Make(640, 480, DDSCAPS_BACKBUFFER | DDSCAPS_FLIP);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(rig.Create(surface), kNotHandled);
    }
    rig.Destroy(surface);
    EXPECT_EQ(rig.driver->FlipSurfaceCount, 0u);
}

TEST(GlintCreateSurface, FailureInTheMiddleKeepsTheSurfacesBefore) {
    SurfaceRig rig(DeviceTX);
    RawSurface& first = rig.Make(640, 480, DDSCAPS_ZBUFFER, kZ32);
    RawSurface& second = rig.Make(20000, 4, DDSCAPS_ZBUFFER, kZ32);
    RawSurface& third = rig.Make(640, 480, DDSCAPS_ZBUFFER, kZ32);
    EXPECT_EQ(rig.Create({&first, &second, &third}), kHandled);
    EXPECT_EQ(rig.result, DDERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(first.global.fpVidMem, 2u);
    EXPECT_NE(first.global.dwReserved1, 0u);
    EXPECT_EQ(second.global.fpVidMem, 0u);
    EXPECT_EQ(third.global.fpVidMem, 0x77777777u);
    EXPECT_EQ(third.global.dwReserved1, 0u);
}

// Permedia with rectangles.

TEST(PermediaCreateSurface, PlainSurfaceIsLeftToDirectDrawWithItsAddressCleared) {
    SurfaceRig rig;
    RawSurface& surface = rig.Make(64, 64, kPlain | DDSCAPS_NONLOCALVIDMEM);
    surface.local.ddsCaps.dwCaps = kPlain | DDSCAPS_VIDEOMEMORY;
    EXPECT_EQ(rig.Create(surface), kNotHandled);
    EXPECT_EQ(surface.global.fpVidMem, 0u);
    EXPECT_EQ(surface.Caps(), kPlain | DDSCAPS_VIDEOMEMORY | DDSCAPS_LOCALVIDMEM);
}

TEST(PermediaCreateSurface, HasNoFlipLimit) {
    SurfaceRig rig;
    rig.driver->FlipLimitOn = 1;
    rig.driver->FlipSurfaceCount = 2;
    EXPECT_EQ(rig.Create(rig.Make(640, 480, DDSCAPS_BACKBUFFER | DDSCAPS_FLIP)), kNotHandled);
    EXPECT_EQ(rig.driver->FlipSurfaceCount, 2u);
}

TEST(PermediaCreateSurface, TextureGetsAPitchAndABlock) {
    SurfaceRig rig;
    RawSurface& surface = rig.Make(100, 100, DDSCAPS_TEXTURE, kRGB555, 200);
    EXPECT_EQ(rig.Create(surface), kHandled);
    EXPECT_EQ(rig.result, DD_OK);
    EXPECT_EQ(surface.global.lPitch, 256);
    EXPECT_EQ(surface.global.dwBlockSizeX, 25600u);
    EXPECT_EQ(surface.global.dwBlockSizeY, 1u);
    EXPECT_EQ(surface.global.fpVidMem, 2u);
    EXPECT_EQ(surface.Products(), (Codes{3, 0, 0, 3}));
    EXPECT_EQ(surface.Record().Flags, SURFACE_FORMAT_VALID | SURFACE_READY);
    EXPECT_NE(surface.Caps() & DDSCAPS_LOCALVIDMEM, 0u);
}

TEST(PermediaCreateSurface, FourBitTextureIsSearchedAtHalfItsWidth) {
    SurfaceRig rig;
    RawSurface& surface = rig.Make(100, 64, DDSCAPS_TEXTURE, kIndexed4);
    rig.Create(surface);
    EXPECT_EQ(surface.global.lPitch, 64);
    EXPECT_EQ(surface.Products(), (Codes{2, 0, 0, 2}));
    EXPECT_EQ(surface.global.dwBlockSizeX, 64u * 64);
}

TEST(PermediaCreateSurface, PitchFollowsTheBitCount) {
    SurfaceRig rig(DevicePermedia2);
    RawSurface& bytes = rig.Make(64, 64, DDSCAPS_TEXTURE, RGBFormat(8, 0xE0));
    RawSurface& triples = rig.Make(64, 64, DDSCAPS_TEXTURE, RGBFormat(24, 0xFF0000));
    RawSurface& words = rig.Make(64, 64, DDSCAPS_TEXTURE, RGBFormat(32, 0xFF0000));
    rig.Create({&bytes, &triples, &words});
    EXPECT_EQ(bytes.global.lPitch, 64);
    EXPECT_EQ(triples.global.lPitch, 192);
    EXPECT_EQ(words.global.lPitch, 256);
    EXPECT_EQ(triples.Products(), (Codes{2, 0, 0, 2}));
    // The count decides, also where the chip has no such format.
    SurfaceRig first(DevicePermedia);
    RawSurface& unknown = first.Make(64, 64, DDSCAPS_TEXTURE, RGBFormat(24, 0xFF0000));
    first.Create(unknown);
    EXPECT_EQ(unknown.global.lPitch, 192);
}

TEST(PermediaCreateSurface, SmallSurfaceReserves32Lines) {
    SurfaceRig rig;
    RawSurface& surface = rig.Make(64, 8, DDSCAPS_TEXTURE, kRGB555);
    rig.Create(surface);
    EXPECT_EQ(surface.global.dwBlockSizeX, 128u * 32);
    RawSurface& fourcc = rig.Make(64, 8, DDSCAPS_TEXTURE, FourCCFormat("YUY2"));
    rig.Create(fourcc);
    EXPECT_EQ(fourcc.global.dwBlockSizeX, 128u * 8);
}

TEST(PermediaCreateSurface, ZBufferGetsAPitchOfItsOwn) {
    SurfaceRig rig;
    RawSurface& surface = rig.Make(640, 480, DDSCAPS_ZBUFFER, kZ16);
    EXPECT_EQ(rig.Create(surface), kHandled);
    EXPECT_EQ(surface.global.lPitch, 1280);
    EXPECT_EQ(surface.global.dwBlockSizeX, 480u * 1280);
    EXPECT_EQ(surface.global.fpVidMem, 2u);
    EXPECT_EQ(surface.Record().Flags, SURFACE_FORMAT_VALID | SURFACE_READY);
    EXPECT_EQ(surface.Packed(), (Codes{4, 2, 0, 2 * 8 + 4}));
}

TEST(PermediaCreateSurface, IndexedTextureOnPermedia2GetsRoomForItsColours) {
    SurfaceRig rig(DevicePermedia2);
    RawSurface& surface = rig.Make(16, 16, DDSCAPS_TEXTURE, kIndexed8);
    EXPECT_EQ(rig.Create(surface), kHandled);
    EXPECT_EQ(surface.global.lPitch, 32);
    EXPECT_EQ(surface.global.dwBlockSizeX, 32u * 32 + 32 * 32);
    RawSurface& odd = rig.Make(96, 40, DDSCAPS_TEXTURE, kIndexed8);
    rig.Create(odd);
    EXPECT_EQ(odd.global.dwBlockSizeX, 40u * 96 + 11 * 96); // 11 * 96 = 1056
    SurfaceRig first(DevicePermedia);
    RawSurface& none = first.Make(16, 16, DDSCAPS_TEXTURE, kIndexed8);
    first.Create(none);
    EXPECT_EQ(none.global.dwBlockSizeX, 32u * 32);
}

struct FourCCCase {
    const char* code;
    uint32_t screenBits;
    uint32_t screenWidth;
    uint32_t bits;       // of the surface afterwards
    LONG pitch;          // of the screen, bytes
    uint32_t blockWidth; // for a surface 320 wide
    Codes products;
};

class PermediaScreenFourCC : public testing::TestWithParam<FourCCCase> {};

TEST_P(PermediaScreenFourCC, LiesOnTheDisplaysPitch) {
    const FourCCCase& expected = GetParam();
    SurfaceRig rig(DevicePermedia, expected.screenBits);
    rig.driver->ScreenWidth = expected.screenWidth;
    RawSurface& surface = rig.Make(320, 20, DDSCAPS_OVERLAY, FourCCFormat(expected.code));
    EXPECT_EQ(rig.Create(surface), kHandled);
    EXPECT_EQ(surface.global.ddpfSurface.dwYUVBitCount, expected.bits);
    EXPECT_EQ(surface.global.fpVidMem, 2u);
    EXPECT_EQ(surface.global.dwBlockSizeX, expected.blockWidth);
    EXPECT_EQ(surface.global.dwBlockSizeY, 20u);
    EXPECT_EQ(surface.global.lPitch, expected.pitch);
    EXPECT_EQ(surface.Products(), expected.products);
    EXPECT_NE(surface.Record().Flags & SURFACE_READY, 0u);
}

constexpr uint32_t PP(uint32_t a, uint32_t b, uint32_t c) {
    return a | b << 3 | c << 6;
}

INSTANTIATE_TEST_SUITE_P(
    Modes, PermediaScreenFourCC,
    testing::Values(FourCCCase{"YUY2", 8, 640, 16, 640, 640, {2, 4, 0, PP(2, 4, 0)}},
                    FourCCCase{"Y411", 8, 640, 32, 640, 1280, {5, 3, 0, PP(5, 3, 0)}},
                    FourCCCase{"YUY2", 16, 640, 16, 1280, 640, {5, 3, 0, PP(5, 3, 0)}},
                    FourCCCase{"Y411", 16, 640, 32, 1280, 1280, {5, 5, 4, PP(5, 5, 4)}},
                    FourCCCase{"YUY2", 32, 640, 16, 2560, 640, {5, 5, 4, PP(5, 5, 4)}},
                    FourCCCase{"Y411", 32, 320, 32, 1280, 1280, {5, 5, 4, PP(5, 5, 4)}},
                    FourCCCase{"YUY2", 24, 640, 16, 1920, 640, {5, 3, 0, PP(5, 3, 0)}}));

TEST(PermediaCreateSurface, FourCCTextureHasItsOwnPitch) {
    SurfaceRig rig;
    RawSurface& surface = rig.Make(96, 20, DDSCAPS_TEXTURE, FourCCFormat("Y411"));
    rig.Create(surface);
    EXPECT_EQ(surface.global.ddpfSurface.dwYUVBitCount, 32u);
    EXPECT_EQ(surface.global.lPitch, 96 * 4);
    EXPECT_EQ(surface.global.dwBlockSizeX, 96u * 4 * 20);
    EXPECT_EQ(surface.global.dwBlockSizeY, 1u);
    EXPECT_EQ(surface.Products(), (Codes{1, 2, 0, PP(1, 2, 0)}));
}

TEST(PermediaCreateSurface, FourCCWithoutRectanglesHasItsOwnPitch) {
    SurfaceRig rig;
    rig.driver->RectAlloc = 0;
    const uint32_t free = FreeBytes(rig);
    RawSurface& surface = rig.Make(96, 20, DDSCAPS_OVERLAY, FourCCFormat("YUY2"));
    rig.Create(surface);
    EXPECT_EQ(surface.global.lPitch, 192);
    EXPECT_EQ(FreeBytes(rig), free - 192 * 20);
    EXPECT_EQ(surface.Packed(), (Codes{0, 1, 0, PP(0, 1, 0)}));
}

TEST(PermediaCreateSurface, UnknownFourCCIsAPlainSurface) {
    SurfaceRig rig;
    RawSurface& surface = rig.Make(96, 20, DDSCAPS_OVERLAY, FourCCFormat("UYVY"));
    EXPECT_EQ(rig.Create(surface), kNotHandled);
    EXPECT_EQ(surface.global.ddpfSurface.dwYUVBitCount, 0u);
}

// Permedia with the linear heap.

TEST(PermediaCreateSurface, LinearHeapPutsSurfacesLowAndTexturesHigh) {
    SurfaceRig rig;
    rig.driver->RectAlloc = 0;
    const uint32_t start = rig.driver->Heap.HeapStart;
    const uint32_t end = rig.driver->Heap.HeapEnd;
    RawSurface& plain = rig.Make(640, 480, kPlain);
    EXPECT_EQ(rig.Create(plain), kHandled);
    EXPECT_EQ(rig.result, DD_OK);
    EXPECT_EQ(plain.global.fpVidMem, start);
    EXPECT_EQ(plain.global.lPitch, 1280);
    RawSurface& texture = rig.Make(64, 64, DDSCAPS_TEXTURE, kRGB555);
    rig.Create(texture);
    EXPECT_EQ(texture.global.fpVidMem, end + 1 - 64 * 128);
    RawSurface& z = rig.Make(640, 480, DDSCAPS_ZBUFFER, kZ16);
    rig.Create(z);
    EXPECT_EQ(z.global.fpVidMem, start + 480 * 1280);
    EXPECT_EQ(FreeBytes(rig), end + 1 - start - 2 * 480 * 1280 - 64 * 128);
}

TEST(PermediaCreateSurface, LinearHeapRequestsCarryTheirFlags) {
    SurfaceRig rig;
    rig.driver->RectAlloc = 0;
    rig.Create({&rig.Make(64, 64, kPlain), &rig.Make(64, 64, DDSCAPS_TEXTURE, kRGB555)});
    const HeapNode* low = HeadOfSet(rig.driver, rig.driver->Heap.AllocatedSet);
    const HeapNode* high = NODE_NextNode(rig.driver, const_cast<HeapNode*>(low));
    EXPECT_EQ(low->Flags, 9u);
    EXPECT_EQ(high->Flags, 10u);
}

TEST(PermediaCreateSurface, TwentyFourBitSurfacesAreAlignedTo12) {
    SurfaceRig rig(DevicePermedia2, 24);
    rig.driver->RectAlloc = 0;
    ShrinkHeap(rig, 0x100000);
    HeapRequest odd = {sizeof odd, 9, 4, 4, 0};
    AllocateVideoMemory(rig.driver, &odd);
    RawSurface& surface = rig.Make(64, 64, kPlain);
    rig.Create(surface);
    EXPECT_EQ(surface.global.lPitch, 192);
    EXPECT_EQ(surface.global.fpVidMem, rig.driver->Heap.HeapStart + 12);
}

TEST(PermediaCreateSurface, PrimaryTakesNothingFromTheLinearHeap) {
    SurfaceRig rig;
    rig.driver->RectAlloc = 0;
    const uint32_t free = FreeBytes(rig);
    RawSurface& primary = rig.Make(640, 480, DDSCAPS_PRIMARYSURFACE);
    EXPECT_EQ(rig.Create(primary), kHandled);
    EXPECT_EQ(primary.global.fpVidMem, 2u);
    EXPECT_EQ(primary.global.lPitch, 1280);
    EXPECT_EQ(FreeBytes(rig), free);
}

TEST(PermediaCreateSurface, NonLocalSurfaceTakesNothingFromTheLinearHeap) {
    SurfaceRig rig(DevicePermedia2);
    rig.driver->RectAlloc = 0;
    const uint32_t free = FreeBytes(rig);
    RawSurface& surface =
        rig.Make(64, 64, DDSCAPS_TEXTURE | DDSCAPS_NONLOCALVIDMEM | DDSCAPS_LOCALVIDMEM, kRGB555);
    EXPECT_EQ(rig.Create(surface), kHandled);
    EXPECT_EQ(surface.global.fpVidMem, 2u);
    EXPECT_EQ(surface.Caps(), DDSCAPS_TEXTURE | DDSCAPS_VIDEOMEMORY | DDSCAPS_NONLOCALVIDMEM);
    EXPECT_EQ(FreeBytes(rig), free);
}

TEST(PermediaCreateSurface, ForcedAGPTextureTakesNothingFromTheLinearHeap) {
    for (uint32_t rectangles : {0u, 1u}) {
        SurfaceRig rig(DevicePermedia2);
        rig.driver->RectAlloc = rectangles;
        DXGlobals.ForceAGPTextures = 1;
        const uint32_t free = FreeBytes(rig);
        RawSurface& texture = rig.Make(64, 64, DDSCAPS_TEXTURE | DDSCAPS_LOCALVIDMEM, kRGB555);
        RawSurface& plain = rig.Make(64, 64, kPlain | DDSCAPS_LOCALVIDMEM);
        rig.Create({&texture, &plain});
        EXPECT_EQ(texture.global.fpVidMem, 2u);
        EXPECT_EQ(texture.Caps() & (DDSCAPS_NONLOCALVIDMEM | DDSCAPS_LOCALVIDMEM),
                  DDSCAPS_NONLOCALVIDMEM);
        EXPECT_EQ(plain.Caps() & (DDSCAPS_NONLOCALVIDMEM | DDSCAPS_LOCALVIDMEM),
                  DDSCAPS_LOCALVIDMEM);
        EXPECT_EQ(FreeBytes(rig), rectangles ? free : free - 64 * 128);
    }
}

TEST(PermediaCreateSurface, TextureSpillsToAGPWhenTheHeapIsFull) {
    SurfaceRig rig(DevicePermedia2);
    rig.driver->RectAlloc = 0;
    rig.driver->NonLocalHeapPhysical = 0x40000000;
    ShrinkHeap(rig, 0x1000);
    RawSurface& texture = rig.Make(64, 64, DDSCAPS_TEXTURE | DDSCAPS_LOCALVIDMEM, kRGB555);
    EXPECT_EQ(rig.Create(texture), kHandled);
    EXPECT_EQ(rig.result, DD_OK);
    EXPECT_EQ(texture.global.fpVidMem, 2u);
    EXPECT_EQ(texture.Caps() & (DDSCAPS_NONLOCALVIDMEM | DDSCAPS_LOCALVIDMEM),
              DDSCAPS_NONLOCALVIDMEM);
    // What lies there is DirectDraw's to free.
    EXPECT_EQ(rig.Destroy(texture), kNotHandled);
    EXPECT_EQ(rig.result, DD_OK);
}

TEST(PermediaCreateSurface, OtherSurfacesDoNotSpill) {
    SurfaceRig rig(DevicePermedia2);
    rig.driver->RectAlloc = 0;
    rig.driver->NonLocalHeapPhysical = 0x40000000;
    ShrinkHeap(rig, 0x1000);
    RawSurface& surface = rig.Make(64, 64, kPlain, kRGB555);
    EXPECT_EQ(rig.Create(surface), kHandled);
    EXPECT_EQ(rig.result, DDERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(surface.global.fpVidMem, 0u);
}

TEST(PermediaCreateSurface, FailureInTheMiddleKeepsTheSurfacesBefore) {
    SurfaceRig rig;
    rig.driver->RectAlloc = 0;
    ShrinkHeap(rig, 0x3000); // one texture of 0x2000 bytes, not two
    RawSurface& first = rig.Make(64, 64, DDSCAPS_TEXTURE, kRGB555);
    RawSurface& second = rig.Make(64, 64, DDSCAPS_TEXTURE, kRGB555);
    RawSurface& third = rig.Make(16, 16, DDSCAPS_TEXTURE, kRGB555);
    EXPECT_EQ(rig.Create({&first, &second, &third}), kHandled);
    EXPECT_EQ(rig.result, DDERR_OUTOFVIDEOMEMORY);
    EXPECT_EQ(first.global.fpVidMem, rig.driver->Heap.HeapEnd + 1 - 0x2000);
    EXPECT_NE(first.global.dwReserved1, 0u);
    EXPECT_EQ(second.global.fpVidMem, 0u);
    EXPECT_NE(second.global.dwReserved1, 0u);
    EXPECT_EQ(third.global.dwReserved1, 0u);
    EXPECT_EQ(FreeBytes(rig), 0x1000u);
    EXPECT_EQ(rig.Destroy(first), kHandled);
    EXPECT_EQ(rig.Destroy(second), kHandled);
    EXPECT_EQ(FreeBytes(rig), 0x3000u);
    EXPECT_EQ(host::heap::LiveBlocks(), 0u);
}

// Destroying.

TEST(DestroySurface, GivesLinearMemoryBack) {
    SurfaceRig rig;
    rig.driver->RectAlloc = 0;
    const uint32_t free = FreeBytes(rig);
    RawSurface& surface = rig.Make(64, 64, kPlain);
    rig.Create(surface);
    EXPECT_EQ(rig.Destroy(surface), kHandled);
    EXPECT_EQ(rig.result, DD_OK);
    EXPECT_EQ(surface.global.fpVidMem, 0u);
    EXPECT_EQ(surface.global.dwReserved1, 0u);
    EXPECT_EQ(FreeBytes(rig), free);
    EXPECT_EQ(host::heap::LiveBlocks(), 0u);
}

TEST(DestroySurface, LeavesTheMemoryToDirectDrawOtherwise) {
    struct {
        uint32_t device, rectangles, caps;
    } const cases[] = {
        {DevicePermedia, 1, kPlain},
        {DeviceTX, 1, kPlain},
        {DeviceTX, 0, kPlain},
        {DevicePermedia, 0, DDSCAPS_PRIMARYSURFACE},
        {DevicePermedia, 0, DDSCAPS_TEXTURE | DDSCAPS_NONLOCALVIDMEM},
    };
    for (const auto& c : cases) {
        SurfaceRig rig(c.device);
        rig.driver->RectAlloc = c.rectangles;
        RawSurface& surface = rig.Make(64, 64, c.caps, 128);
        rig.Create(surface);
        surface.global.fpVidMem = 0x1234;
        EXPECT_EQ(rig.Destroy(surface), kNotHandled);
        EXPECT_EQ(rig.result, DD_OK);
        EXPECT_EQ(surface.global.fpVidMem, 0x1234u);
        EXPECT_EQ(surface.global.dwReserved1, 0u);
        EXPECT_EQ(host::heap::LiveBlocks(), 0u);
    }
}

TEST(DestroySurface, RefusesARecordThatIsNotTheDrivers) {
    SurfaceRig rig;
    rig.driver->RectAlloc = 0;
    RawSurface& surface = rig.Make(64, 64, kPlain);
    rig.Create(surface);
    const uint32_t free = FreeBytes(rig);
    surface.Record().MagicNo = 0;
    const uint32_t reserved = surface.global.dwReserved1;
    EXPECT_EQ(rig.Destroy(surface), kNotHandled);
    EXPECT_EQ(rig.result, DDERR_GENERIC);
    EXPECT_EQ(surface.global.dwReserved1, reserved);
    EXPECT_EQ(FreeBytes(rig), free);
    EXPECT_EQ(host::heap::LiveBlocks(), 1u);

    RawSurface& bare = rig.Make(64, 64, kPlain);
    EXPECT_EQ(rig.Destroy(bare), kNotHandled);
    EXPECT_EQ(rig.result, DDERR_GENERIC);
}

TEST(DestroySurface, CountsFlippingSurfacesDownUnderTheLimit) {
    SurfaceRig rig(DeviceTX);
    rig.driver->FlipLimitOn = 1;
    RawSurface& flip = rig.Make(64, 64, DDSCAPS_FLIP);
    RawSurface& plain = rig.Make(64, 64, kPlain);
    rig.Create({&flip, &plain});
    rig.Destroy(plain);
    EXPECT_EQ(rig.driver->FlipSurfaceCount, 1u);
    rig.Destroy(flip);
    EXPECT_EQ(rig.driver->FlipSurfaceCount, 0u);
}

} // namespace
