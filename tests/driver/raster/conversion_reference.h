#pragma once
// The conversions as integer arithmetic on the single's bit pattern, told from the format's
// meaning: a number of so many fraction bits, cut or rounded, within a range. Compares the driver's
// words with it.
#include "driver/raster/flt2fix.h"

#include <bit>
#include <cstdint>
#include <cstdio>

namespace reference {

// A single apart: (-1)^negative * mantissa * 2^(exponent - 150), with exponent 255 for infinity and
// NaN.
struct Single {
    bool negative;
    uint32_t exponent; // biased; 1 for denormals, as their mantissas count
    uint32_t mantissa; // 24 bits
};
inline Single Apart(uint32_t bits) {
    const uint32_t exponent = bits >> 23 & 0xFF;
    const uint32_t fraction = bits & 0x7FFFFF;
    return {bits >> 31 != 0, exponent == 0 ? 1 : exponent,
            exponent == 0 ? fraction : fraction | 0x800000};
}

// A format that cuts towards zero: of numbers of at least 2^(zeroBelow - 127), and below
// 2^(saturateFrom - 127).
struct Cut {
    int fractionBits;
    uint32_t zeroBelow, saturateFrom;
    uint64_t positive, negative; // for what lies outside
    uint64_t limit = UINT64_MAX; // of the magnitude
};

// The scaled number as a signed integer of 64 bits.
template <Cut kFormat>
[[gnu::always_inline]] inline uint64_t Word(const Single& single) {
    if (single.exponent < kFormat.zeroBelow) {
        return 0;
    }
    if (single.exponent >= kFormat.saturateFrom) {
        return single.negative ? kFormat.negative : kFormat.positive;
    }
    const int left = static_cast<int>(single.exponent) - 150 + kFormat.fractionBits;
    uint64_t magnitude = left >= 0 ? uint64_t{single.mantissa} << left : single.mantissa >> -left;
    if (kFormat.limit != UINT64_MAX && magnitude > kFormat.limit) {
        magnitude = kFormat.limit;
    }
    return single.negative ? 0 - magnitude : magnitude;
}

inline constexpr Cut kFix16_16{16, 111, 142, 0x7FFFFFFF, 0x80000000};
inline constexpr Cut kFix12_20{20, 107, 138, 0x7FFFFFFF, 0x80000000};
inline constexpr Cut kFix2_22{22, 105, 128, 0x7FFFFF, 0xFF800000};
inline constexpr Cut kFix10_22{22, 105, 136, 0x7FFFFF, 0xFF800000};
inline constexpr Cut kFix9_15{23, 104, 127, 0x7F8000, 0xFF807FFF, 0x7F8000};
inline constexpr Cut kD3DFix9_15{15, 112, 143, 0x7FFFFF, 0xFF800000};
inline constexpr Cut kD3DFix2_22{14, 113, 136, 0x7FFFFF, 0xFF800000};
inline constexpr Cut kToInt{0, 127, 158, 0x7FFFFFFF, 0x80000000};
inline constexpr Cut kFix1_30{30, 97, 127, 0x7FFFFFFF, 0};
inline constexpr Cut kToIntCol{8, 119, 127, 255, 0};
// Pairs: 16 fraction bits, the words being those of the number times 2^32.
inline constexpr Cut kFix32_16{16, 111, 158, 0x7FFFFFFFFFFF, 0xFFFF800000000000};
inline constexpr Cut kFix24_16{16, 111, 151, 0xFFFFFFFFFF, 0xFFFFFF0000000000};

// Nearest, ties to even; 0x80000000 for what does not fit.
template <int kFractionBits>
[[gnu::always_inline]] inline uint32_t Rounded(const Single& single) {
    const int left = static_cast<int>(single.exponent) - 150 + kFractionBits;
    uint32_t magnitude;
    if (left >= 8) {
        // From 2^31 on, but for zero itself.
        return single.mantissa == 0 ? 0 : 0x80000000;
    }
    if (left >= 0) {
        magnitude = single.mantissa << left;
    } else if (left < -25) {
        magnitude = 0;
    } else {
        const uint32_t half = 1u << (-left - 1);
        const uint32_t lost = single.mantissa & (2 * half - 1);
        magnitude = single.mantissa >> -left;
        if (lost > half || (lost == half && (magnitude & 1) != 0)) {
            ++magnitude;
        }
    }
    return single.negative ? 0 - magnitude : magnitude;
}

// The same of single numbers, for streams worked out by hand.
template <Cut kFormat>
uint32_t WordOf(float x) {
    return static_cast<uint32_t>(Word<kFormat>(Apart(std::bit_cast<uint32_t>(x))));
}
inline uint32_t Fix16_16(float x) {
    return WordOf<kFix16_16>(x);
}
inline uint32_t Fix12_20(float x) {
    return WordOf<kFix12_20>(x);
}
inline uint32_t Fix2_22(float x) {
    return WordOf<kFix2_22>(x);
}
inline uint32_t D3DFix9_15(float x) {
    return WordOf<kD3DFix9_15>(x);
}
inline uint32_t D3DFix2_22(float x) {
    return WordOf<kD3DFix2_22>(x);
}
inline uint32_t Rounded2_30(float x) {
    return Rounded<30>(Apart(std::bit_cast<uint32_t>(x)));
}

struct Pair {
    uint32_t upper, lower;
    bool operator==(const Pair&) const = default;
};
inline Pair Fix32_16(float x) {
    const uint64_t value = Word<kFix32_16>(Apart(std::bit_cast<uint32_t>(x)));
    return {static_cast<uint32_t>(value >> 16), static_cast<uint32_t>(value) << 16};
}

// Puts one bit pattern through every conversion, and calls differs(name, got, want) where one is
// not as told.
template <class Differs>
[[gnu::always_inline]] inline void Compare(uint32_t bits, const Differs& differs) {
    const float x = std::bit_cast<float>(bits);
    const Single single = Apart(bits);
    const auto expect = [&](const char* name, uint64_t got, uint64_t want)
        __attribute__((always_inline)) {
        if (got != want) [[unlikely]] {
            differs(name, got, want);
        }
    };
    const auto word = [](uint64_t value) { return static_cast<uint32_t>(value); };
    expect("flt_to_fix_16_16", flt_to_fix_16_16(x), word(Word<kFix16_16>(single)));
    expect("flt_to_fix_12_20", flt_to_fix_12_20(x), word(Word<kFix12_20>(single)));
    expect("flt_to_fix_2_22", flt_to_fix_2_22(x), word(Word<kFix2_22>(single)));
    expect("flt_to_fix_10_22", flt_to_fix_10_22(x), word(Word<kFix10_22>(single)));
    expect("flt_to_fix_9_15", flt_to_fix_9_15(x), word(Word<kFix9_15>(single)));
    expect("D3Dflt_to_fix_9_15", D3Dflt_to_fix_9_15(x), word(Word<kD3DFix9_15>(single)));
    expect("D3Dflt_to_fix_2_22", D3Dflt_to_fix_2_22(x), word(Word<kD3DFix2_22>(single)));
    expect("toint", toint(x), word(Word<kToInt>(single)));
    expect("flt_to_fix_1_30", flt_to_fix_1_30(x),
           single.negative ? 0 : word(Word<kFix1_30>(single)));
    expect("tointCol", tointCol(x), single.negative ? 0 : word(Word<kToIntCol>(single)));
    expect("float_to_fix_2_30", float_to_fix_2_30(x), Rounded<30>(single));
    expect("float_to_fix_11_21", float_to_fix_11_21(x), Rounded<21>(single));
    if (!single.negative && single.exponent >= 127 && single.exponent < 151) {
        expect("float_to_int", static_cast<uint32_t>(float_to_int(x)),
               single.mantissa >> (150 - single.exponent));
    }
    uint32_t pair[2];
    const auto joined = [&] { return uint64_t{pair[0]} << 16 | pair[1] >> 16; };
    constexpr uint64_t kPairBits = 0xFFFFFFFFFFFF;
    flt_to_fix_32_16(x, pair);
    expect("flt_to_fix_32_16", joined(), Word<kFix32_16>(single) & kPairBits);
    expect("flt_to_fix_32_16, rest", pair[1] & 0xFFFF, 0);
    flt_to_fix_32_16_small(x, pair);
    expect("flt_to_fix_32_16_small", joined(), Word<kFix32_16>(single) & kPairBits);
    expect("flt_to_fix_32_16_small, rest", pair[1] & 0xFFFF, 0);
    flt_to_fix_24_16(x, pair);
    expect("flt_to_fix_24_16", joined(), Word<kFix24_16>(single) & kPairBits);
    expect("flt_to_fix_24_16, rest", pair[1] & 0xFFFF, 0);
}

// False, with a line on standard output for each conversion that differs.
inline bool Agrees(uint32_t bits) {
    bool good = true;
    Compare(bits, [&](const char* name, uint64_t got, uint64_t want) {
        std::printf("%s of %08X: %llX, not %llX\n", name, bits,
                    static_cast<unsigned long long>(got), static_cast<unsigned long long>(want));
        good = false;
    });
    return good;
}

} // namespace reference
