#pragma once
// Singles to the chip's fixed-point words, by integer shifts on the single's bit pattern. Pure
// functions; none of them needs a runtime library or the floating-point unit, but for
// float_to_fix_2_30 and float_to_fix_11_21.
//
// All but those two cut towards zero. Zero and denormals give 0; infinity and NaN saturate by sign.
#include "driver/platform/processor.h"
#include "driver/raster/inline.h"

#include <bit>
#include <cstdint>

namespace fixed {

inline constexpr uint32_t kHiddenBit = 0x80000000;
inline constexpr uint32_t kSignBit = 0x80000000;

// Biased exponent, 0 to 255.
inline uint32_t Exponent(uint32_t bits) {
    return (bits << 1) >> 24;
}

// The mantissa with its leading one at bit 31.
inline uint32_t Magnitude(uint32_t bits) {
    return (bits << 8) | kHiddenBit;
}

// The magnitude with its leading one at bit `place`, 0 to 31. The shift is by 31 - place.
inline uint32_t Place(uint32_t bits, uint32_t place) {
    return Magnitude(bits) >> (~place & 31);
}

// All ones for a set sign bit, else 0.
inline uint32_t SignMask(uint32_t bits) {
    return static_cast<uint32_t>(static_cast<int32_t>(bits) >> 31);
}

// The magnitude, negated under an all-ones mask.
inline uint32_t WithSign(uint32_t magnitude, uint32_t signMask) {
    return (magnitude ^ signMask) - signMask;
}

// A one-word format. A single of biased exponent e is Magnitude() shifted right by `unity` - e, so
// it vanishes below `unity` - 31.
struct Format {
    uint32_t unity;
    uint32_t saturateFrom; // first exponent out of range, at most `unity`
    uint32_t positive;     // words that stand for what is out of range
    uint32_t negative;
    uint32_t clamp = UINT32_MAX; // greatest magnitude in range
};

template <Format kFormat>
KORV_INLINE uint32_t Convert(float x) {
    static_assert(kFormat.saturateFrom <= kFormat.unity);
    constexpr uint32_t kLowest = kFormat.unity - 31;
    const uint32_t bits = std::bit_cast<uint32_t>(x);
    // The leading one's place in the word, in the top byte.
    const uint32_t above = (bits << 1) - (kLowest << 24);
    if (above < (kFormat.saturateFrom - kLowest) << 24) [[likely]] {
        uint32_t magnitude = Place(bits, above >> 24);
        if constexpr (kFormat.clamp != UINT32_MAX) {
            magnitude = magnitude < kFormat.clamp ? magnitude : kFormat.clamp;
        }
        return WithSign(magnitude, SignMask(bits));
    }
    if ((bits & ~kSignBit) < kLowest << 23) {
        return 0;
    }
    return SignMask(bits) != 0 ? kFormat.negative : kFormat.positive;
}

// The pair of words of a 16-fraction-bit format with a wide integer part.
struct PairFormat {
    uint32_t saturateFrom;
    uint32_t positiveUpper, positiveLower;
    uint32_t negativeUpper, negativeLower;
};

// kLikely: the numbers are mostly below this power of two, 15 or 16.
template <PairFormat kFormat, uint32_t kLikely = 16>
KORV_INLINE void ConvertPair(float x, uint32_t* words) {
    constexpr uint32_t kLowest = 111;
    const uint32_t bits = std::bit_cast<uint32_t>(x);
    const uint32_t sign = SignMask(bits);
    // The leading one's place in 2^-16, in the top byte.
    const uint32_t above = (bits << 1) - (kLowest << 24);
    if (above < (16 + kLikely) << 24) [[likely]] {
        // Below 65536 the magnitude is one word, and the sign goes on in front of it; below 32768
        // it is there already.
        const uint32_t word = WithSign(Place(bits, above >> 24), sign);
        words[0] = kLikely < 16 ? static_cast<uint32_t>(static_cast<int32_t>(word) >> 16)
                                : (word >> 16) | (sign << 16);
        words[1] = word << 16;
        return;
    }
    const uint32_t magnitudeBits = bits & ~kSignBit;
    if (magnitudeBits < kLowest << 23) {
        words[0] = 0;
        words[1] = 0;
    } else if (magnitudeBits < kFormat.saturateFrom << 23) {
        const uint32_t place = (magnitudeBits >> 23) - kLowest;
        const uint64_t magnitude = (uint64_t{Magnitude(bits)} << (place - 15)) & ~uint64_t{0xFFFF};
        const uint64_t pair = sign != 0 ? 0 - magnitude : magnitude;
        words[0] = static_cast<uint32_t>(pair >> 32);
        words[1] = static_cast<uint32_t>(pair);
    } else {
        words[0] = sign != 0 ? kFormat.negativeUpper : kFormat.positiveUpper;
        words[1] = sign != 0 ? kFormat.negativeLower : kFormat.positiveLower;
    }
}

using processor::RoundByUnit;

} // namespace fixed

// One single to one word.

