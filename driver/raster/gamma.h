#pragma once
// Brightening of vertex colours that modulate a texture.
#include "driver/platform/d3dhal.h"

#include <array>
#include <cstdint>

// What a channel value becomes in each channel of a D3DCOLOR.
struct GammaTriple {
    uint8_t blue;
    uint8_t green; // one less than blue
    uint8_t red;   // one more, up to 255
};
static_assert(sizeof(GammaTriple) == 3);

// By channel value: about the square root of its fraction of full scale; 0 stays 0.
extern const std::array<GammaTriple, 256> gammaTable;

/// The colour with blue, green and red replaced through gammaTable. Alpha stays.
inline D3DCOLOR GammaCorrect(D3DCOLOR colour) {
    return (colour & 0xFF000000) | uint32_t{gammaTable[(colour >> 16) & 0xFF].red} << 16 |
           uint32_t{gammaTable[(colour >> 8) & 0xFF].green} << 8 | gammaTable[colour & 0xFF].blue;
}
