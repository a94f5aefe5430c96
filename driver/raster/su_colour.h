#pragma once
// Colour of vertices in the vertex store, as one packed word each.
//
// A form of colour words has: Full() and Continued(), what becomes of a colour that is sent with
// its whole primitive, and of one on a strip's continuation; Load() and Continue(), a slot's words
// then; Entries(), FIFO entries of either; TriangleEntries(), those that a full triangle waits for.
#include "driver/raster/su_flags.h"
#include "driver/raster/su_vertex.h"

namespace su {

// What a vertex's colour words are made from, where the host adds specular light.
template <class FlagSet>
KORV_INLINE D3DCOLOR Lit(const D3DTLVERTEX* vertex, FlagSet flags) {
    return flags.Has(RF_SPECULAR) ? SpecularAdd(vertex->color, vertex->specular) : vertex->color;
}

struct PackedColour {
    uint32_t mask; // of alpha, cleared where blending wants it 0

    explicit PackedColour(const D3DContext* ctx)
        : mask((ctx->RenderFlags & RF_BLEND) != 0 && ctx->BlendForcesZeroAlpha == 1 ? 0xFFFFFF
                                                                                    : 0xFFFFFFFF) {}

    KORV_INLINE D3DCOLOR Full(D3DCOLOR colour) const { return colour & mask; }
    // A continuation keeps its vertex's alpha.
    KORV_INLINE D3DCOLOR Continued(D3DCOLOR colour) const { return colour; }

    KORV_INLINE uint32_t Entries() const { return 2; }
    KORV_INLINE uint32_t TriangleEntries() const { return 3; }

    template <bool kWaits>
    KORV_INLINE void Load(Output<kWaits>& out, uint32_t slot, D3DCOLOR colour) const {
        out.Word(FixedHeader(words::Colour) + slot);
        out.Word(colour);
    }
    // The float group takes the same word.
    template <bool kWaits>
    KORV_INLINE void Continue(Output<kWaits>& out, uint32_t slot, D3DCOLOR colour) const {
        out.Word(FloatHeader(words::Colour) + slot);
        out.Word(colour);
    }
};

} // namespace su
