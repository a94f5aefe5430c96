#pragma once
// The conversions as arithmetic on doubles, which hold every product below exactly. Compares the
// driver's words with it.
#include "driver/raster/flt2fix.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace reference {

// A magnitude's place: |x| against powers of two. NaN counts as above everything.
inline bool Below(float x, int exponent) {
    return std::fabs(static_cast<double>(x)) < std::ldexp(1.0, exponent - 127);
}
inline bool AtOrAbove(float x, int exponent) {
    return !Below(x, exponent);
}

// Cut towards zero after scaling; the word's sign is the value's.
inline uint32_t Word(float x, int zeroBelow, int saturateFrom, double scale, uint32_t positive,
                     uint32_t negative, double limit = 1e300) {
    if (Below(x, zeroBelow)) {
        return 0;
    }
    if (AtOrAbove(x, saturateFrom)) {
        return std::signbit(x) ? negative : positive;
    }
    double whole = std::floor(std::fabs(static_cast<double>(x)) * scale);
    if (whole > limit) {
        whole = limit;
    }
    const int64_t value = static_cast<int64_t>(whole);
    return static_cast<uint32_t>(std::signbit(x) ? -value : value);
}

inline double Two(int power) {
    return std::ldexp(1.0, power);
}

inline uint32_t Fix16_16(float x) {
    return Word(x, 111, 142, 65536.0, 0x7FFFFFFF, 0x80000000);
}
inline uint32_t Fix12_20(float x) {
    return Word(x, 107, 138, Two(20), 0x7FFFFFFF, 0x80000000);
}
inline uint32_t Fix2_22(float x) {
    return Word(x, 105, 128, Two(22), 0x7FFFFF, 0xFF800000);
}
inline uint32_t Fix10_22(float x) {
    return Word(x, 105, 136, Two(22), 0x7FFFFF, 0xFF800000);
}
inline uint32_t Fix9_15(float x) {
    return Word(x, 104, 127, Two(23), 0x7F8000, 0xFF807FFF, 0x7F8000);
}
inline uint32_t D3DFix9_15(float x) {
    return Word(x, 112, 143, Two(15), 0x7FFFFF, 0xFF800000);
}
inline uint32_t D3DFix2_22(float x) {
    return Word(x, 113, 136, Two(14), 0x7FFFFF, 0xFF800000);
}
inline uint32_t ToInt(float x) {
    return Word(x, 127, 158, 1.0, 0x7FFFFFFF, 0x80000000);
}
inline uint32_t Fix1_30(float x) {
    return std::signbit(x) ? 0 : Word(x, 97, 127, Two(30), 0x7FFFFFFF, 0);
}
inline uint32_t ToIntCol(float x) {
    return std::signbit(x) ? 0 : Word(x, 119, 127, 256.0, 255, 0);
}

struct Pair {
    uint32_t upper, lower;
    bool operator==(const Pair&) const = default;
};

inline Pair Wide(float x, int saturateFrom, Pair positive, Pair negative) {
    if (Below(x, 111)) {
        return {0, 0};
    }
    if (AtOrAbove(x, saturateFrom)) {
        return std::signbit(x) ? negative : positive;
    }
    const int64_t value =
        static_cast<int64_t>(std::floor(std::fabs(static_cast<double>(x)) * 65536.0));
    const int64_t cut = std::signbit(x) ? -value : value;
    return {static_cast<uint32_t>(cut >> 16), static_cast<uint32_t>(cut) << 16};
}
inline Pair Fix32_16(float x) {
    return Wide(x, 158, {0x7FFFFFFF, 0xFFFF0000}, {0x80000000, 0});
}
inline Pair Fix24_16(float x) {
    return Wide(x, 151, {0xFFFFFF, 0xFFFF0000}, {0xFF000000, 0});
}

// Nearest, ties to even; the mode of a program that never changed it.
inline uint32_t Rounded(float x, double scale) {
    const double product = static_cast<double>(x) * scale;
    const double nearest = std::nearbyint(product);
    if (!(nearest >= -2147483648.0 && nearest <= 2147483647.0)) {
        return 0x80000000;
    }
    return static_cast<uint32_t>(static_cast<int32_t>(nearest));
}

// Puts one bit pattern through every conversion; false, with a line on standard output, where one
// of them differs.
inline bool Agrees(uint32_t bits) {
    const float x = std::bit_cast<float>(bits);
    bool good = true;
    const auto expect = [&](const char* name, uint32_t got, uint32_t want) {
        if (got != want) {
            std::printf("%s of %08X (%g): %08X, not %08X\n", name, bits, static_cast<double>(x),
                        got, want);
            good = false;
        }
    };
    expect("flt_to_fix_16_16", flt_to_fix_16_16(x), Fix16_16(x));
    expect("flt_to_fix_12_20", flt_to_fix_12_20(x), Fix12_20(x));
    expect("flt_to_fix_2_22", flt_to_fix_2_22(x), Fix2_22(x));
    expect("flt_to_fix_10_22", flt_to_fix_10_22(x), Fix10_22(x));
    expect("flt_to_fix_9_15", flt_to_fix_9_15(x), Fix9_15(x));
    expect("D3Dflt_to_fix_9_15", D3Dflt_to_fix_9_15(x), D3DFix9_15(x));
    expect("D3Dflt_to_fix_2_22", D3Dflt_to_fix_2_22(x), D3DFix2_22(x));
    expect("toint", toint(x), ToInt(x));
    expect("flt_to_fix_1_30", flt_to_fix_1_30(x), Fix1_30(x));
    expect("tointCol", tointCol(x), ToIntCol(x));
    expect("float_to_fix_2_30", float_to_fix_2_30(x), Rounded(x, 1073741824.0));
    expect("float_to_fix_11_21", float_to_fix_11_21(x), Rounded(x, 2097152.0));
    if (x >= 1.0f && x < 16777216.0f) {
        expect("float_to_int", static_cast<uint32_t>(float_to_int(x)),
               static_cast<uint32_t>(std::floor(static_cast<double>(x))));
    }
    uint32_t pair[2];
    flt_to_fix_32_16(x, pair);
    expect("flt_to_fix_32_16 upper", pair[0], Fix32_16(x).upper);
    expect("flt_to_fix_32_16 lower", pair[1], Fix32_16(x).lower);
    flt_to_fix_24_16(x, pair);
    expect("flt_to_fix_24_16 upper", pair[0], Fix24_16(x).upper);
    expect("flt_to_fix_24_16 lower", pair[1], Fix24_16(x).lower);
    return good;
}

} // namespace reference
