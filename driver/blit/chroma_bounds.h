#pragma once
// Source colour keys as bounds of the chip's chroma test.
#include "driver/core/dma.h"
#include "driver/core/records/private_surface.h"

#include <cstdint>

struct ChromaBounds {
    uint32_t Low;
    uint32_t High;
};

// A run of bits in a key, and its lowest bit in a bound.
struct ChromaField {
    uint8_t From;
    uint8_t Width;
    uint8_t To;
};

// How keys of one texel format become bounds.
struct ChromaLayout {
    uint8_t Format;
    int8_t Extension;      // kAnyExtension: the format has but one
    ChromaField Fields[4]; // those of width 0 are not there
    uint32_t HighBits;     // on in the upper bound, whatever the key
};
inline constexpr int8_t kAnyExtension = -1;

constexpr uint32_t MoveChromaFields(uint32_t key, const ChromaLayout& layout) {
    uint32_t bound = 0;
    for (const ChromaField& field : layout.Fields) {
        const auto mask = static_cast<uint32_t>((uint64_t{1} << field.Width) - 1);
        bound |= (key >> field.From & mask) << field.To;
    }
    return bound;
}

// The bounds by the first layout of `layouts` for the source's texel format, or by `other`.
template <size_t N>
inline ChromaBounds ChromaBoundsOf(const DDCOLORKEY& key, const PrivateSurfaceData* source,
                                   const ChromaLayout (&layouts)[N], const ChromaLayout& other) {
    const ChromaLayout* found = &other;
    for (const ChromaLayout& layout : layouts) {
        if (layout.Format == source->Format &&
            (layout.Extension == kAnyExtension ||
             static_cast<uint32_t>(layout.Extension) == source->FormatExtension)) {
            found = &layout;
            break;
        }
    }
    return {MoveChromaFields(key.dwColorSpaceLowValue, *found),
            MoveChromaFields(key.dwColorSpaceHighValue, *found) | found->HighBits};
}

inline void WriteChromaBounds(StreamWriter<DriverData>& out, const ChromaBounds& bounds) {
    out.Tag(tag::ChromaLowerBound, bounds.Low);
    out.Tag(tag::ChromaUpperBound, bounds.High);
}
