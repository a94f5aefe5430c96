#pragma once
// The plane of a triangle on a chip with no setup unit: its vertices in the order of their rows,
// and from that the steps of any quantity over it.
#include "driver/platform/d3dhal.h"
#include "driver/raster/inline.h"
#include "driver/raster/single.h"

#include <array>
#include <bit>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace glint {

// A triangle ready to be interpolated: vertex 0 is the bottom one, vertex 2 the top one. Real is
// `float` where the triangle and what goes over it are known to be usual (gl_setup.h).
template <class Real>
struct Setup {
    D3DTLVERTEX* v0;
    D3DTLVERTEX* v1;
    D3DTLVERTEX* v2;
    uint32_t row0, row1, row2;
    Real gradA, gradB; // of the plane, per pixel
    float invHeight;   // -1 / rows of the long edge
};

// Steps of a quantity per pixel from the long edge towards the other two, and per row up along the
// long edge.
struct Slopes {
    float dx;
    float dyDom;
};

// From the differences of the quantity at vertices 0 and 1 to that at vertex 2.
template <class Real>
KORV_INLINE Slopes SlopesOf(const Setup<Real>& setup, Real d02, Real d12) {
    const Real along = d02 * setup.gradB;
    const Real across = d12 * setup.gradA;
    return {along - across, d02 * setup.invHeight};
}

// Each byte as a float: looked up in less time than it takes to get a number into the unit.
inline constexpr auto kFloatOfByte = [] {
    std::array<float, 256> floats{};
    for (int i = 0; i < 256; ++i) {
        floats[static_cast<size_t>(i)] = static_cast<float>(i);
    }
    return floats;
}();

// Of a quantity in bytes, such as a colour channel.
template <class Real>
KORV_INLINE Slopes SlopesOfBytes(const Setup<Real>& setup, uint32_t p0, uint32_t p1, uint32_t p2) {
    return SlopesOf<Real>(setup, kFloatOfByte[p0] - kFloatOfByte[p2],
                          kFloatOfByte[p1] - kFloatOfByte[p2]);
}

// Which vertex of the record comes in which place from the bottom row to the top one, and whether
// that took an odd number of swaps.
struct RowOrder {
    uint32_t place[3];
    uint32_t oddSwaps;
};

// One more bit of an index: whether `p` is below `q`.
KORV_INLINE constexpr uint32_t AppendBelow(uint32_t index, uint32_t p, uint32_t q) {
#ifdef __i386__
    if (!std::is_constant_evaluated()) {
        // The comparison's carry goes in; of four the compiler would make chains, and a branch.
        asm("cmpl %2, %1\n\tadcl %0, %0" : "+r"(index) : "r"(p), "rm"(q) : "cc");
        return index;
    }
#endif
    return index * 2 + uint32_t{p < q};
}

// How the rows compare, as an index of kRowOrders.
KORV_INLINE constexpr uint32_t CompareRows(uint32_t row0, uint32_t row1, uint32_t row2) {
    uint32_t index = AppendBelow(0, row0, row1);
    index = AppendBelow(index, row1, row0);
    index = AppendBelow(index, row0, row2);
    return AppendBelow(index, row1, row2);
}

// Three strict swaps, so that equal rows mostly stay in record order; X never breaks a tie.
constexpr RowOrder SortByRow(const uint32_t (&row)[3]) {
    RowOrder order{{0, 1, 2}, 0};
    constexpr uint32_t kPairs[][2] = {{0, 1}, {0, 2}, {1, 2}};
    for (const auto& [low, high] : kPairs) {
        if (row[order.place[low]] < row[order.place[high]]) {
            std::swap(order.place[low], order.place[high]);
            order.oddSwaps ^= 1;
        }
    }
    return order;
}

// A table, as no branch could be predicted.
inline constexpr auto kRowOrders = [] {
    std::array<RowOrder, 16> orders{};
    for (uint32_t rows = 0; rows < 27; ++rows) {
        const uint32_t row[3] = {rows / 9, rows / 3 % 3, rows % 3};
        orders[CompareRows(row[0], row[1], row[2])] = SortByRow(row);
    }
    return orders;
}();

// What stands for -1/|det| with a `det` of zero or NaN. Its sign, changed for an odd number of
// swaps, decides that of the infinity, and with NaN that of the result.
template <class Real>
KORV_INLINE Real InverseOfNone(float det, uint32_t oddSwaps) {
    return Real(-1.0f) / std::bit_cast<float>(std::bit_cast<uint32_t>(det) ^ (oddSwaps << 31));
}

} // namespace glint
