#pragma once
// What the host decides about a triangle before it is set up or sent: its facing, and whether it is
// too small to be worth it. Nothing here writes to a vertex.
#include "driver/core/records/d3d_context.h"
#include "driver/raster/inline.h"
#include "driver/raster/single.h"

#include <bit>
#include <cstdint>

namespace raster {

// Twice the area on the screen, positive or negative by the order of the vertices.
template <class Real>
KORV_INLINE Real DeterminantOf(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c) {
    return (Real(b->sy) - c->sy) * (Real(a->sx) - c->sx) -
           (Real(a->sy) - c->sy) * (Real(b->sx) - c->sx);
}

// Whether |det| lies in 2^-20 to 2^60. A product that has left the range of singles on the way to
// it was too small to matter.
KORV_INLINE bool IsUsualArea(float det) {
    constexpr uint32_t kLow = 107, kHigh = 187; // biased exponents
    const uint32_t magnitude = std::bit_cast<uint32_t>(det) << 1;
    return magnitude - (kLow << 24) < (kHigh - kLow) << 24;
}

// The bits of coordinates of which one may lie beyond 2^65, or else below 2.0.
inline constexpr uint32_t kUnusualPlace = 0x20000000;

[[gnu::noinline, gnu::cold]] inline float
DeterminantCarefully(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c) {
    return DeterminantOf<Careful>(a, b, c);
}

KORV_INLINE float Determinant(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c) {
    const float det = Single(DeterminantOf<float>(a, b, c));
    if constexpr (kWideRegisters) {
        const uint32_t places = BitsOf(a->sx) | BitsOf(a->sy) | BitsOf(b->sx) | BitsOf(b->sy) |
                                BitsOf(c->sx) | BitsOf(c->sy);
        if ((places & kUnusualPlace) != 0 || !IsUsualArea(det)) [[unlikely]] {
            return DeterminantCarefully(a, b, c);
        }
    }
    return det;
}

// The cull tests. Active() is false while nothing can be dropped, and then Drops() is not asked.

// By the sign bit of the determinant, so that an area of zero survives one direction.
struct SignCull {
    uint32_t mode;
    uint32_t sign; // flipped into the determinant: what is then negative goes

    explicit SignCull(const D3DContext* ctx) : mode(ctx->CullMode), sign(ctx->CullSignB) {}
    KORV_INLINE bool Active() const { return mode != D3DCULL_NONE; }
    KORV_INLINE bool Drops(float det) const { return static_cast<int32_t>(Turned(det)) < 0; }
    // The determinant's bits, sign bit clear for a side that is kept.
    KORV_INLINE uint32_t Turned(float det) const { return std::bit_cast<uint32_t>(det) ^ sign; }
};

// By comparison, so that an area of zero is dropped either way.
struct CompareCull {
    uint32_t mode;
    uint32_t gate; // the sign bit, while anything can be dropped
    uint32_t turn; // flipped into the determinant: what is then negative goes

    explicit CompareCull(const D3DContext* ctx)
        : mode(ctx->CullMode), gate(Active() ? 0x80000000 : 0),
          turn(mode == D3DCULL_CCW ? 0 : 0x80000000) {}
    KORV_INLINE bool Active() const { return mode != D3DCULL_NONE; }
    KORV_INLINE bool Drops(float det) const {
        return mode == D3DCULL_CCW ? det <= 0.0f : !(det < 0.0f);
    }
    // The same for a determinant that is neither zero nor NaN, and false while not active.
    KORV_INLINE bool DropsBySign(float det) const {
        return ((std::bit_cast<uint32_t>(det) ^ turn) & gate) != 0;
    }
};

// True for three values that round to one whole number, 0 to 2^23.
KORV_INLINE bool RoundAlike(float p, float q, float r) {
    constexpr float kNoFraction = 8388608.0f;
    const uint32_t first = std::bit_cast<uint32_t>(p + kNoFraction);
    return first == std::bit_cast<uint32_t>(q + kNoFraction) &&
           first == std::bit_cast<uint32_t>(r + kNoFraction);
}

// True for a triangle within one row or one column of pixels that is also tiny. `turned` is as from
// SignCull; a set sign bit means that the test does not apply.
KORV_INLINE bool IsSliver(uint32_t turned, const D3DTLVERTEX* a, const D3DTLVERTEX* b,
                          const D3DTLVERTEX* c) {
    constexpr uint32_t kTiny = std::bit_cast<uint32_t>(3.0f);
    return turned < kTiny && (RoundAlike(a->sy, b->sy, c->sy) || RoundAlike(a->sx, b->sx, c->sx));
}

} // namespace raster
