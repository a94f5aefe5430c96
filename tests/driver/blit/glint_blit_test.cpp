// The decision of a blit on the Glint family: which primitive, with which numbers.
#include "driver/blit/txblitfx.h"
#include "tests/driver/blit/blit_rig.h"
#include "tests/support/tag_names.h"

namespace {

using test::BlitCall;
using test::BlitRig;
using test::RigOptions;
using test::RigSurface;

// Two surfaces of the display's format in the frame buffer, the source at the higher address.
struct GlintRig : BlitRig {
    explicit GlintRig(uint32_t bits = 16)
        : BlitRig({.deviceId = DeviceMX, .width = 800, .height = 600, .bits = bits}) {
        CopyOf(dest, source);
    }
    // Moves a surface into the local buffer.
    void MoveToLocalBuffer(RigSurface& surface, uint32_t offset, uint32_t caps) {
        surface.Global().fpVidMem = reinterpret_cast<uint32_t>(driver->LocalBufferBase) + offset;
        surface.local.ddsCaps.dwCaps |= caps;
    }

    RigSurface& dest = MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, driver->PixelSize, 0x120000);
    RigSurface& source = MakeSurface(512, 256, DDSCAPS_OFFSCREENPLAIN, driver->PixelSize, 0x300000);
};

TEST(GlintCopy, WithinTheFrameBufferIsAScreenCopy) {
    struct Row {
        uint32_t bits, destOffset;
        int32_t relative;
    };
    for (const Row& row :
         {Row{8, 0x120000, 0x1E0000}, {16, 0x90000, 0xF0000}, {32, 0x48000, 0x78000}}) {
        GlintRig rig(row.bits);
        const BlitCall& call = rig.OneCall();
        EXPECT_EQ(call.slot, "ScreenCopyBlt");
        EXPECT_EQ(call.destStride, 800); // the screen's, not the surface's
        EXPECT_EQ(call.destOffset, row.destOffset);
        EXPECT_EQ(call.srcOffset, row.relative);
        EXPECT_EQ(call.logicOp, 3u);
        EXPECT_EQ(call.destRect.left, 10);
        EXPECT_EQ(call.destRect.bottom, 28);
        EXPECT_EQ(call.srcRect.top, 40);
        EXPECT_EQ(call.srcRect.right, 46);
    }
}

TEST(GlintCopy, ASourceBeforeTheDestinationIsANegativeWayOff) {
    GlintRig rig;
    rig.CopyOf(rig.source, rig.dest);
    EXPECT_EQ(rig.OneCall().srcOffset, -0xF0000);
}

TEST(GlintCopy, OffsetsGoByTheDisplayEvenIfTheSurfaceHasAnotherFormat) {
    GlintRig rig(16);
    rig.dest.local.dwFlags |= DDRAWISURF_HASPIXELFORMAT;
    rig.dest.Global().ddpfSurface.dwRGBBitCount = 32;
    EXPECT_EQ(rig.OneCall().destOffset, 0x90000u);
}

TEST(GlintCopy, WithATextureOrAZBufferStaysInTheLocalBuffer) {
    for (const uint32_t caps : {DDSCAPS_TEXTURE, DDSCAPS_ZBUFFER}) {
        for (const bool isDest : {false, true}) {
            GlintRig rig;
            rig.MoveToLocalBuffer(rig.dest, 0x20000, isDest ? caps : 0);
            rig.MoveToLocalBuffer(rig.source, 0x60000, isDest ? 0 : caps);
            rig.dest.priv.PixelSize = PixelSize32;
            rig.dest.Global().lPitch = 1024;
            rig.source.priv.PixelSize = PixelSize8;
            rig.source.Global().lPitch = 512;
            const BlitCall& call = rig.OneCall();
            EXPECT_EQ(call.slot, "LBCopyBlt");
            EXPECT_EQ(call.destStride, 256); // each by its own pixel size
            EXPECT_EQ(call.srcStride, 512);
            EXPECT_EQ(call.destOffset, 0x8000u); // by the destination's
            EXPECT_EQ(call.srcOffset, 0x10000);
            EXPECT_EQ(call.destPriv, &rig.dest.priv);
            EXPECT_EQ(call.srcPriv, &rig.source.priv);
            EXPECT_EQ(call.logicOp, 3u);
            EXPECT_EQ(call.destRect.left, 10);
            EXPECT_EQ(call.srcRect.left, 30);
        }
    }
}

