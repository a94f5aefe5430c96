#pragma once
// Singles on a floating-point unit whose registers have a wider exponent than memory has: x87 under
// the single-precision control word. There a result in a register is rounded as a single's, unless
// it leaves the range of singles. It has to go through memory only where that can happen and a word
// could tell; SSE needs none of this.
//
// What a renderer reckons with is a type, `Real`: `float` where the values are known to stay in
// range, or not to matter outside it, and Careful where they are not. The two forms of a renderer
// are one template.
#include "driver/raster/inline.h"

#include <cstdint>

inline constexpr bool kWideRegisters = __FLT_EVAL_METHOD__ != 0;

/// `x` in the range of a single: infinite or denormal if that is what a single's would be.
KORV_INLINE float Single(float x) {
    if constexpr (kWideRegisters) {
        asm("" : "+m"(x));
    }
    return x;
}

/// A float of which every result is a single.
struct Careful {
    float value;

    KORV_INLINE Careful(float x) : value(x) {}
    KORV_INLINE operator float() const { return value; }
};
KORV_INLINE Careful operator+(Careful a, Careful b) {
    return Single(a.value + b.value);
}
KORV_INLINE Careful operator-(Careful a, Careful b) {
    return Single(a.value - b.value);
}
KORV_INLINE Careful operator*(Careful a, Careful b) {
    return Single(a.value * b.value);
}
KORV_INLINE Careful operator/(Careful a, Careful b) {
    return Single(a.value / b.value);
}
KORV_INLINE Careful operator/(Careful a, float b) {
    return a / Careful(b);
}
KORV_INLINE Careful operator-(Careful a, float b) {
    return a - Careful(b);
}
KORV_INLINE Careful operator-(float a, Careful b) {
    return Careful(a) - b;
}
KORV_INLINE Careful operator*(Careful a, float b) {
    return a * Careful(b);
}
KORV_INLINE Careful operator*(float a, Careful b) {
    return Careful(a) * b;
}

/// The bits of a single in memory. Never by way of the floating-point unit, which would change
/// those of some NaNs.
KORV_INLINE uint32_t BitsOf(const float& value) {
    uint32_t bits;
    __builtin_memcpy(&bits, &value, sizeof bits);
    return bits;
}
