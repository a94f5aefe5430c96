#pragma once
// From which end a blit through the texture unit runs, and which axes it reads in reverse.
#include "driver/core/records/private_surface.h"
#include "driver/core/rectangle.h"

struct StretchWay {
    BlitDirection Direction;
    bool FlipX; // the source is read from its right edge to its left
    bool FlipY; // and from its bottom to its top
};

// Backward where the source lies earlier in the memory that is drawn to.
BlitDirection StretchDirection(const DDHAL_BLTDATA* data, const RECTL& destRect,
                               const RECTL& sourceRect);

// The way of a stretch. A mirrored axis has its edges in `sourceRect` replaced by the ones that
// mirror them in the source surface.
StretchWay ChooseStretchWay(const DDHAL_BLTDATA* data, const PrivateSurfaceData* sourcePrivate,
                            const RECTL& destRect, RECTL& sourceRect);
