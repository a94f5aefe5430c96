// The decision of a blit on the Permedia family: which primitive, with which numbers.
#include "driver/blit/pmblitfx.h"
#include "tests/driver/blit/blit_rig.h"
#include "tests/support/tag_names.h"

namespace {

using test::BlitCall;
using test::BlitRig;
using test::RigOptions;
using test::RigSurface;

using test::kStillDrawing;

// Two surfaces of the display's format, the source at the higher address.
struct PermediaRig : BlitRig {
    explicit PermediaRig(const RigOptions& options = {}) : BlitRig(options) {
        CopyOf(dest, source);
    }
    uint32_t DisplaySize() const { return driver->PixelSize; }

    RigSurface& dest = MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, DisplaySize(), 0x120000);
    RigSurface& source = MakeSurface(512, 256, DDSCAPS_OFFSCREENPLAIN, DisplaySize(), 0x300000);
};

void GiveFormat(RigSurface& surface, uint32_t bits) {
    surface.local.dwFlags |= DDRAWISURF_HASPIXELFORMAT;
    surface.Global().ddpfSurface.dwRGBBitCount = bits;
}

// Equal to the edges of CopyOf.
void ExpectRequestsRectangles(const BlitCall& call) {
    EXPECT_EQ(call.destRect.left, 10);
    EXPECT_EQ(call.destRect.top, 20);
    EXPECT_EQ(call.destRect.right, 26);
    EXPECT_EQ(call.destRect.bottom, 28);
    EXPECT_EQ(call.srcRect.left, 30);
    EXPECT_EQ(call.srcRect.top, 40);
    EXPECT_EQ(call.srcRect.right, 46);
    EXPECT_EQ(call.srcRect.bottom, 48);
}

TEST(PermediaCopy, OfEqualSizeIsPacked) {
    PermediaRig rig;
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.slot, "PackedCopyBlt");
    EXPECT_EQ(call.destPriv, &rig.dest.priv);
    EXPECT_EQ(call.srcPriv, &rig.source.priv);
    EXPECT_EQ(call.destStride, 640);
    EXPECT_EQ(call.srcStride, 512);
    EXPECT_EQ(call.destOffset, 0x90000u); // two bytes a pixel
    EXPECT_EQ(call.srcOffset, 0xF0000);
    EXPECT_EQ(call.logicOp, 3u);
    ExpectRequestsRectangles(call);
}

TEST(PermediaCopy, ASourceBeforeTheDestinationIsANegativeWayOff) {
    PermediaRig rig;
    rig.CopyOf(rig.source, rig.dest);
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.destOffset, 0x180000u);
    EXPECT_EQ(call.srcOffset, -0xF0000);
    EXPECT_EQ(call.destStride, 512);
    EXPECT_EQ(call.srcStride, 640);
}

TEST(PermediaCopy, OffsetsAndStridesShiftByTheDisplaysBits) {
    struct Row {
        uint32_t bits, destOffset;
        int32_t relative;
    };
    for (const Row& row :
         {Row{8, 0x120000, 0x1E0000}, {16, 0x90000, 0xF0000}, {32, 0x48000, 0x78000}}) {
        PermediaRig rig({.deviceId = DevicePermedia2, .bits = row.bits});
        const BlitCall& call = rig.OneCall();
        EXPECT_EQ(call.destOffset, row.destOffset) << row.bits;
        EXPECT_EQ(call.srcOffset, row.relative) << row.bits;
        EXPECT_EQ(call.destStride, 640) << row.bits;
        EXPECT_EQ(call.srcStride, 512) << row.bits;
    }
}

TEST(PermediaCopy, In24BitModesOffsetsAndStridesDivideByThree) {
    PermediaRig rig({.deviceId = DevicePermedia2, .bits = 24});
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.slot, "PackedCopyBlt");
    EXPECT_EQ(call.destOffset, 0x60000u);
    EXPECT_EQ(call.srcOffset, 0xA0000);
    EXPECT_EQ(call.destStride, 640);
    EXPECT_EQ(call.srcStride, 512);
    rig.CopyOf(rig.source, rig.dest);
    EXPECT_EQ(rig.OneCall().srcOffset, -0xA0000);
}

