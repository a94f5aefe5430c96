#pragma once
// The setup unit's vertex store: three slots, each a group of fixed-point and a group of float
// words. A vertex is one indexed burst into its slot.
#include "driver/raster/output.h"
#include "driver/raster/single.h"
#include "driver/raster/strength.h"

#include <cstdint>

namespace su {

using namespace raster;

// A slot is known by what it adds to a tag or a burst's header.
inline constexpr uint32_t kSlot0 = 0x00;
inline constexpr uint32_t kSlot1 = 0x10;
inline constexpr uint32_t kSlot2 = 0x20;

// Places of the words in a group.
namespace place {
inline constexpr uint32_t S = 0;
inline constexpr uint32_t T = 1;
inline constexpr uint32_t Q = 2;
inline constexpr uint32_t Ks = 3;
inline constexpr uint32_t R = 5; // to A at 8
inline constexpr uint32_t F = 9;
inline constexpr uint32_t X = 10;
inline constexpr uint32_t Y = 11;
inline constexpr uint32_t Z = 12;
inline constexpr uint32_t Colour = 14;
} // namespace place

// Masks of a group's words.
namespace words {
inline constexpr uint32_t XY = 1 << place::X | 1 << place::Y;
inline constexpr uint32_t XYZ = XY | 1 << place::Z;
inline constexpr uint32_t STQ = 1 << place::S | 1 << place::T | 1 << place::Q;
inline constexpr uint32_t Ks = 1 << place::Ks;
inline constexpr uint32_t F = 1 << place::F;
inline constexpr uint32_t Colour = 1 << place::Colour;
} // namespace words

// Header of a burst into slot 0; a slot is added.
constexpr uint32_t FloatHeader(uint32_t mask) {
    return IndexedTag(tag::V0Float, mask);
}
constexpr uint32_t FixedHeader(uint32_t mask) {
    return IndexedTag(tag::V0Fixed, mask);
}

// Texture coordinates as they go out.
struct TexturePoint {
    float s, t;
    uint32_t q; // bits
};

template <bool kWaits>
KORV_INLINE void PutXY(Output<kWaits>& out, const D3DTLVERTEX* vertex) {
    out.Word(BitsOf(vertex->sx));
    out.Word(BitsOf(vertex->sy));
}

template <bool kWaits>
KORV_INLINE void PutXYZ(Output<kWaits>& out, const D3DTLVERTEX* vertex) {
    PutXY(out, vertex);
    out.Word(BitsOf(vertex->sz));
}

template <bool kWaits>
KORV_INLINE void PutSTQ(Output<kWaits>& out, const TexturePoint& point) {
    out.Float(point.s);
    out.Float(point.t);
    out.Word(point.q);
}

// Position alone, header included.
template <bool kWaits>
KORV_INLINE void LoadXY(Output<kWaits>& out, uint32_t slot, const D3DTLVERTEX* vertex) {
    out.Word(FloatHeader(words::XY) + slot);
    PutXY(out, vertex);
}

template <bool kWaits>
KORV_INLINE void LoadXYZ(Output<kWaits>& out, uint32_t slot, const D3DTLVERTEX* vertex) {
    out.Word(FloatHeader(words::XYZ) + slot);
    PutXYZ(out, vertex);
}

// Fog as a fixed-point word: the top byte of specular, 256 standing for 1.0.
template <bool kWaits>
KORV_INLINE void LoadFog(Output<kWaits>& out, uint32_t slot, const D3DTLVERTEX* vertex) {
    out.Tag(tag::V0Fixed + place::F + slot, (vertex->specular >> 10) & 0x3FC000);
}

// Fog as a float word: all of specular as a fraction of 2^32, so that its top byte counts most.
KORV_INLINE float FloatFog(const D3DTLVERTEX* vertex) {
    const float whole = Single(static_cast<float>(vertex->specular));
    return whole * 2.3283064e-10f;
}

} // namespace su
