#pragma once
// The patched layout: within bands of 32 rows the low bits of x and y are interleaved, so that
// neighbours in any direction lie near each other.
#include <array>
#include <cstdint>

namespace board {

inline constexpr uint32_t kPatchRows = 32;
inline constexpr uint32_t kPatchColumns = 16;

namespace patch {

// Bit n of the value at bit 2n + `first`.
constexpr uint16_t Spread(uint32_t value, uint32_t first) {
    uint32_t spread = 0;
    for (uint32_t bit = 0; bit < 5; ++bit) {
        spread |= (value >> bit & 1) << (2 * bit + first);
    }
    return static_cast<uint16_t>(spread);
}

template <uint32_t Count>
constexpr std::array<uint16_t, Count> SpreadTable(uint32_t first) {
    std::array<uint16_t, Count> table{};
    for (uint32_t i = 0; i < Count; ++i) {
        table[i] = Spread(i, first);
    }
    return table;
}

inline constexpr auto kColumns = SpreadTable<kPatchColumns>(1);
inline constexpr auto kRows = SpreadTable<kPatchRows>(0);

} // namespace patch

// Offset in elements of (x, y) in a patched surface `pitch` elements wide, a multiple of 16. From
// bit 0 up: y0 x0 y1 x1 y2 x2 y3 x3 y4, then the rest of x; bands of 32 rows follow each other. It
// grows with x in a row. An element is a pixel, but two pixels of 4 bits.
constexpr int64_t PatchedOffset(int64_t x, int64_t y, int64_t pitch) {
    const int64_t row = y & (kPatchRows - 1);
    return (y - row) * pitch + (x >> 4) * (kPatchRows * kPatchColumns) +
           patch::kColumns[static_cast<size_t>(x & (kPatchColumns - 1))] +
           patch::kRows[static_cast<size_t>(row)];
}

} // namespace board
