#pragma once
// Texture coordinates of one primitive along one axis, u or v, in temporaries: brought into the
// chip's range, and taken the short way round where the application wraps them.
#include "driver/raster/flt2fix.h"
#include "driver/raster/inline.h"
#include "driver/raster/single.h"

#include <bit>
#include <cstdint>

/// Slides a triangle's three coordinates by one whole number of repeats, so that the one farthest
/// out comes back into the chip's range. `limit` and `range` are the context's TextureRepeatU and
/// TextureRepeatMaskU, or those of V. A positive coordinate at or above `limit` decides before a
/// negative one does. Result: whether they slid and any was so far out, 2^23 or more, that what
/// comes of it may leave the range of singles.
KORV_INLINE bool ReduceRange(float (&t)[3], float limit, uint32_t range) {
    // Singles compare as their bit patterns do: as signed integers where any is positive, and as
    // unsigned ones the most negative is the largest.
    const uint32_t bits[] = {std::bit_cast<uint32_t>(t[0]), std::bit_cast<uint32_t>(t[1]),
                             std::bit_cast<uint32_t>(t[2])};
    const uint32_t limitBits = std::bit_cast<uint32_t>(limit);
    uint32_t slide;
    int32_t most = static_cast<int32_t>(bits[0]);
    most = most > static_cast<int32_t>(bits[1]) ? most : static_cast<int32_t>(bits[1]);
    most = most > static_cast<int32_t>(bits[2]) ? most : static_cast<int32_t>(bits[2]);
    if (most >= static_cast<int32_t>(limitBits)) [[unlikely]] {
        slide = fixed::RoundByUnit(std::bit_cast<float>(most)) - range;
    } else {
        uint32_t least = bits[0];
        least = least > bits[1] ? least : bits[1];
        least = least > bits[2] ? least : bits[2];
        if (least < (limitBits | 0x80000000)) [[likely]] {
            return false;
        }
        slide = fixed::RoundByUnit(std::bit_cast<float>(least)) + range;
    }
    const float repeats = Single(static_cast<float>(static_cast<int32_t>(slide)));
    t[0] -= repeats;
    t[1] -= repeats;
    t[2] -= repeats;
    constexpr uint32_t kFar = std::bit_cast<uint32_t>(8388608.0f) << 1;
    return bits[0] << 1 >= kFar || bits[1] << 1 >= kFar || bits[2] << 1 >= kFar;
}

KORV_INLINE bool IsFar(float t0, float t1) {
    const float distance = t1 - t0;
    return __builtin_fabsf(distance) > 0.5f;
}

/// Wraps a triangle's coordinates: one that is more than half a texture away from both others goes
/// to the next repeat, or they do. Result: whether any moved. Where only the third vertex is sent
/// its coordinate is the same, whether or not the others move with it.
KORV_INLINE bool WrapTriangle(float (&t)[3]) {
    const bool far01 = IsFar(t[0], t[1]);
    const bool far12 = IsFar(t[1], t[2]);
    const bool far20 = IsFar(t[2], t[0]);
    if (far01 && far12) {
        if (t[1] >= t[2]) {
            t[0] += 1.0f;
            t[2] += 1.0f;
        } else {
            t[1] += 1.0f;
        }
        return true;
    }
    if (far12 && far20) {
        if (t[2] >= t[0]) {
            t[0] += 1.0f;
            t[1] += 1.0f;
        } else {
            t[2] += 1.0f;
        }
        return true;
    }
    if (far20 && far01) {
        if (t[0] >= t[1]) {
            t[1] += 1.0f;
            t[2] += 1.0f;
        } else {
            t[0] += 1.0f;
        }
        return true;
    }
    return false;
}

/// Wraps a line's coordinates: of two that are more than half a texture apart the smaller goes to
/// the next repeat.
KORV_INLINE void WrapLine(float& t0, float& t1) {
    if (IsFar(t0, t1)) {
        (t0 < t1 ? t0 : t1) += 1.0f;
    }
}
