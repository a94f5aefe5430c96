#include "board/texture/texture_unit.h"

#include "board/texture/detail.h"
#include "board/texture/texture_filter.h"

#include <algorithm>
#include <cmath>

namespace board {

namespace {

// Far outside any map, well inside 64 bits.
constexpr double kCoordinateLimit = 1ll << 48;

int64_t ToCoordinate(double value) {
    constexpr double kFits = 2147483000.0;
    if (value > -kFits && value < kFits) { // the usual case, several times as fast
        const auto whole = static_cast<int32_t>(value);
        return value < whole ? whole - 1 : whole;
    }
    if (!(value > -kCoordinateLimit)) { // what is no number, too
        return static_cast<int64_t>(-kCoordinateLimit);
    }
    return static_cast<int64_t>(std::floor(std::min(value, kCoordinateLimit)));
}

// Mixes two colours, `weight` of 256 of the second one.
Colour MixLevels(Colour a, Colour b, int32_t weight) {
    const auto mix = [weight](int32_t first, int32_t second) {
        return first + (((second - first) * weight + 128) >> 8);
    };
    return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue), mix(a.alpha, b.alpha)};
}

Colour SampleLevel(const TextureState& state, uint32_t level, bool linear, int64_t u, int64_t v,
                   uint64_t& badReads) {
    const TextureLevel& top = state.levels[0];
    const TextureLevel& map = state.levels[level];
    return FilterTexels(state, map, linear, u >> (top.logWidth - map.logWidth),
                        v >> (top.logHeight - map.logHeight), badReads);
}

Colour SampleMinified(const TextureState& state, double detail, int64_t u, int64_t v,
                      uint64_t& badReads) {
    const MinFilter filter = state.minFilter;
    const bool linear = MixesTexels(filter);
    if (state.levelCount == 1 || filter == MinFilter::Nearest || filter == MinFilter::Linear) {
        return SampleLevel(state, 0, linear, u, v, badReads);
    }
    const double last = state.levelCount - 1;
    const double level = std::min(detail, last);
    if (filter == MinFilter::MipNearest || filter == MinFilter::MipLinear) {
        return SampleLevel(state, static_cast<uint32_t>(std::lround(level)), linear, u, v,
                           badReads);
    }
    const auto upper = static_cast<uint32_t>(level);
    const auto weight = static_cast<int32_t>((level - upper) * 256);
    const Colour first = SampleLevel(state, upper, linear, u, v, badReads);
    return weight == 0
               ? first
               : MixLevels(first, SampleLevel(state, upper + 1, linear, u, v, badReads), weight);
}

} // namespace

TextureSlopes SlopesOf(const Interpolants& row, bool leftward) {
    // dyDom runs along the edge: what the edge moves sideways is taken out again.
    const double slant = static_cast<double>(leftward ? -row.dominantStep : row.dominantStep) /
                         static_cast<double>(kOnePixel);
    const auto across = [&row](size_t channel) {
        return static_cast<double>(row.channels[channel].dx);
    };
    const auto down = [&](size_t channel) {
        return static_cast<double>(row.channels[channel].dyDom) - slant * across(channel);
    };
    return {across(Interpolants::S), down(Interpolants::S),   across(Interpolants::T),
            down(Interpolants::T),   across(Interpolants::Q), down(Interpolants::Q)};
}

TextureSample SampleTexture(const TextureState& state, int64_t s, int64_t t, int64_t q,
                            const TextureSlopes& slopes, uint64_t& badReads) {
    int64_t u = s;
    int64_t v = t;
    // A Q of zero or less is behind the eye; it is taken for the smallest there is.
    const auto divisor = static_cast<double>(std::max<int64_t>(q, 1));
    if (state.perspective) {
        const double inverse = 1 / divisor;
        u = ToCoordinate(static_cast<double>(s) * state.scaleS * inverse);
        v = ToCoordinate(static_cast<double>(t) * state.scaleT * inverse);
    } else if (state.glintTexels) {
        constexpr uint32_t kExtra = kGlintTexelFractionBits - kTexelFractionBits;
        u = static_cast<uint32_t>(s) >> kExtra;
        v = static_cast<uint32_t>(t) >> kExtra;
    }
    TextureSample sample{};
    if (state.Drops()) {
        const TextureLevel& top = state.levels[0];
        const uint32_t texel =
            FetchTexel(state, top, Column(state, top, u), Row(state, top, v), badReads);
        if (state.chroma.Hits(TexelKey(state.format, *state.table, texel))) {
            sample.dropped = true;
            return sample;
        }
    }
    if (state.NeedsDetail()) {
        const double detail = DetailOfSpan(
            TexelSpan(state, static_cast<double>(s), static_cast<double>(t), divisor, slopes));
        sample.colour = detail > 0 ? SampleMinified(state, detail, u, v, badReads)
                                   : SampleLevel(state, 0, state.magLinear, u, v, badReads);
    } else {
        sample.colour = FilterTexels(state, state.levels[0], state.magLinear, u, v, badReads);
    }
    if (state.ignoreAlpha) {
        sample.colour.alpha = 255;
    }
    return sample;
}

} // namespace board