TEST(PermediaCopy, TheDestinationIsMeasuredByItsOwnFormatAndTheWayByTheDisplays) {
    PermediaRig rig({.deviceId = DevicePermedia2, .bits = 32});
    GiveFormat(rig.dest, 16);
    rig.dest.priv.PixelSize = PixelSize16;
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.destOffset, 0x90000u); // 16-bit pixels
    EXPECT_EQ(call.destStride, 1280);     // a pitch of 2560 bytes
    EXPECT_EQ(call.srcStride, 1024);      // 2048 bytes, by the destination's shift
    EXPECT_EQ(call.srcOffset, 0x78000);   // 32-bit pixels
}

TEST(PermediaCopy, AFormatCountsOnlyWhenItIsTheSurfacesOwn) {
    PermediaRig rig({.deviceId = DevicePermedia2, .bits = 32});
    rig.dest.Global().ddpfSurface.dwRGBBitCount = 16;
    EXPECT_EQ(rig.OneCall().destOffset, 0x48000u);
}

TEST(PermediaCopy, ShiftsAreLookedUpByWholeBytesOfThePixel) {
    struct Row {
        uint32_t bits, destOffset;
        int32_t stride;
    };
    // Four bits are no byte, and count like eight; fifteen bits are one.
    for (const Row& row : {Row{4, 0x120000, 1280},
                           {8, 0x120000, 1280},
                           {15, 0x120000, 1280},
                           {16, 0x90000, 640},
                           {32, 0x48000, 320}}) {
        PermediaRig rig;
        GiveFormat(rig.dest, row.bits);
        const BlitCall& call = rig.OneCall();
        EXPECT_EQ(call.destOffset, row.destOffset) << row.bits;
        EXPECT_EQ(call.destStride, row.stride) << row.bits;
    }
}

TEST(PermediaCopy, A24BitSourceHasItsPitchDividedByThree) {
    PermediaRig rig({.deviceId = DevicePermedia2, .bits = 16});
    GiveFormat(rig.source, 24);
    rig.source.Global().lPitch = 1536;
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.destStride, 640);
    EXPECT_EQ(call.srcStride, 512);
}

TEST(PermediaCopy, A24BitDestinationLeavesAnotherSourcesPitchUnshifted) {
    PermediaRig rig({.deviceId = DevicePermedia2, .bits = 16});
    GiveFormat(rig.dest, 24);
    rig.dest.Global().lPitch = 1920;
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.destStride, 640);
    EXPECT_EQ(call.srcStride, 1024);
    EXPECT_EQ(call.destOffset, 0x60000u);
    EXPECT_EQ(call.srcOffset, 0xF0000); // by the display while the record does not say 24 bits
}

TEST(PermediaCopy, BetweenPatchedSurfacesIsPackedToo) {
    PermediaRig rig;
    rig.dest.priv.Flags |= SURFACE_PATCHED;
    rig.source.priv.Flags |= SURFACE_PATCHED;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
}

TEST(PermediaCopy, BetweenPatchedAndUnpatchedConverts) {
    for (const bool into : {false, true}) {
        PermediaRig rig;
        (into ? rig.dest : rig.source).priv.Flags |= SURFACE_PATCHED;
        const BlitCall& call = rig.OneCall();
        EXPECT_EQ(call.slot, "PatchedCopyBlt");
        EXPECT_EQ(call.destStride, 640);
        EXPECT_EQ(call.srcStride, 512);
        EXPECT_EQ(call.destOffset, 0x90000u);
        EXPECT_EQ(call.srcOffset, 0xF0000);
        EXPECT_EQ(call.logicOp, 3u);
        ExpectRequestsRectangles(call);
    }
}

TEST(PermediaCopy, Of4BitPixelsBetweenTwoPatchedStatesLoadsFirstAndThenConverts) {
    PermediaRig rig;
    rig.dest.priv.Flags |= SURFACE_PATCHED;
    rig.dest.priv.PixelSize = PixelSize4;
    EXPECT_EQ(rig.Slots(), "Bypass4BitDownload PatchedCopyBlt");
    EXPECT_EQ(rig.data.ddRVal, DD_OK);
    const BlitCall& load = rig.calls[0];
    EXPECT_EQ(load.destPriv, &rig.dest.priv);
    EXPECT_EQ(load.source, &rig.source.local);
    EXPECT_EQ(load.dest, &rig.dest.local);
    ExpectRequestsRectangles(load);
}

TEST(PermediaCopy, WithAnotherOperationWordOfTheCopysCodeIsACopyToo) {
    PermediaRig rig;
    rig.data.bltFX.dwROP = 0x00CC1234;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
    rig.data.bltFX.dwROP = 0x12CC0020;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
}

// --- stretches, mirrors and keys ---

