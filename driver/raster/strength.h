#pragma once
// Specular light as one number, for chips that add it as white.
#include "driver/platform/d3dhal.h"

#include <cstdint>

/// Strength of a specular colour, 0.0 to about 1.0: Ks of a vertex, or what darkens it through the
/// fog unit. The weights of green and blue are as this hardware's drivers have always had them, the
/// larger one on blue.
inline float SpecularStrength(D3DCOLOR specular) {
    constexpr float kRedWeight = 0.001172549019608f;
    constexpr float kGreenWeight = 0.000447058823529f;
    constexpr float kBlueWeight = 0.002301960784314f;
    // Each product and sum is a single of its own.
    const float red =
        static_cast<float>(static_cast<int32_t>((specular >> 16) & 0xFF)) * kRedWeight;
    const float green =
        static_cast<float>(static_cast<int32_t>((specular >> 8) & 0xFF)) * kGreenWeight;
    const float blue = static_cast<float>(static_cast<int32_t>(specular & 0xFF)) * kBlueWeight;
    const float redGreen = red + green;
    return redGreen + blue;
}
