#pragma once
// Alpha blending of a fragment with the pixel under it.
#include "board/values/colour.h"

#include <cstdint>

namespace board {

enum class SourceFactor {
    Zero,
    One,
    DestColour,
    InverseDestColour,
    SourceAlpha,
    InverseSourceAlpha,
    DestAlpha,
    InverseDestAlpha,
    SourceAlphaSaturate,
};

enum class DestFactor {
    Zero,
    One,
    SourceColour,
    InverseSourceColour,
    SourceAlpha,
    InverseSourceAlpha,
    DestAlpha,
    InverseDestAlpha,
};

// source * sourceFactor + dest * destFactor in each channel, rounded to nearest and held at 255.
// Source codes above SourceAlphaSaturate count as One.
Colour Blend(Colour source, Colour dest, SourceFactor sourceFactor, DestFactor destFactor);

} // namespace board
