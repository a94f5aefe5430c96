#pragma once
// Blending of whole rows: as Blend, over rows of colour words.
#include "board/pixel/blend.h"

#include <cstdint>

namespace board {

// The factors of a row of fragments `source` over the pixels `dest`, a byte a channel. Arrays of
// whole blocks.
using FactorRow = void (*)(int32_t pixels, const uint32_t* source, const uint32_t* dest,
                           uint32_t* factors);

FactorRow FactorRowOf(SourceFactor factor);
FactorRow FactorRowOf(DestFactor factor);

// source * sourceFactors + dest * destFactors; `to` may be `source`.
void BlendRow(int32_t pixels, const uint32_t* source, const uint32_t* sourceFactors,
              const uint32_t* dest, const uint32_t* destFactors, uint32_t* to);

} // namespace board