TEST(PermediaStretch, IsForRectanglesOfDifferentSize) {
    for (const bool wider : {false, true}) {
        PermediaRig rig;
        ++(wider ? rig.data.rDest.right : rig.data.rDest.bottom);
        const BlitCall& call = rig.OneCall();
        EXPECT_EQ(call.slot, "StretchCopyBlt");
        EXPECT_EQ(call.request, &rig.data);
        EXPECT_EQ(call.destPriv, &rig.dest.priv);
        EXPECT_EQ(call.srcPriv, &rig.source.priv);
        EXPECT_EQ(call.destOffset, 0x90000u);
        EXPECT_EQ(call.srcOffset, 0x180000); // absolute
        EXPECT_EQ(call.srcRect.left, 30);
        EXPECT_EQ(call.destRect.right, wider ? 27 : 26);
    }
}

TEST(PermediaStretch, IsForMirroredCopiesOfEqualSize) {
    for (const uint32_t mirror : {DDBLTFX_MIRRORLEFTRIGHT, DDBLTFX_MIRRORUPDOWN,
                                  DDBLTFX_MIRRORLEFTRIGHT | DDBLTFX_MIRRORUPDOWN}) {
        PermediaRig rig;
        rig.data.bltFX.dwDDFX = mirror;
        EXPECT_EQ(rig.Slots(), "PackedCopyBlt"); // not asked
        rig.data.dwFlags |= DDBLT_DDFX;
        EXPECT_EQ(rig.Slots(), "StretchCopyBlt");
    }
    PermediaRig rig;
    rig.data.dwFlags |= DDBLT_DDFX;
    rig.data.bltFX.dwDDFX = DDBLTFX_ARITHSTRETCHY | DDBLTFX_NOTEARING;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
}

TEST(PermediaStretch, OffsetsGoByEachSurfacesOwnPixelSize) {
    struct Row {
        uint32_t destSize, srcSize, destOffset;
        int32_t srcOffset;
    };
    for (const Row& row : {Row{1, 0, 0x90000, 0x300000},
                           {0, 2, 0x120000, 0xC0000},
                           {2, 1, 0x48000, 0x180000},
                           {1, 3, 0x90000, 0x60000},
                           {1, 4, 0x90000, 0x30000}}) {
        PermediaRig rig;
        rig.dest.priv.PixelSize = row.destSize;
        rig.source.priv.PixelSize = row.srcSize;
        rig.data.rDest.right += 4;
        const BlitCall& call = rig.OneCall();
        EXPECT_EQ(call.destOffset, row.destOffset) << row.destSize << ' ' << row.srcSize;
        EXPECT_EQ(call.srcOffset, row.srcOffset) << row.destSize << ' ' << row.srcSize;
    }
}

TEST(PermediaStretch, A24BitDestinationDividesBothOffsetsByThree) {
    PermediaRig rig;
    rig.dest.priv.PixelSize = PixelSize24;
    rig.source.priv.PixelSize = PixelSize16;
    rig.data.rDest.right += 4;
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.destOffset, 0x60000u);
    EXPECT_EQ(call.srcOffset, 0x100000);
}

TEST(PermediaStretch, ToAnEmptyRectangleIsRefused) {
    PermediaRig rig;
    rig.data.rDest.right = rig.data.rDest.left;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED);
    rig.data.rDest = {1, 1, 5, 1};
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED);
    EXPECT_TRUE(rig.calls.empty());
}

TEST(PermediaKey, ChoosesItsRoutineAtEachBlit) {
    PermediaRig rig;
    rig.data.dwFlags |= DDBLT_KEYSRCOVERRIDE;
    CHIPRender.SourceChromaBlt = nullptr;
    EXPECT_EQ(rig.Slots(), "");
    EXPECT_EQ(CHIPRender.SourceChromaBlt, PermediaSourceChromaBlt);
    rig.data.rDest.right += 1;
    rig.Blt();
    EXPECT_EQ(CHIPRender.SourceChromaBlt, PermediaStretchCopyChromaBlt);
    rig.data.rDest.right -= 1;
    rig.Blt();
    EXPECT_EQ(CHIPRender.SourceChromaBlt, PermediaSourceChromaBlt);
    rig.data.dwFlags |= DDBLT_DDFX;
    rig.data.bltFX.dwDDFX = DDBLTFX_MIRRORUPDOWN;
    rig.Blt();
    EXPECT_EQ(CHIPRender.SourceChromaBlt, PermediaStretchCopyChromaBlt);
    // What a keyed blit left stays until the next one.
    rig.data.dwFlags = DDBLT_ROP;
    rig.Blt();
    EXPECT_EQ(CHIPRender.SourceChromaBlt, PermediaStretchCopyChromaBlt);
}

