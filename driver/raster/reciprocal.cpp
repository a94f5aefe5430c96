#include "driver/raster/reciprocal.h"

#include <bit>

namespace {

constexpr uint64_t kDecimalScale = 10'000'000'000;

// The nearest single, ties to even, to -decimals / 10^10, for decimals from 1 to 10^10.
constexpr float NegativeDecimal(uint64_t decimals) {
    // Scaled to a quotient of 24 bits; the dividend stays below 2^24 * 10^10, within 64 bits.
    uint32_t exponent = 127 + 23;
    while (decimals < (kDecimalScale << 23)) {
        decimals <<= 1;
        --exponent;
    }
    uint64_t mantissa = decimals / kDecimalScale;
    const uint64_t twiceRest = (decimals % kDecimalScale) * 2;
    if (twiceRest > kDecimalScale || (twiceRest == kDecimalScale && (mantissa & 1) != 0)) {
        ++mantissa; // a carry out of the mantissa moves the exponent on, as the fields adjoin
    }
    const uint32_t magnitude = (exponent << 23) + static_cast<uint32_t>(mantissa - (1u << 23));
    return std::bit_cast<float>(0x80000000u | magnitude);
}

constexpr std::array<float, kMaxHeight + 1> NegativeReciprocals() {
    std::array<float, kMaxHeight + 1> table{};
    for (uint32_t n = 1; n <= kMaxHeight; ++n) {
        table[n] = NegativeDecimal((2 * kDecimalScale + n) / (2 * n)); // halves away from zero
    }
    return table;
}

} // namespace

constexpr std::array<float, kMaxHeight + 1> reciprocalTable = NegativeReciprocals();
