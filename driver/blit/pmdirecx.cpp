#include "driver/blit/pmdirecx.h"

#include "driver/blit/pmblitfx.h"
#include "driver/blit/request.h"
#include "driver/core/chipbus.h"
#include "driver/core/glintutl.h"
#include "driver/core/korv32_mode.h"
#include "driver/heap/surface_format.h"
#include "driver/video/video.h"

namespace {

// Texel format code of YUY2; needs the format extension.
constexpr uint32_t kFormatYUV = 3;

// Bits per pixel by which the surface is measured: its own, or the display's.
uint32_t BitsOf(const BlitRequest& blit, const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return HasOwnFormat(surface) ? surface->lpGbl->ddpfSurface.dwRGBBitCount
                                 : blit.driver->PixelDepthBits;
}

// Absolute offset of the surface for the texture unit, where each surface's own size counts.
uint32_t TexelOffset(const BlitRequest& blit, const DDRAWI_DDRAWSURFACE_LCL* surface,
                     const PrivateSurfaceData* record) {
    const uint32_t bytes = FrameBufferBytes(blit, surface);
    return blit.destPriv->PixelSize == PixelSize24 ? bytes / 3 : bytes >> record->PixelSize;
}

// True when the request reads or writes the buffer that the video port is filling. A port found
// dead on this occasion leaves result 0 behind.
bool WaitsForVideoPort(DriverData* driver, DDHAL_BLTDATA* data) {
    if (driver->VideoPortActive == 0) {
        return false;
    }
    const bool touched = HasCaps(data->lpDDDestSurface, DDSCAPS_VIDEOPORT) ||
                         (data->bltFX.dwROP >> 16 == kCopyRop && data->lpDDSrcSurface != nullptr &&
                          HasCaps(data->lpDDSrcSurface, DDSCAPS_VIDEOPORT));
    if (!touched ||
        ReadChip(driver->Registers, reg::VSCurrentBuffer) != driver->VideoCurrentBuffer) {
        return false;
    }
    const bool filling = CheckVideoPortStatus(driver, 0) != 0;
    data->ddRVal = filling ? DDERR_WASSTILLDRAWING : DD_OK;
    return filling;
}

// A copy from system to video memory.
BlitOutcome Download(BlitRequest& blit) {
    if (HasCaps(blit.dest, DDSCAPS_NONLOCALVIDMEM)) {
        SysMemToSysMemSurfaceCopy(blit.source, blit.dest, &blit.srcRect, &blit.destRect);
        return BlitOutcome::Done;
    }
    if (blit.destPriv == nullptr) {
        return BlitOutcome::Refused;
    }
    DownloadFunction download = CHIPRender.PackedDownload;
    if (HasCaps(blit.dest, DDSCAPS_TEXTURE)) {
        const bool byProcessor = !IsPermedia2(blit.driver->ChipInfo) &&
                                 blit.destPriv->PixelSize == PixelSize4 &&
                                 (blit.destPriv->Flags & SURFACE_PATCHED) != 0;
        download = byProcessor ? CHIPRender.Bypass4BitDownload : CHIPRender.PatchedDownload;
    }
    download(blit.driver, blit.destPriv, blit.source, &blit.srcRect, blit.dest, &blit.destRect);
    return BlitOutcome::Done;
}

// The stretching primitives divide by the destination's size.
bool IsEmpty(const RECTL& rect) {
    return rect.left == rect.right || rect.top == rect.bottom;
}

BlitOutcome ShowYUV(BlitRequest& blit) {
    if (!HasCaps(blit.dest, DDSCAPS_PRIMARYSURFACE)) {
        blit.data->ddRVal = DD_OK;
        return BlitOutcome::Refused;
    }
    if (blit.destPriv == nullptr || IsEmpty(blit.destRect)) {
        return BlitOutcome::Refused;
    }
    CHIPRender.YUVBlt(blit.driver, &blit.data->bltFX, blit.destPriv, blit.srcPriv, &blit.destRect,
                      &blit.srcRect, TexelOffset(blit, blit.dest, blit.destPriv),
                      TexelOffset(blit, blit.source, blit.srcPriv));
    return BlitOutcome::Done;
}

BlitOutcome Stretch(BlitRequest& blit, StretchFunction stretch) {
    if (!IsPlainCopy(blit) && IsEmpty(blit.destRect)) {
        return BlitOutcome::Refused;
    }
    stretch(blit.driver, blit.data, blit.destPriv, blit.srcPriv, &blit.destRect, &blit.srcRect,
            TexelOffset(blit, blit.dest, blit.destPriv),
            TexelOffset(blit, blit.source, blit.srcPriv));
    return BlitOutcome::Done;
}

BlitOutcome CopyPlain(BlitRequest& blit, uint32_t destOffset) {
    const uint32_t destBits = BitsOf(blit, blit.dest);
    const int32_t destPitch = blit.dest->lpGbl->lPitch;
    const int32_t srcPitch = blit.source->lpGbl->lPitch;
    // The source's stride goes by the destination's shift, unless it has 24 bits itself.
    const uint32_t shift = ShiftLookup[destBits / 8];
    const int32_t destStride = destBits == 24 ? destPitch / 3 : destPitch >> shift;
    const int32_t srcStride = BitsOf(blit, blit.source) == 24 ? srcPitch / 3 : srcPitch >> shift;
    const int32_t way = BytesToSource(blit);
    const int32_t relative =
        blit.destPriv->PixelSize == PixelSize24 ? way / 3 : way >> blit.driver->PixelSize;

    SurfaceCopyFunction copy = CHIPRender.PackedCopyBlt;
    if (PatchingDiffers(blit)) {
        if (blit.destPriv->PixelSize == PixelSize4) {
            CHIPRender.Bypass4BitDownload(blit.driver, blit.destPriv, blit.source, &blit.srcRect,
                                          blit.dest, &blit.destRect);
        }
        copy = CHIPRender.PatchedCopyBlt;
    }
    copy(blit.driver, destStride, srcStride, blit.destPriv, blit.srcPriv, &blit.destRect,
         &blit.srcRect, destOffset, relative, WindowsR2toGlintLogicop[kCopyRop & 0xF]);
    return BlitOutcome::Done;
}

BlitOutcome Copy(BlitRequest& blit, uint32_t destOffset) {
    if (blit.source == nullptr) {
        return BlitOutcome::Refused;
    }
    if (HasCaps(blit.source, DDSCAPS_SYSTEMMEMORY) && HasCaps(blit.dest, DDSCAPS_VIDEOMEMORY)) {
        return Download(blit);
    }
    if (blit.srcPriv != nullptr && blit.srcPriv->Format == kFormatYUV &&
        blit.srcPriv->FormatExtension == 1) {
        return ShowYUV(blit);
    }
    if (blit.destPriv == nullptr || blit.srcPriv == nullptr) {
        return BlitOutcome::Refused;
    }
    if ((blit.data->dwFlags & DDBLT_KEYSRCOVERRIDE) != 0) {
        CHIPRender.SourceChromaBlt =
            IsPlainCopy(blit) ? PermediaSourceChromaBlt : PermediaStretchCopyChromaBlt;
        return Stretch(blit, CHIPRender.SourceChromaBlt);
    }
    if (IsPlainCopy(blit)) {
        return CopyPlain(blit, destOffset);
    }
    return Stretch(blit, CHIPRender.StretchCopyBlt);
}

BlitOutcome Fill(BlitRequest& blit, uint32_t destOffset, uint32_t fill) {
    CHIPRender.FastClear(blit.driver, blit.dest->lpGbl, &blit.destRect, destOffset, fill);
    return BlitOutcome::Done;
}

BlitOutcome Decide(BlitRequest& blit) {
    const uint32_t flags = blit.data->dwFlags;
    const uint32_t bytes = FrameBufferBytes(blit, blit.dest);
    const uint32_t bits = BitsOf(blit, blit.dest);
    const uint32_t offset = bits == 24 ? bytes / 3 : bytes >> ShiftLookup[bits / 8];
    if ((flags & DDBLT_ROP) != 0) {
        switch (blit.rop) {
        case kCopyRop:
            return Copy(blit, offset);
        case 0:
            return Fill(blit, offset, 0);
        case 0xFF:
            return Fill(blit, offset, 0xFFFFFFFF);
        default:
            return RefuseRop(blit);
        }
    }
    if ((flags & DDBLT_COLORFILL) != 0) {
        return Fill(blit, offset, blit.data->bltFX.dwFillColor);
    }
    if ((flags & DDBLT_DEPTHFILL) != 0) {
        CHIPRender.FastLBClear(blit.driver, blit.dest->lpGbl, &blit.destRect,
                               bytes >> blit.driver->LocalBufferShift,
                               blit.data->bltFX.dwFillDepth);
        return BlitOutcome::Done;
    }
    return BlitOutcome::Refused;
}

} // namespace

DWORD KORV_STDCALL PermediaBlt32(DDHAL_BLTDATA* data) {
    DriverData* driver = SurfaceDriverOf(data->lpDD);
    FollowModeChange(driver);
    if (BlitWaitsForFlip(driver, data) || WaitsForVideoPort(driver, data) ||
        BlitWaitsForDMA(driver, data)) {
        return DDHAL_DRIVER_HANDLED;
    }
    return RunBlit(driver, data, Decide);
}
