#pragma once
// What packed words say about the pixels in them.
#include "board/values/registers.h"

#include <algorithm>
#include <cstdint>

namespace board {

struct PackedLimits {
    int64_t relative;   // pixels from a word's place to where its first pixel belongs, -4 to 3
    int64_t first, end; // only pixels from `first` to `end` - 1 are written

    bool Contains(int64_t x) const { return x >= first && x < end; }
};

// From FBReadMode and PackedDataLimits, whose two limits the driver gives in either order.
inline PackedLimits LoadPackedLimits(const RegisterFile& registers) {
    constexpr uint32_t kLimit = 0x1FFF;
    constexpr int64_t kSign = 4; // of the relative offset's three bits
    const uint32_t limits = registers[tag::PackedDataLimits];
    const int64_t low = limits & kLimit;
    const int64_t high = limits >> 16 & kLimit;
    const int64_t relative = registers.Get(field::FBReadMode_RelativeOffset);
    return {(relative ^ kSign) - kSign, std::min(low, high), std::max(low, high)};
}

} // namespace board
