#pragma once
// The clip of a copy against the top and left edges of its source.
#include "driver/platform/ddhal.h"

struct CopyRects {
    RECTL Source;
    RECTL Dest;
};

// Copies of the two rectangles with the parts above and left of the source surface taken away at
// the top and left. Right and bottom stay, and so do the rectangles given. False if nothing is to
// be copied.
inline bool ClipToSource(const RECTL& source, const RECTL& dest, CopyRects& clipped) {
    if ((source.top < 0 && source.bottom < 0) || (source.left < 0 && source.right < 0)) {
        return false;
    }
    clipped = {source, dest};
    if (source.top < 0) {
        clipped.Dest.top -= source.top;
        clipped.Source.top = 0;
    }
    if (source.left < 0) {
        clipped.Dest.left -= source.left;
        clipped.Source.left = 0;
    }
    return true;
}
