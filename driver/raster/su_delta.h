#pragma once
// What a Delta setup unit is given, as the templates of su_*.h ask for it.
#include "driver/raster/cull.h"
#include "driver/raster/gamma.h"
#include "driver/raster/su_corner.h"

namespace su {

// Colour words of a vertex, a fixed-point number with 8 integer bits at bit 22 for each channel.
// Alpha goes along under blending only.
struct FixedColour {
    uint32_t mask; // of alpha, cleared where blending wants it 0
    bool alpha;

    explicit FixedColour(const D3DContext* ctx)
        : mask(PackedColour(ctx).mask), alpha((ctx->RenderFlags & RF_BLEND) != 0) {}

    KORV_INLINE D3DCOLOR Full(D3DCOLOR colour) const { return colour & mask; }
    KORV_INLINE D3DCOLOR Continued(D3DCOLOR colour) const { return colour & mask; }

    KORV_INLINE uint32_t Entries() const { return alpha ? 5 : 4; }
    // Less than the words.
    KORV_INLINE uint32_t TriangleEntries() const { return alpha ? 9 : 6; }

    template <bool kWaits>
    KORV_INLINE void Load(Output<kWaits>& out, uint32_t slot, D3DCOLOR colour) const {
        constexpr uint32_t kRGB = 7 << place::R;
        constexpr uint32_t kRGBA = 15 << place::R;
        out.Word(FixedHeader(alpha ? kRGBA : kRGB) + slot);
        out.Word((colour & 0xFF0000) << 6);
        out.Word((colour & 0xFF00) << 14);
        out.Word((colour & 0xFF) << 22);
        if (alpha) {
            out.Word((colour >> 2) & 0x3FC00000);
        }
    }
    template <bool kWaits>
    KORV_INLINE void Continue(Output<kWaits>& out, uint32_t slot, D3DCOLOR colour) const {
        Load(out, slot, colour);
    }
};

struct Delta {
    using Cull = CompareCull;
    using Colour = FixedColour;
    // FIFO entries that a full triangle waits for: less than its words for the vertices.
    static constexpr uint32_t kVertexEntries = 6;
    static constexpr uint32_t kPairEntries = 2;
    // The line unit draws nothing between ends on one pixel.
    static constexpr bool kLengthensDots = true;

    static TextureScale Scale(const D3DContext* ctx) { return ScaleOfFamily(ctx); }
};

// The block fill waits for less.
struct DeltaFlat : Delta {
    static constexpr uint32_t kPairEntries = 1;
};

// Untextured wires and points: the host adds specular light.
struct DeltaPlain {
    static constexpr uint32_t kMask = words::XYZ;
    static constexpr bool kFog = true;

    template <class FlagSet>
    KORV_INLINE static D3DCOLOR Colour(const D3DTLVERTEX* vertex, FlagSet flags) {
        return Lit(vertex, flags);
    }
};

// L of a vertex, 0 while specular is off.
template <class FlagSet>
KORV_INLINE float StrengthIf(const D3DTLVERTEX* vertex, FlagSet flags) {
    return flags.Has(RF_SPECULAR) ? SpecularStrength(vertex->specular) : 0.0f;
}

// Textured, with real fog and no specular light.
struct DeltaFogged {
    static constexpr uint32_t kMask = words::XYZ | words::STQ;
    static constexpr bool kFog = true;

    template <class FlagSet>
    KORV_INLINE static D3DCOLOR Colour(const D3DTLVERTEX* vertex, FlagSet) {
        return GammaCorrect(vertex->color);
    }
    template <class FlagSet>
    KORV_INLINE static float Strength(const D3DTLVERTEX*, FlagSet) {
        return 0.0f;
    }
};

// Specular light through the fog unit, in place of fog.
struct DeltaFogSpecular : DeltaFogged {
    static constexpr uint32_t kMask = DeltaFogged::kMask | words::F;
    static constexpr bool kFog = false;
    static constexpr uint32_t kStrength = words::F;

    template <class FlagSet>
    KORV_INLINE static float Strength(const D3DTLVERTEX* vertex, FlagSet flags) {
        return 1.0f - StrengthIf(vertex, flags);
    }
};

// Specular light as Ks, on chips that have it. These take colours as they are.
struct DeltaSpecular {
    static constexpr uint32_t kMask = words::XYZ | words::STQ | words::Ks;
    static constexpr bool kFog = true;
    static constexpr uint32_t kStrength = words::Ks;

    template <class FlagSet>
    KORV_INLINE static D3DCOLOR Colour(const D3DTLVERTEX* vertex, FlagSet) {
        return vertex->color;
    }
    template <class FlagSet>
    KORV_INLINE static float Strength(const D3DTLVERTEX* vertex, FlagSet flags) {
        return StrengthIf(vertex, flags);
    }
};

} // namespace su
