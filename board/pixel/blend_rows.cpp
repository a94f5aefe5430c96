#include "board/pixel/blend_rows.h"

#include "board/values/row.h"

#include <algorithm>

namespace board {

namespace {

constexpr uint32_t kAllOnes = 0xFFFFFFFF;
// Sums of products are held where they stand for 255, within DivideBy255's range.
constexpr uint32_t kLargestSum = 255 * 256 - 1;

void NoFactor(int32_t pixels, const uint32_t*, const uint32_t*, uint32_t* factors) {
    std::fill_n(factors, pixels, 0u);
}

void WholeFactor(int32_t pixels, const uint32_t*, const uint32_t*, uint32_t* factors) {
    std::fill_n(factors, pixels, kAllOnes);
}

enum class Side { Source, Dest };

// The colour of a side, or what it lacks to one.
template <Side kSide, uint32_t kInverse>
void ColourFactor(int32_t pixels, const uint32_t* source, const uint32_t* dest, uint32_t* factors) {
    MapRow(
        pixels, factors, [](int32_t, uint32_t colour) { return colour ^ kInverse; },
        kSide == Side::Source ? source : dest);
}

template <Side kSide, uint32_t kInverse>
void AlphaFactor(int32_t pixels, const uint32_t* source, const uint32_t* dest, uint32_t* factors) {
    MapRow(
        pixels, factors,
        [](int32_t, uint32_t colour) { return OnAllChannels(colour >> 24) ^ kInverse; },
        kSide == Side::Source ? source : dest);
}

void SaturateFactor(int32_t pixels, const uint32_t* source, const uint32_t* dest,
                    uint32_t* factors) {
    for (int32_t i = 0; i < pixels; ++i) {
        const uint32_t least = std::min(source[i] >> 24, 255 - (dest[i] >> 24));
        factors[i] = OnAllChannels(least) | 0xFF000000;
    }
}

} // namespace

FactorRow FactorRowOf(SourceFactor factor) {
    switch (factor) {
    case SourceFactor::Zero:
        return NoFactor;
    case SourceFactor::One:
        return WholeFactor;
    case SourceFactor::DestColour:
        return ColourFactor<Side::Dest, 0>;
    case SourceFactor::InverseDestColour:
        return ColourFactor<Side::Dest, kAllOnes>;
    case SourceFactor::SourceAlpha:
        return AlphaFactor<Side::Source, 0>;
    case SourceFactor::InverseSourceAlpha:
        return AlphaFactor<Side::Source, kAllOnes>;
    case SourceFactor::DestAlpha:
        return AlphaFactor<Side::Dest, 0>;
    case SourceFactor::InverseDestAlpha:
        return AlphaFactor<Side::Dest, kAllOnes>;
    case SourceFactor::SourceAlphaSaturate:
        return SaturateFactor;
    }
    return WholeFactor;
}

FactorRow FactorRowOf(DestFactor factor) {
    switch (factor) {
    case DestFactor::Zero:
        return NoFactor;
    case DestFactor::One:
        return WholeFactor;
    case DestFactor::SourceColour:
        return ColourFactor<Side::Source, 0>;
    case DestFactor::InverseSourceColour:
        return ColourFactor<Side::Source, kAllOnes>;
    case DestFactor::SourceAlpha:
        return AlphaFactor<Side::Source, 0>;
    case DestFactor::InverseSourceAlpha:
        return AlphaFactor<Side::Source, kAllOnes>;
    case DestFactor::DestAlpha:
        return AlphaFactor<Side::Dest, 0>;
    case DestFactor::InverseDestAlpha:
        return AlphaFactor<Side::Dest, kAllOnes>;
    }
    return NoFactor;
}

void BlendRow(int32_t pixels, const uint32_t* source, const uint32_t* sourceFactors,
              const uint32_t* dest, const uint32_t* destFactors, uint32_t* to) {
    MapBytes(
        pixels, to,
        [](uint32_t s, uint32_t sf, uint32_t d, uint32_t df) {
            return DivideBy255(std::min(s * sf + d * df + 127, kLargestSum));
        },
        source, sourceFactors, dest, destFactors);
}

} // namespace board
