#pragma once
// Level of detail: how many texels of the top level a pixel spans, and what level that is.
#include "board/texture/texture_unit.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace board {

// Texels of the top level that a pixel at S, T, Q spans, along the axis on which it spans most.
inline double TexelSpan(const TextureState& state, double s, double t, double q,
                        const TextureSlopes& slopes) {
    constexpr double kTexel = 1 << kTexelFractionBits;
    double scaleS = 1 / kTexel;
    double scaleT = 1 / kTexel;
    double qx = 0;
    double qy = 0;
    if (state.perspective) {
        scaleS = state.scaleS / q / kTexel;
        scaleT = state.scaleT / q / kTexel;
        qx = slopes.qx / q;
        qy = slopes.qy / q;
    } else if (state.glintTexels) {
        scaleS = scaleT = 1.0 / (1 << kGlintTexelFractionBits);
    }
    return std::max(
        {std::fabs((slopes.sx - s * qx) * scaleS), std::fabs((slopes.sy - s * qy) * scaleS),
         std::fabs((slopes.tx - t * qx) * scaleT), std::fabs((slopes.ty - t * qy) * scaleT)});
}

// The level for a span of texels; what spans less than one is below 0.
inline double DetailOfSpan(double span) {
    return std::log2(std::max(span, 1e-9));
}

// DetailOfSpan with 8 fraction bits, rounded down, for a span above 1.
inline int32_t FixedDetailOfSpan(double span) {
    constexpr double kOne = 256;
    constexpr double kRoot = 1.4142135623730951;
    constexpr double kTwoOverLn2 = 2.885390081777927;
    constexpr double kUncertain = 1e-3; // well above the error of the series, about 1e-5
    const auto bits = std::bit_cast<uint64_t>(span);
    const auto exponent = static_cast<int32_t>(bits >> 52) - 1023;
    const auto mantissa = std::bit_cast<double>((bits & 0xFFFFFFFFFFFFF) | uint64_t{1023} << 52);
    const double t = (mantissa - kRoot) / (mantissa + kRoot);
    const double square = t * t;
    const double series = t * (1 + square * (1.0 / 3 + square * (1.0 / 5 + square * (1.0 / 7))));
    const double detail = (exponent + 0.5 + kTwoOverLn2 * series) * kOne;
    const auto whole = static_cast<int32_t>(detail);
    const double fraction = detail - whole;
    if (fraction > kUncertain && fraction < 1 - kUncertain) {
        return whole;
    }
    return static_cast<int32_t>(DetailOfSpan(span) * kOne);
}

} // namespace board
