#include "driver/blit/txdirecx.h"

#include "driver/blit/primitives.h"
#include "driver/blit/request.h"
#include "driver/blit/txblitfx.h"
#include "driver/core/glintutl.h"
#include "driver/core/korv32_mode.h"

namespace {

// Offset in the frame buffer, in pixels of the display whatever the surface holds.
uint32_t ScreenOffset(const BlitRequest& blit, const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return FrameBufferBytes(blit, surface) >> blit.driver->PixelSize;
}

// Bytes from LocalBufferBase to the destination.
uint32_t LocalBufferBytes(const BlitRequest& blit) {
    return blit.dest->lpGbl->fpVidMem - reinterpret_cast<uint32_t>(blit.driver->LocalBufferBase);
}

// A copy from system to video memory. A surface without a record is passed over in silence.
BlitOutcome Download(BlitRequest& blit) {
    if (blit.destPriv == nullptr) {
        return BlitOutcome::Done;
    }
    const DownloadFunction download = HasCaps(blit.dest, DDSCAPS_TEXTURE)
                                          ? CHIPRender.TXPatchedDownload
                                          : CHIPRender.TXPackedDownload;
    download(blit.driver, blit.destPriv, blit.source, &blit.srcRect, blit.dest, &blit.destRect);
    return BlitOutcome::Done;
}

BlitOutcome CopyPlain(BlitRequest& blit) {
    DriverData* driver = blit.driver;
    const uint32_t logicOp = WindowsR2toGlintLogicop[kCopyRop & 0xF];
    if (PatchingDiffers(blit)) {
        return BlitOutcome::Done; // no such copy on this family, and none is asked of DirectDraw
    }
    constexpr uint32_t kInLocalBuffer = DDSCAPS_TEXTURE | DDSCAPS_ZBUFFER;
    if (!HasCaps(blit.dest, kInLocalBuffer) && !HasCaps(blit.source, kInLocalBuffer)) {
        CHIPRender.ScreenCopyBlt(
            driver, &blit.destRect, &blit.srcRect, static_cast<int32_t>(driver->ScreenWidth),
            ScreenOffset(blit, blit.dest), BytesToSource(blit) >> driver->PixelSize, logicOp);
        return BlitOutcome::Done;
    }
    const uint32_t size = blit.destPriv->PixelSize;
    CHIPRender.LBCopyBlt(driver, blit.dest->lpGbl->lPitch >> size,
                         blit.source->lpGbl->lPitch >> blit.srcPriv->PixelSize, blit.destPriv,
                         blit.srcPriv, &blit.destRect, &blit.srcRect,
                         LocalBufferBytes(blit) >> size, BytesToSource(blit) >> size, logicOp);
    return BlitOutcome::Done;
}

BlitOutcome Copy(BlitRequest& blit) {
    DriverData* driver = blit.driver;
    if (blit.source == nullptr) {
        return BlitOutcome::Refused;
    }
    if (HasCaps(blit.source, DDSCAPS_SYSTEMMEMORY) && HasCaps(blit.dest, DDSCAPS_VIDEOMEMORY)) {
        return Download(blit);
    }
    if (blit.destPriv == nullptr || blit.srcPriv == nullptr) {
        return BlitOutcome::Refused;
    }
    if ((blit.data->dwFlags & DDBLT_KEYSRCOVERRIDE) != 0) {
        CHIPRender.MXChromaBlt = IsPlainCopy(blit) ? MXSourceChromaBlt : MXStretchCopyChromaBlt;
        CHIPRender.MXChromaBlt(driver, blit.data, blit.dest->lpGbl->lPitch >> driver->PixelSize,
                               blit.destPriv, blit.srcPriv, &blit.destRect, &blit.srcRect,
                               ScreenOffset(blit, blit.dest),
                               BytesToSource(blit) >> driver->PixelSize);
        return BlitOutcome::Done;
    }
    if (IsPlainCopy(blit)) {
        return CopyPlain(blit);
    }
    CHIPRender.MXStretchBlt(driver, blit.data, blit.destPriv, blit.srcPriv, &blit.destRect,
                            &blit.srcRect, ScreenOffset(blit, blit.dest),
                            ScreenOffset(blit, blit.source));
    return BlitOutcome::Done;
}

BlitOutcome Fill(BlitRequest& blit, uint32_t fill) {
    CHIPRender.GlintClear(blit.driver, &blit.destRect, ScreenOffset(blit, blit.dest), fill);
    return BlitOutcome::Done;
}

BlitOutcome FillLocal(BlitRequest& blit, uint32_t fill) {
    CHIPRender.GlintLBClear(blit.driver, blit.dest, &blit.destRect,
                            LocalBufferBytes(blit) >> blit.driver->LocalBufferShift, fill);
    return BlitOutcome::Done;
}

BlitOutcome Decide(BlitRequest& blit) {
    const uint32_t flags = blit.data->dwFlags;
    const DDBLTFX& fx = blit.data->bltFX;
    if ((flags & DDBLT_ROP) != 0) {
        // Another operation word with the copy's code is no copy here.
        if (fx.dwROP == SRCCOPY) {
            return Copy(blit);
        }
        switch (blit.rop) {
        case 0:
            return Fill(blit, 0);
        case 0xFF:
            return Fill(blit, 0xFFFFFFFF);
        default:
            return RefuseRop(blit);
        }
    }
    if ((flags & DDBLT_COLORFILL) != 0) {
        return HasCaps(blit.dest, DDSCAPS_TEXTURE) ? FillLocal(blit, fx.dwFillColor)
                                                   : Fill(blit, fx.dwFillColor);
    }
    if ((flags & DDBLT_DEPTHFILL) != 0) {
        const bool narrow =
            blit.destPriv != nullptr && (blit.destPriv->Flags & SURFACE_SHORT_Z) != 0;
        const uint32_t depth = fx.dwFillDepth;
        return FillLocal(blit, narrow ? depth << 16 | (depth & 0xFFFF) : depth);
    }
    return BlitOutcome::Refused;
}

} // namespace

DWORD KORV_STDCALL GlintBlt32(DDHAL_BLTDATA* data) {
    DriverData* driver = SurfaceDriverOf(data->lpDD);
    FollowModeChange(driver);
    if (BlitWaitsForFlip(driver, data) || BlitWaitsForDMA(driver, data)) {
        return DDHAL_DRIVER_HANDLED;
    }
    return RunBlit(driver, data, Decide);
}
