#pragma once
// Accumulators of the pipeline: 64-bit fixed point that wraps instead of overflowing, so that
// absurd slopes give absurd pixels and nothing worse.
#include <cstdint>

namespace board {

constexpr int64_t WrapAdd(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

constexpr int64_t WrapMultiply(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

// True if a number is the same as a signed 32-bit word.
constexpr bool FitsWord(int64_t value) {
    return value == static_cast<int32_t>(value);
}

// 0 if a number is the same as a signed 32-bit word: for asking of several at once.
constexpr uint32_t BeyondWord(int64_t value) {
    return static_cast<uint32_t>(value >> 32) ^
           static_cast<uint32_t>(static_cast<int32_t>(value) >> 31);
}

// Product of two numbers that fit 32-bit words.
constexpr int64_t MultiplyWords(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<int32_t>(a)) * static_cast<int32_t>(b);
}

// Signed value of a register word.
constexpr int64_t Signed(uint32_t word) {
    return static_cast<int32_t>(word);
}

// 1.0 in the 16.16 format of coordinates.
inline constexpr int64_t kOnePixel = 0x10000;

// Fraction bits of the quantities that vary over a primitive.
inline constexpr uint32_t kColourFractionBits = 15;
inline constexpr uint32_t kFogFractionBits = 22;
inline constexpr uint32_t kDepthFractionBits = 16;
inline constexpr uint32_t kTexelFractionBits = 20;
inline constexpr uint32_t kGlintTexelFractionBits = 21; // without perspective
inline constexpr uint32_t kQFractionBits = 30;          // and S, T on TX and MX with perspective
inline constexpr uint32_t kKsFractionBits = 22;
inline constexpr uint32_t kWeightBits = 8; // of the weights that mix texels and levels

} // namespace board
