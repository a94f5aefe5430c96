#pragma once
// What every renderer does to a vertex's coordinates and colour words.
#include "driver/platform/d3dhal.h"

#include <bit>
#include <cstdint>

/// Of the bits of a coordinate plus 2^23, those that are its row.
inline constexpr uint32_t kRowMask = 0xFFFFFF;

/// Rounds sy, 0 to 2^23 pixels, to a whole row (ties to even), in place. At this size a single has
/// no fraction bits, so the add does the rounding. Result: the bits of sy plus 2^23.
inline uint32_t SnapYShifted(D3DVALUE& sy) {
    constexpr float kNoFraction = 8388608.0f;
    const float shifted = sy + kNoFraction;
    sy = shifted - kNoFraction;
    return std::bit_cast<uint32_t>(shifted);
}

/// The same. Result: the row.
inline uint32_t SnapY(D3DVALUE& sy) {
    return SnapYShifted(sy) & kRowMask;
}

/// sx, 0 up to 8192 pixels, rounded to 1/1024 pixel, as a 16.16 word.
inline uint32_t EncodeX(D3DVALUE sx) {
    return (std::bit_cast<uint32_t>(sx + 8192.0f) & 0xFFFFFF) << 6;
}

/// Diffuse plus specular, for chips with no second colour input. Each channel loses its low bit and
/// stops at 0xFE; alpha is diffuse's, but an overflow of red sets its low bit.
inline D3DCOLOR SpecularAdd(D3DCOLOR diffuse, D3DCOLOR specular) {
    const uint32_t sum = (specular & 0xFEFEFE) + (diffuse & 0xFEFEFEFE);
    const uint32_t carries = (sum >> 8) & 0x10101;
    return sum | ((0x10100 - 2 * carries) & 0xFEFEFE);
}

/// A colour as the frame buffer holds it: at 2 bytes a pixel two 5:5:5 pixels, else 0x00RRGGBB.
inline uint32_t FlatPack(D3DCOLOR colour, uint32_t bytesPerPixel) {
    if (bytesPerPixel != 2) {
        return colour & 0xFFFFFF;
    }
    const uint32_t pixel =
        ((colour >> 9) & 0x7C00) | ((colour >> 6) & 0x3E0) | ((colour >> 3) & 0x1F);
    return pixel | (pixel << 16);
}

/// Chip order from D3DCOLOR order: bytes 0 and 2 exchanged.
inline uint32_t ExchangeRedBlue(D3DCOLOR colour) {
    return ((colour & 0xFF) << 16) | ((colour >> 16) & 0xFF) | (colour & 0xFF00FF00);
}