TEST(PermediaKey, ComesBeforeThePatchedCopies) {
    PermediaRig rig;
    rig.dest.priv.Flags |= SURFACE_PATCHED;
    rig.data.dwFlags |= DDBLT_KEYSRCOVERRIDE;
    CHIPRender.SourceChromaBlt = nullptr;
    EXPECT_EQ(rig.Slots(), "");
    EXPECT_EQ(CHIPRender.SourceChromaBlt, PermediaSourceChromaBlt);
}

TEST(PermediaKey, ADestinationKeyOrAKeyOfTheSurfaceIsNoOverride) {
    PermediaRig rig;
    rig.data.dwFlags |= DDBLT_KEYSRC | DDBLT_KEYDESTOVERRIDE;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
}

// --- loads from system memory ---

struct DownloadRig : BlitRig {
    explicit DownloadRig(uint32_t deviceId, uint32_t caps, uint32_t pixelSize = PixelSize16,
                         uint32_t flags = 0)
        : BlitRig({.deviceId = deviceId}), dest(MakeSurface(64, 64, caps, pixelSize, 0x200000)) {
        dest.priv.Flags |= flags;
        CopyOf(dest, source);
    }
    RigSurface& source = MakeSystemSurface();
    RigSurface& dest;
};

TEST(PermediaDownload, TheDestinationsKindChipAndFormatDecide) {
    struct Row {
        uint32_t device, caps, pixelSize, flags;
        const char* slot;
    };
    constexpr uint32_t kTexture = DDSCAPS_TEXTURE | DDSCAPS_LOCALVIDMEM;
    constexpr uint32_t kPlain = DDSCAPS_OFFSCREENPLAIN | DDSCAPS_LOCALVIDMEM;
    for (const Row& row : {
             Row{4, kTexture, PixelSize16, SURFACE_PATCHED, "PatchedDownload"},
             {4, kTexture, PixelSize4, SURFACE_PATCHED, "Bypass4BitDownload"},
             {0x3D04, kTexture, PixelSize4, SURFACE_PATCHED, "Bypass4BitDownload"},
             {4, kTexture, PixelSize4, 0, "PatchedDownload"},
             {4, kTexture, PixelSize16, 0, "PatchedDownload"},
             {7, kTexture, PixelSize4, SURFACE_PATCHED, "PatchedDownload"},
             {0x3D07, kTexture, PixelSize4, SURFACE_PATCHED, "PatchedDownload"},
             {7, kTexture, PixelSize16, 0, "PatchedDownload"},
             {4, kPlain, PixelSize16, 0, "PackedDownload"},
             {4, kPlain, PixelSize4, SURFACE_PATCHED, "PackedDownload"},
             {7, kPlain, PixelSize16, SURFACE_PATCHED, "PackedDownload"},
         }) {
        DownloadRig rig(row.device, row.caps, row.pixelSize, row.flags);
        const BlitCall& call = rig.OneCall();
        EXPECT_EQ(call.slot, row.slot) << row.device << ' ' << row.pixelSize << ' ' << row.flags;
        EXPECT_EQ(call.destPriv, &rig.dest.priv);
        EXPECT_EQ(call.source, &rig.source.local);
        EXPECT_EQ(call.dest, &rig.dest.local);
        ExpectRequestsRectangles(call);
    }
}

TEST(PermediaDownload, ComesBeforeKeysAndStretches) {
    DownloadRig rig(DevicePermedia, DDSCAPS_TEXTURE);
    rig.data.dwFlags |= DDBLT_KEYSRCOVERRIDE;
    rig.data.rDest.right += 5;
    EXPECT_EQ(rig.Slots(), "PatchedDownload");
}

