#pragma once
// The depth test against the depth buffer. Its layout is linear whether or not the patched bit is
// set: nobody but the board reads it, so the order of its elements is the board's own affair.
#include "board/raster/interpolants.h"
#include "board/values/compare.h"
#include "board/values/memory.h"

#include <algorithm>
#include <cstdint>

namespace board {

// DepthMode Source: every fragment has the depth of the Depth register.
inline constexpr uint32_t kDepthFromRegister = 2;

struct DepthUnit {
    bool enabled;
    bool reads;    // the stored value counts; else it is taken for 0
    bool writes;   // a passing value is stored
    bool constant; // every fragment has the depth constantValue
    uint32_t constantValue;
    Compare compare;
    uint32_t limit; // largest value of the format
    Plane plane;

    bool Touches() const { return enabled && (reads || writes); }

    // The integer part of an accumulator (32.16), held inside the format.
    uint32_t Value(int64_t accumulator) const {
        return static_cast<uint32_t>(
            std::clamp<int64_t>(accumulator >> kDepthFractionBits, 0, limit));
    }
    // Tests an accumulator against the element at byte `place` of the memory, and stores
    // its value if it passes. False: the pixel is dropped.
    bool Test(int64_t accumulator, int64_t place) const {
        return plane.bytesPerElement == 2 ? TestElement<2>(accumulator, place)
                                          : TestElement<4>(accumulator, place);
    }

  private:
    template <int Bytes>
    bool TestElement(int64_t accumulator, int64_t place) const {
        const uint32_t value = Value(accumulator);
        const uint32_t stored = reads ? LoadElement<Bytes>(plane.memory + place) : 0;
        if (!Passes(compare, value, stored)) {
            return false;
        }
        if (writes) {
            StoreElement<Bytes>(plane.memory + place, value);
        }
        return true;
    }
};

} // namespace board