TEST(GlintCopy, PatchedToUnpatchedOfEqualSizeDoesNothingAndStillAnswersHandled) {
    for (const bool into : {false, true}) {
        GlintRig rig;
        (into ? rig.dest : rig.source).priv.Flags |= SURFACE_PATCHED;
        rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_TEXTURE;
        EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_HANDLED);
        EXPECT_EQ(rig.data.ddRVal, DD_OK);
        EXPECT_TRUE(rig.calls.empty());
    }
}

TEST(GlintCopy, BetweenPatchedTexturesIsACopy) {
    GlintRig rig;
    rig.dest.priv.Flags |= SURFACE_PATCHED;
    rig.source.priv.Flags |= SURFACE_PATCHED;
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_TEXTURE;
    EXPECT_EQ(rig.Slots(), "LBCopyBlt");
}

TEST(GlintCopy, NeedsTheExactOperationWord) {
    GlintRig rig;
    for (const uint32_t rop : {0x00CC0021u, 0x00CC0000u, 0x01CC0020u}) {
        rig.data.bltFX.dwROP = rop;
        rig.data.ddRVal = BlitRig::kUntouched;
        EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED) << std::hex << rop;
        EXPECT_EQ(rig.data.ddRVal, BlitRig::kUntouched) << std::hex << rop;
        EXPECT_TRUE(rig.calls.empty());
    }
}

TEST(GlintStretch, IsForOtherSizesAndMirrors) {
    GlintRig rig;
    ++rig.data.rDest.bottom;
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.slot, "MXStretchBlt");
    EXPECT_EQ(call.request, &rig.data);
    EXPECT_EQ(call.destPriv, &rig.dest.priv);
    EXPECT_EQ(call.srcPriv, &rig.source.priv);
    EXPECT_EQ(call.destOffset, 0x90000u);
    EXPECT_EQ(call.srcOffset, 0x180000); // absolute
    --rig.data.rDest.bottom;
    rig.data.dwFlags |= DDBLT_DDFX;
    rig.data.bltFX.dwDDFX = DDBLTFX_MIRRORLEFTRIGHT;
    EXPECT_EQ(rig.Slots(), "MXStretchBlt");
}

TEST(GlintStretch, IsDoneBetweenPatchedStatesToo) {
    GlintRig rig;
    rig.dest.priv.Flags |= SURFACE_PATCHED;
    ++rig.data.rDest.bottom;
    EXPECT_EQ(rig.Slots(), "MXStretchBlt");
}

TEST(GlintKey, ChoosesItsRoutineAtEachBlit) {
    GlintRig rig;
    rig.dest.priv.Flags |= SURFACE_PATCHED; // comes after the key
    rig.data.dwFlags |= DDBLT_KEYSRCOVERRIDE;
    EXPECT_EQ(rig.Slots(), "");
    EXPECT_EQ(CHIPRender.MXChromaBlt, MXSourceChromaBlt);
    ++rig.data.rDest.right;
    rig.Blt();
    EXPECT_EQ(CHIPRender.MXChromaBlt, MXStretchCopyChromaBlt);
    --rig.data.rDest.right;
    rig.Blt();
    EXPECT_EQ(CHIPRender.MXChromaBlt, MXSourceChromaBlt);
    rig.data.dwFlags |= DDBLT_DDFX;
    rig.data.bltFX.dwDDFX = DDBLTFX_MIRRORUPDOWN;
    rig.Blt();
    EXPECT_EQ(CHIPRender.MXChromaBlt, MXStretchCopyChromaBlt);
    rig.data.dwFlags = DDBLT_ROP;
    rig.Blt();
    EXPECT_EQ(CHIPRender.MXChromaBlt, MXStretchCopyChromaBlt);
}

TEST(GlintKey, CountsInPixelsOfTheDisplay) {
    GlintRig rig; // 16 bits
    rig.data.dwFlags |= DDBLT_KEYSRCOVERRIDE;
    rig.dest.Global().lPitch = 2048;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_HANDLED);
    const std::vector<uint32_t> sent = rig.Sent();
    const auto dataOf = [&](uint32_t tagNumber) {
        const auto at = std::find(sent.begin(), sent.end(), tagNumber);
        return sent.end() - at > 1 ? at[1] : 0xDEADBEEF;
    };
    // From (10, 20) at 0x120000 to (30, 40) at 0x300000, by lines of 1024 pixels.
    EXPECT_EQ(dataOf(t::FBSourceOffset), 20u * 1024 + 20 + 0x1E0000 / 2);
    EXPECT_EQ(dataOf(t::FBWindowBase), 0x120000u / 2);
}