/// Signed 16.16.
KORV_INLINE uint32_t flt_to_fix_16_16(float x) {
    return fixed::Convert<fixed::Format{142, 142, 0x7FFFFFFF, 0x80000000}>(x);
}

/// Signed 12.20.
KORV_INLINE uint32_t flt_to_fix_12_20(float x) {
    return fixed::Convert<fixed::Format{138, 138, 0x7FFFFFFF, 0x80000000}>(x);
}

/// Signed 2.22 in 24 bits.
KORV_INLINE uint32_t flt_to_fix_2_22(float x) {
    return fixed::Convert<fixed::Format{136, 128, 0x7FFFFF, 0xFF800000}>(x);
}

/// 22 fraction bits up to 512.0, where it drops to the saturated word of 24 bits.
inline uint32_t flt_to_fix_10_22(float x) {
    return fixed::Convert<fixed::Format{136, 136, 0x7FFFFF, 0xFF800000}>(x);
}

/// A colour of 0.0 to 1.0 as the chip's 9.15, 1.0 standing for 256. The saturated negative word is
/// one below what the clamp gives.
inline uint32_t flt_to_fix_9_15(float x) {
    return fixed::Convert<fixed::Format{135, 127, 0x7F8000, 0xFF807FFF, 0x7F8000}>(x);
}

/// A colour of 0.0 to 255.0 as 9.15. From 256.0 the word goes on growing in 32 bits and drops to
/// the saturated one of 24 bits at 65536.0 only; steep slopes of tiny triangles land there.
KORV_INLINE uint32_t D3Dflt_to_fix_9_15(float x) {
    return fixed::Convert<fixed::Format{143, 143, 0x7FFFFF, 0xFF800000}>(x);
}

/// Fog of 0.0 to 255.0 as 2.22, 256.0 standing for 1.0.
KORV_INLINE uint32_t D3Dflt_to_fix_2_22(float x) {
    return fixed::Convert<fixed::Format{144, 136, 0x7FFFFF, 0xFF800000}>(x);
}

/// An integer.
inline uint32_t toint(float x) {
    return fixed::Convert<fixed::Format{158, 158, 0x7FFFFFFF, 0x80000000}>(x);
}

/// An unsigned fraction of 30 bits; below zero 0, from 1.0 on 0x7FFFFFFF.
inline uint32_t flt_to_fix_1_30(float x) {
    return fixed::SignMask(std::bit_cast<uint32_t>(x)) != 0
               ? 0
               : fixed::Convert<fixed::Format{128, 127, 0x7FFFFFFF, 0}>(x);
}

/// A colour of 0.0 to 1.0 as an 8-bit channel; below zero 0, from 1.0 on 255.
inline uint32_t tointCol(float x) {
    return fixed::SignMask(std::bit_cast<uint32_t>(x)) != 0
               ? 0
               : fixed::Convert<fixed::Format{150, 127, 255, 0}>(x);
}

/// The integer part of a single in 1.0 to 2^24, with no check of the range. A shift count past 31
/// wraps as the processor's shift does.
inline int32_t float_to_int(float x) {
    const uint32_t bits = std::bit_cast<uint32_t>(x);
    const uint32_t mantissa = (bits & 0x7FFFFF) | 0x800000;
    return static_cast<int32_t>(mantissa) >> ((150 - (bits >> 23)) & 31);
}

/// Signed 2.30, rounded.
inline uint32_t float_to_fix_2_30(float x) {
    return fixed::RoundByUnit(x * 1073741824.0f);
}

/// Signed 11.21, rounded.
inline uint32_t float_to_fix_11_21(float x) {
    return fixed::RoundByUnit(x * 2097152.0f);
}

// One single to a pair of words: words[0] the signed integer part, words[1] 16 fraction bits in the
// top half.

/// 32-bit integer part.
KORV_INLINE void flt_to_fix_32_16(float x, uint32_t* words) {
    fixed::ConvertPair<fixed::PairFormat{158, 0x7FFFFFFF, 0xFFFF0000, 0x80000000, 0}>(x, words);
}

/// The same, for what is mostly below 32768.
KORV_INLINE void flt_to_fix_32_16_small(float x, uint32_t* words) {
    fixed::ConvertPair<fixed::PairFormat{158, 0x7FFFFFFF, 0xFFFF0000, 0x80000000, 0}, 15>(x, words);
}

/// 24-bit integer part.
inline void flt_to_fix_24_16(float x, uint32_t* words) {
    fixed::ConvertPair<fixed::PairFormat{151, 0xFFFFFF, 0xFFFF0000, 0xFF000000, 0}>(x, words);
}

// Colours of 0.0 to 1.0 a channel to one word in the chip's order, red in the low byte.

inline uint32_t fastRGBAPack(float r, float g, float b, float a) {
    return tointCol(r) | (tointCol(g) << 8) | (tointCol(b) << 16) | (tointCol(a) << 24);
}

/// Alpha is always 0xFF; the fourth argument is ignored.
inline uint32_t fastRGBNoAlphaPack(float r, float g, float b, float) {
    return tointCol(r) | (tointCol(g) << 8) | (tointCol(b) << 16) | 0xFF000000;
}
