#pragma once
// Fog: mixes the fog colour into a fragment.
#include "board/values/colour.h"
#include "board/values/fixed.h"

#include <algorithm>
#include <cstdint>

namespace board {

inline constexpr int32_t kFogOne = 1 << kFogFractionBits;

// fog + factor * (colour - fog), rounded to nearest; the factor is held between 0 and 1. Alpha
// stays as it is.
inline Colour ApplyFog(Colour colour, Colour fog, int64_t factor) {
    const int32_t f = static_cast<int32_t>(std::clamp<int64_t>(factor, 0, kFogOne));
    const auto mix = [f](int32_t c, int32_t towards) {
        return towards + (((c - towards) * f + kFogOne / 2) >> kFogFractionBits);
    };
    return {mix(colour.red, fog.red), mix(colour.green, fog.green), mix(colour.blue, fog.blue),
            colour.alpha};
}

} // namespace board
