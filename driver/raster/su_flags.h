#pragma once
// RenderFlags of a batch, some of them known when the batch is compiled: the tests that they answer
// cost nothing per triangle.
#include "driver/raster/inline.h"

#include <cstdint>

namespace su {

// The flags in kKnown have the values in kOn; others are looked up in the word.
template <uint32_t kKnown, uint32_t kOn>
struct Flags {
    uint32_t word;

    // `flag` is one RenderFlag.
    KORV_INLINE bool Has(uint32_t flag) const {
        return (((flag & kKnown) != 0 ? kOn : word) & flag) != 0;
    }
    KORV_INLINE bool HasAny(uint32_t flags) const {
        return (((word & ~kKnown) | (kOn & kKnown)) & flags) != 0;
    }
};

// All flags looked up.
using LiveFlags = Flags<0, 0>;

// Calls `batch` with Flags in which each flag of kKnown is known, one copy of it for every
// combination.
template <uint32_t kKnown, uint32_t kOn = 0, uint32_t kLeft = kKnown, class Batch>
KORV_INLINE void WithKnownFlags(uint32_t word, const Batch& batch) {
    if constexpr (kLeft == 0) {
        batch(Flags<kKnown, kOn>{word});
    } else {
        constexpr uint32_t kFlag = kLeft & (0 - kLeft);
        if ((word & kFlag) != 0) {
            WithKnownFlags<kKnown, kOn | kFlag, kLeft ^ kFlag>(word, batch);
        } else {
            WithKnownFlags<kKnown, kOn, kLeft ^ kFlag>(word, batch);
        }
    }
}

} // namespace su