TEST(PermediaDownload, IntoAgpMemoryIsACopyByTheProcessor) {
    DownloadRig rig(DevicePermedia2, DDSCAPS_TEXTURE | DDSCAPS_NONLOCALVIDMEM);
    for (RigSurface* surface : {&rig.source, &rig.dest}) {
        GiveFormat(*surface, 16);
    }
    rig.source.Global().lPitch = 32;
    rig.data.rSrc = {2, 1, 5, 3};
    rig.data.rDest = {7, 4, 10, 6};
    auto* from = reinterpret_cast<uint16_t*>(rig.source.bytes.data());
    auto* to = reinterpret_cast<uint16_t*>(rig.dest.Global().fpVidMem);
    for (int i = 0; i < 128; ++i) {
        from[i] = static_cast<uint16_t>(0x100 + i);
    }
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_HANDLED);
    EXPECT_EQ(rig.data.ddRVal, DD_OK);
    EXPECT_TRUE(rig.calls.empty());
    EXPECT_TRUE(rig.Sent().empty());
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 3; ++x) {
            EXPECT_EQ(to[(4 + y) * 64 + 7 + x], from[(1 + y) * 16 + 2 + x]) << x << ',' << y;
        }
    }
    EXPECT_EQ(to[4 * 64 + 6], 0u);
    EXPECT_EQ(to[4 * 64 + 10], 0u);
}

TEST(PermediaDownload, ToASurfaceWithoutARecordIsRefused) {
    DownloadRig rig(DevicePermedia2, DDSCAPS_TEXTURE);
    rig.dest.priv.MagicNo = 0xD3D10100; // somebody else's
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED);
    EXPECT_TRUE(rig.calls.empty());
}

// --- YUV ---

TEST(PermediaYUV, ASourceOfFormat3WithExtensionBlitsOnlyToThePrimary) {
    PermediaRig rig;
    rig.source.priv.Format = 3;
    rig.source.priv.FormatExtension = 1;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED);
    EXPECT_EQ(rig.data.ddRVal, DD_OK);
    EXPECT_TRUE(rig.calls.empty());

    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_PRIMARYSURFACE;
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.slot, "YUVBlt");
    EXPECT_EQ(call.request, &rig.data.bltFX);
    EXPECT_EQ(call.destPriv, &rig.dest.priv);
    EXPECT_EQ(call.srcPriv, &rig.source.priv);
    EXPECT_EQ(call.destOffset, 0x90000u);
    EXPECT_EQ(call.srcOffset, 0x180000);
    ExpectRequestsRectangles(call);
}

TEST(PermediaYUV, ComesBeforeKeysAndStretches) {
    PermediaRig rig;
    rig.source.priv.Format = 3;
    rig.source.priv.FormatExtension = 1;
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_PRIMARYSURFACE;
    rig.data.dwFlags |= DDBLT_KEYSRCOVERRIDE;
    rig.data.rDest.right += 16;
    EXPECT_EQ(rig.Slots(), "YUVBlt");
}

TEST(PermediaYUV, NeedsBothFormatAndExtension) {
    PermediaRig rig;
    rig.source.priv.Format = 3;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
    rig.source.priv.Format = 2;
    rig.source.priv.FormatExtension = 1;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
}

TEST(PermediaYUV, ToNoPixelsOrToAPrimaryOfNoRecordIsRefused) {
    PermediaRig rig;
    rig.source.priv.Format = 3;
    rig.source.priv.FormatExtension = 1;
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_PRIMARYSURFACE;
    for (const RECTL& none : {RECTL{10, 20, 10, 28}, RECTL{10, 20, 26, 20}}) {
        rig.data.rDest = none;
        EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED);
        EXPECT_TRUE(rig.calls.empty());
    }
    rig.data.rDest = {10, 20, 26, 28};
    rig.dest.Global().dwReserved1 = 0;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED);
    EXPECT_TRUE(rig.calls.empty());
}

// --- fills ---

TEST(PermediaFill, OfColourGetsTheSurfaceAndThePixelAsItCame) {
    PermediaRig rig;
    rig.FillOf(rig.dest, DDBLT_COLORFILL, 0x12345678);
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.slot, "FastClear");
    EXPECT_EQ(call.dest, &rig.dest.Global());
    EXPECT_EQ(call.destOffset, 0x90000u);
    EXPECT_EQ(call.fill, 0x12345678u);
    EXPECT_EQ(call.destRect.left, 10);
    EXPECT_EQ(call.destRect.bottom, 28);
}

TEST(PermediaFill, OffsetIsInThePixelsOfTheDestination) {
    struct Row {
        uint32_t bits, offset;
    };
    for (const Row& row : {Row{8, 0x120000}, {16, 0x90000}, {24, 0x60000}, {32, 0x48000}}) {
        PermediaRig rig({.deviceId = DevicePermedia2, .bits = 8});
        GiveFormat(rig.dest, row.bits);
        rig.RopOf(rig.dest, BLACKNESS);
        EXPECT_EQ(rig.OneCall().destOffset, row.offset) << row.bits;
    }
}

