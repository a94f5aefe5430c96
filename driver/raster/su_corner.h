#pragma once
// Vertices with texture words, as members that do not share vertices between primitives send them.
//
// A form tells what such a member puts in a vertex. It has
//   kMask      the words of its burst: X, Y, Z, then any of S, T and Q, Ks, F;
//   kFog       whether real fog goes along, as fixed-point words;
//   Colour()   what a vertex's colour words are made from;
//   Strength() the Ks or F word from a vertex's specular.
#include "driver/raster/su_colour.h"
#include "driver/raster/su_texture.h"

#include <bit>

namespace su {

// A vertex with what was worked out for it.
struct Corner {
    const D3DTLVERTEX* vertex;
    TexturePoint texture;
    float strength; // Ks or F
};

template <uint32_t kMask>
inline constexpr uint32_t kBurstWords = 1 + std::popcount(kMask);

template <uint32_t kMask, bool kWaits>
KORV_INLINE void LoadCorner(Output<kWaits>& out, uint32_t slot, const Corner& corner) {
    out.Word(FloatHeader(kMask) + slot);
    if constexpr ((kMask & words::STQ) != 0) {
        PutSTQ(out, corner.texture);
    }
    if constexpr ((kMask & (words::Ks | words::F)) != 0) {
        out.Float(corner.strength);
    }
    PutXYZ(out, corner.vertex);
}

} // namespace su
