#include "board/pixel/blend.h"

#include <algorithm>

namespace board {

namespace {

constexpr Colour kFullFactor{255, 255, 255, 255};

constexpr Colour All(int32_t value) {
    return {value, value, value, value};
}

constexpr Colour Inverse(Colour c) {
    return {255 - c.red, 255 - c.green, 255 - c.blue, 255 - c.alpha};
}

Colour FactorOfSource(SourceFactor factor, Colour source, Colour dest) {
    switch (factor) {
    case SourceFactor::Zero:
        return All(0);
    case SourceFactor::One:
        return kFullFactor;
    case SourceFactor::DestColour:
        return dest;
    case SourceFactor::InverseDestColour:
        return Inverse(dest);
    case SourceFactor::SourceAlpha:
        return All(source.alpha);
    case SourceFactor::InverseSourceAlpha:
        return All(255 - source.alpha);
    case SourceFactor::DestAlpha:
        return All(dest.alpha);
    case SourceFactor::InverseDestAlpha:
        return All(255 - dest.alpha);
    case SourceFactor::SourceAlphaSaturate: {
        const int32_t least = std::min(source.alpha, 255 - dest.alpha);
        return {least, least, least, 255};
    }
    }
    return kFullFactor;
}

Colour FactorOfDest(DestFactor factor, Colour source, Colour dest) {
    switch (factor) {
    case DestFactor::Zero:
        return All(0);
    case DestFactor::One:
        return kFullFactor;
    case DestFactor::SourceColour:
        return source;
    case DestFactor::InverseSourceColour:
        return Inverse(source);
    case DestFactor::SourceAlpha:
        return All(source.alpha);
    case DestFactor::InverseSourceAlpha:
        return All(255 - source.alpha);
    case DestFactor::DestAlpha:
        return All(dest.alpha);
    case DestFactor::InverseDestAlpha:
        return All(255 - dest.alpha);
    }
    return All(0);
}

int32_t Mix(int32_t source, int32_t sourceFactor, int32_t dest, int32_t destFactor) {
    return std::min((source * sourceFactor + dest * destFactor + 127) / 255, 255);
}

} // namespace

Colour Blend(Colour source, Colour dest, SourceFactor sourceFactor, DestFactor destFactor) {
    const Colour s = FactorOfSource(sourceFactor, source, dest);
    const Colour d = FactorOfDest(destFactor, source, dest);
    return {Mix(source.red, s.red, dest.red, d.red),
            Mix(source.green, s.green, dest.green, d.green),
            Mix(source.blue, s.blue, dest.blue, d.blue),
            Mix(source.alpha, s.alpha, dest.alpha, d.alpha)};
}

} // namespace board