TEST(PermediaFill, OfDepthCountsItsOffsetInLocalBufferWords) {
    PermediaRig rig({.deviceId = DevicePermedia2, .bits = 32});
    rig.FillOf(rig.dest, DDBLT_DEPTHFILL, 0xFFFF);
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.slot, "FastLBClear");
    EXPECT_EQ(call.dest, &rig.dest.Global());
    EXPECT_EQ(call.destOffset, 0x90000u); // two bytes, whatever the display's depth
    EXPECT_EQ(call.fill, 0xFFFFu);
}

TEST(PermediaFill, OfASurfaceWithoutARecordIsLeftToThePrimitive) {
    PermediaRig rig;
    rig.dest.Global().dwReserved1 = 0;
    rig.FillOf(rig.dest, DDBLT_COLORFILL, 1);
    EXPECT_EQ(rig.Slots(), "FastClear");
}

// --- the video port ---

struct VideoRig : PermediaRig {
    VideoRig() {
        driver->VideoPortActive = 1;
        driver->VideoNeedSample = 1; // the watchdog's next look finds the port alive
        driver->VideoCurrentBuffer = 2;
        bus->registers[t::VSCurrentBuffer] = 2;
    }
};

TEST(PermediaVideo, ABlitOnTheBufferThatIsBeingWrittenWaits) {
    VideoRig rig;
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_VIDEOPORT;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_HANDLED);
    EXPECT_EQ(rig.data.ddRVal, kStillDrawing);
    EXPECT_TRUE(rig.calls.empty());
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
}

TEST(PermediaVideo, ACopyFromThatBufferWaitsToo) {
    VideoRig rig;
    rig.source.local.ddsCaps.dwCaps |= DDSCAPS_VIDEOPORT;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_HANDLED);
    EXPECT_EQ(rig.data.ddRVal, kStillDrawing);
    EXPECT_TRUE(rig.calls.empty());
}

TEST(PermediaVideo, TheSourceCountsOnlyWithTheCopysOperationWord) {
    VideoRig rig;
    rig.source.local.ddsCaps.dwCaps |= DDSCAPS_VIDEOPORT;
    rig.data.bltFX.dwROP = 0x01CC0020; // a copy, but another high word
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
}

TEST(PermediaVideo, AnotherBufferOrAnotherSurfaceIsFree) {
    VideoRig rig;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_VIDEOPORT;
    rig.bus->registers[t::VSCurrentBuffer] = 1;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
    EXPECT_EQ(rig.driver->VideoNeedSample, 1u); // the watchdog was not asked
}

TEST(PermediaVideo, APortThatIsOffIsNotLookedAt) {
    VideoRig rig;
    rig.driver->VideoPortActive = 0;
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_VIDEOPORT;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
    EXPECT_EQ(rig.bus->ReadsOf(t::VSCurrentBuffer), 0u);
}

TEST(PermediaVideo, APortFoundDeadLetsTheBlitGoOnWithResult0) {
    VideoRig rig;
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_VIDEOPORT;
    rig.driver->VideoNeedSample = 0;
    rig.driver->VideoLastBuffer = 2;
    rig.driver->VideoFailures = 50;
    rig.bus->registers[t::FreeRunningTimer] = 470001;
    EXPECT_EQ(rig.Slots(), "PackedCopyBlt");
    EXPECT_EQ(rig.driver->VideoPortActive, 0u);

    // The result stays when the blit is then refused.
    rig.driver->VideoPortActive = 1;
    rig.driver->VideoNeedSample = 0;
    rig.driver->VideoFailures = 50;
    rig.FillOf(rig.dest, 0, 0);
    rig.data.ddRVal = BlitRig::kUntouched;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED);
    EXPECT_EQ(rig.data.ddRVal, DD_OK);
}

TEST(PermediaVideo, AFillWithoutASourceAndWithTheCopysWordIsSafe) {
    VideoRig rig;
    rig.RopOf(rig.dest, SRCCOPY);
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED);
}

TEST(PermediaLoad, OnlyVideoMemoryIsLoaded) {
    PermediaRig rig;
    rig.CopyOf(rig.dest, rig.MakeSystemSurface());
    rig.data.lpDDSrcSurface->ddsCaps.dwCaps |= DDSCAPS_SYSTEMMEMORY;
    rig.dest.local.ddsCaps.dwCaps &= ~DDSCAPS_VIDEOMEMORY;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED); // a copy whose source has no record
    EXPECT_TRUE(rig.calls.empty());
}

} // namespace
