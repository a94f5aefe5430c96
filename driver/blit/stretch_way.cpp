#include "driver/blit/stretch_way.h"

BlitDirection StretchDirection(const DDHAL_BLTDATA* data, const RECTL& destRect,
                               const RECTL& sourceRect) {
    const bool oneMemory =
        data->lpDDSrcSurface->lpGbl->fpVidMem == data->lpDDDestSurface->lpGbl->fpVidMem;
    const bool sourceFirst = sourceRect.top < destRect.top ||
                             (sourceRect.top == destRect.top && sourceRect.left < destRect.left);
    return oneMemory && sourceFirst ? BlitDirection::Backward : BlitDirection::Forward;
}

StretchWay ChooseStretchWay(const DDHAL_BLTDATA* data, const PrivateSurfaceData* sourcePrivate,
                            const RECTL& destRect, RECTL& sourceRect) {
    const BlitDirection direction = StretchDirection(data, destRect, sourceRect);
    const bool backward = direction == BlitDirection::Backward;
    const bool effects = (data->dwFlags & DDBLT_DDFX) != 0;
    const auto mirrored = [&](uint32_t bit) { return effects && (data->bltFX.dwDDFX & bit) != 0; };
    // Walking backward, a plain axis is read in reverse, and a mirrored one is not.
    const StretchWay way = {direction, mirrored(DDBLTFX_MIRRORLEFTRIGHT) != backward,
                            mirrored(DDBLTFX_MIRRORUPDOWN) != backward};
    // With effects the edges go by the flip, not by the mirror flag: backward they are mirrored on
    // the axes that were not asked for.
    const DDRAWI_DDRAWSURFACE_GBL* source = sourcePrivate->Surface->lpGbl;
    const int32_t width = source->wWidth;
    const int32_t height = source->wHeight;
    const RECTL old = sourceRect;
    if (effects && way.FlipY) {
        sourceRect.bottom = height - old.top;
        // Backward the top is taken from the width.
        sourceRect.top = (backward ? width : height) - old.bottom;
    }
    if (effects && way.FlipX) {
        sourceRect.right = width - old.left;
        sourceRect.left = width - old.right;
    }
    return way;
}
