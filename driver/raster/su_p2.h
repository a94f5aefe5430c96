#pragma once
// What the setup unit of Permedia 2 is given, as the templates of su_*.h ask for it.
#include "driver/raster/cull.h"
#include "driver/raster/su_corner.h"

namespace su {

struct P2 {
    using Cull = SignCull;
    using Colour = PackedColour;
    // FIFO entries of a full triangle, less than its words.
    static constexpr uint32_t kVertexEntries = 9;
    static constexpr uint32_t kPairEntries = 1;
    static constexpr bool kLengthensDots = false;

    static TextureScale Scale(const D3DContext* ctx) { return ScaleOf(ctx); }
};

// Untextured wires and points.
struct P2Plain {
    static constexpr uint32_t kMask = words::XYZ;
    static constexpr bool kFog = true;

    template <class FlagSet>
    KORV_INLINE static D3DCOLOR Colour(const D3DTLVERTEX* vertex, FlagSet flags) {
        return Lit(vertex, flags);
    }
};

// Textured wires and lines. Wires carry Ks whether specular light is on or not, and have it added
// to their colours too.
struct P2Textured : P2Plain {
    static constexpr uint32_t kMask = words::XYZ | words::STQ | words::Ks;
    static constexpr uint32_t kStrength = words::Ks;

    template <class FlagSet>
    KORV_INLINE static float Strength(const D3DTLVERTEX* vertex, FlagSet) {
        return SpecularStrength(vertex->specular);
    }
};

} // namespace su