TEST(GlintDownload, GoesByTheDestinationsKind) {
    GlintRig rig;
    RigSurface& system = rig.MakeSystemSurface();
    rig.CopyOf(rig.dest, system);
    rig.data.dwFlags |= DDBLT_KEYSRCOVERRIDE; // the load comes first
    ++rig.data.rDest.right;
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.slot, "TXPackedDownload");
    EXPECT_EQ(call.destPriv, &rig.dest.priv);
    EXPECT_EQ(call.source, &system.local);
    EXPECT_EQ(call.dest, &rig.dest.local);
    EXPECT_EQ(call.srcRect.left, 30);
    EXPECT_EQ(call.destRect.right, 27);
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_TEXTURE;
    EXPECT_EQ(rig.Slots(), "TXPatchedDownload");
}

TEST(GlintDownload, ToASurfaceWithoutARecordDoesNothingAndAnswersHandled) {
    GlintRig rig;
    RigSurface& system = rig.MakeSystemSurface();
    rig.CopyOf(rig.dest, system);
    rig.dest.Global().dwReserved1 = 0;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_HANDLED);
    EXPECT_EQ(rig.data.ddRVal, DD_OK);
    EXPECT_TRUE(rig.calls.empty());
}

TEST(GlintLoad, OnlyVideoMemoryIsLoaded) {
    GlintRig rig;
    rig.CopyOf(rig.dest, rig.MakeSystemSurface());
    rig.data.lpDDSrcSurface->ddsCaps.dwCaps |= DDSCAPS_SYSTEMMEMORY;
    rig.dest.local.ddsCaps.dwCaps &= ~DDSCAPS_VIDEOMEMORY;
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED); // a copy whose source has no record
    EXPECT_TRUE(rig.calls.empty());
}

TEST(GlintFill, OfColourIsAScreenFill) {
    GlintRig rig(32);
    rig.FillOf(rig.dest, DDBLT_COLORFILL, 0x12345678);
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.slot, "GlintClear");
    EXPECT_EQ(call.destOffset, 0x48000u);
    EXPECT_EQ(call.fill, 0x12345678u);
    EXPECT_EQ(call.destRect.top, 20);
}

TEST(GlintFill, OfATextureIsALocalBufferFill) {
    GlintRig rig;
    rig.MoveToLocalBuffer(rig.dest, 0x20000, DDSCAPS_TEXTURE);
    rig.FillOf(rig.dest, DDBLT_COLORFILL, 0x1234);
    const BlitCall& call = rig.OneCall();
    EXPECT_EQ(call.slot, "GlintLBClear");
    EXPECT_EQ(call.dest, &rig.dest.local);
    EXPECT_EQ(call.destOffset, 0x8000u);
    EXPECT_EQ(call.fill, 0x1234u);
}

TEST(GlintFill, ByARasterOperationIsAScreenFillForATextureToo) {
    GlintRig rig;
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_TEXTURE;
    rig.RopOf(rig.dest, BLACKNESS);
    EXPECT_EQ(rig.OneCall().slot, "GlintClear");
    EXPECT_EQ(rig.calls[0].destOffset, 0x90000u);
}

TEST(GlintFill, OfDepthDoublesUpAShortZ) {
    GlintRig rig;
    rig.MoveToLocalBuffer(rig.dest, 0x20000, DDSCAPS_ZBUFFER);
    rig.FillOf(rig.dest, DDBLT_DEPTHFILL, 0xABCD1234);
    EXPECT_EQ(rig.OneCall().slot, "GlintLBClear");
    EXPECT_EQ(rig.calls[0].dest, &rig.dest.local);
    EXPECT_EQ(rig.calls[0].destOffset, 0x8000u);
    EXPECT_EQ(rig.calls[0].fill, 0xABCD1234u);
    rig.dest.priv.Flags |= SURFACE_SHORT_Z;
    EXPECT_EQ(rig.OneCall().fill, 0x12341234u);
    rig.dest.Global().dwReserved1 = 0; // of no record: as it came
    EXPECT_EQ(rig.OneCall().fill, 0xABCD1234u);
}

TEST(GlintVideo, ThePortIsNoneOfThisFamilys) {
    GlintRig rig;
    rig.driver->VideoPortActive = 1;
    rig.driver->VideoNeedSample = 1;
    rig.dest.local.ddsCaps.dwCaps |= DDSCAPS_VIDEOPORT;
    EXPECT_EQ(rig.Slots(), "ScreenCopyBlt");
    EXPECT_EQ(rig.bus->ReadsOf(t::VSCurrentBuffer), 0u);
}

} // namespace
