#include "driver/blit/request.h"

#include "driver/blit/primitives.h"
#include "driver/core/cursor.h"
#include "driver/core/dma.h"
#include "driver/core/korv32_flip.h"

namespace {

BlitRequest RequestOf(DriverData* driver, DDHAL_BLTDATA* data) {
    BlitRequest blit{};
    blit.driver = driver;
    blit.data = data;
    blit.dest = data->lpDDDestSurface;
    blit.source = data->lpDDSrcSurface;
    blit.destPriv = PrivateOf(blit.dest);
    blit.srcPriv = blit.source != nullptr ? PrivateOf(blit.source) : nullptr;
    blit.destRect = data->rDest;
    blit.srcRect = data->rSrc;
    blit.rop = (data->bltFX.dwROP >> 16) & 0xFF;
    return blit;
}

} // namespace

bool BlitWaitsForFlip(DriverData* driver, DDHAL_BLTDATA* data) {
    const uint32_t status = updateFlipStatus(driver, data->lpDDDestSurface->lpGbl->fpVidMem);
    if (status == DD_OK) {
        return false;
    }
    data->ddRVal = status;
    return true;
}

bool BlitWaitsForDMA(DriverData* driver, DDHAL_BLTDATA* data) {
    if ((data->dwFlags & DDBLT_ASYNC) == 0 || ReadChip(driver->Registers, reg::DMACount) == 0) {
        return false;
    }
    data->ddRVal = DDERR_WASSTILLDRAWING;
    return true;
}

DWORD RunBlit(DriverData* driver, DDHAL_BLTDATA* data, BlitOutcome (*decide)(BlitRequest& blit)) {
    {
        const CursorAway away(driver->ChipInfo);
        TakeChipFor2D(driver);
        BlitRequest blit = RequestOf(driver, data);
        if (decide(blit) == BlitOutcome::Refused) {
            return DDHAL_DRIVER_NOTHANDLED;
        }
        FlushSubBuffer(driver);
    }
    data->ddRVal = DD_OK;
    return DDHAL_DRIVER_HANDLED;
}

BlitOutcome RefuseRop(const BlitRequest& blit) {
    // The code's halves for a pattern of ones and of zeros, each without its top bit.
    if (((blit.rop >> 4) & 7) != (blit.rop & 7)) {
        blit.data->ddRVal = DDERR_NORASTEROPHW;
    }
    return BlitOutcome::Refused;
}

bool IsPlainCopy(const BlitRequest& blit) {
    const RECTL& dest = blit.destRect;
    const RECTL& source = blit.srcRect;
    const bool mirrored =
        (blit.data->dwFlags & DDBLT_DDFX) != 0 &&
        (blit.data->bltFX.dwDDFX & (DDBLTFX_MIRRORLEFTRIGHT | DDBLTFX_MIRRORUPDOWN)) != 0;
    return !mirrored && dest.right - dest.left == source.right - source.left &&
           dest.bottom - dest.top == source.bottom - source.top;
}
