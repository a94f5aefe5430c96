#pragma once
// Texture coordinates of a primitive for a chip with a setup unit. All of it works in temporaries.
#include "driver/raster/su_flags.h"
#include "driver/raster/su_vertex.h"
#include "driver/raster/texcoord.h"

namespace su {

// Scale from a texture's own coordinates to the chip's.
struct TextureScale {
    float u, v;

    // S, T and Q of a vertex with these coordinates. Q is rhw under perspective, else 1.0.
    template <class FlagSet>
    KORV_INLINE TexturePoint Place(float tu, float tv, const D3DTLVERTEX* vertex,
                                   FlagSet flags) const {
        const float s = u * tu;
        const float t = v * tv;
        if (!flags.Has(RF_PERSPECTIVE)) {
            return {s, t, std::bit_cast<uint32_t>(1.0f)};
        }
        return {Single(s) * vertex->rhw, Single(t) * vertex->rhw, BitsOf(vertex->rhw)};
    }
};

KORV_INLINE TextureScale ScaleOf(const D3DContext* ctx) {
    return {ctx->TextureWidthScale, ctx->TextureHeightScale};
}

// Of members for more than one family of chips: only the Permedias take scaled coordinates.
KORV_INLINE TextureScale ScaleOfFamily(const D3DContext* ctx) {
    return ctx->Driver->ChipInfo->Family == FamilyPermedia ? ScaleOf(ctx)
                                                           : TextureScale{1.0f, 1.0f};
}

// The coordinates of a triangle on both axes, on their way.
struct TriangleTexture {
    float u[3];
    float v[3];

    KORV_INLINE TriangleTexture(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c)
        : u{a->tu, b->tu, c->tu}, v{a->tv, b->tv, c->tv} {}

    KORV_INLINE void Reduce(const D3DContext* ctx) {
        ReduceRange(u, ctx->TextureRepeatU, ctx->TextureRepeatMaskU);
        ReduceRange(v, ctx->TextureRepeatV, ctx->TextureRepeatMaskV);
    }
    KORV_INLINE float U(const D3DTLVERTEX*, int corner) const { return u[corner]; }
    KORV_INLINE float V(const D3DTLVERTEX*, int corner) const { return v[corner]; }
    // Result: whether any coordinate moved.
    template <class FlagSet>
    KORV_INLINE bool Wrap(FlagSet flags) {
        bool moved = false;
        if (flags.HasAny(RF_WRAPU | RF_WRAPV)) {
            if (flags.Has(RF_WRAPU)) {
                moved |= WrapTriangle(u);
            }
            if (flags.Has(RF_WRAPV)) {
                moved |= WrapTriangle(v);
            }
        }
        return moved;
    }
};

// The same where they go out as they are: read only once they are wanted.
struct RawTexture {
    KORV_INLINE RawTexture(const D3DTLVERTEX*, const D3DTLVERTEX*, const D3DTLVERTEX*) {}
    KORV_INLINE float U(const D3DTLVERTEX* vertex, int) const { return vertex->tu; }
    KORV_INLINE float V(const D3DTLVERTEX* vertex, int) const { return vertex->tv; }
};

} // namespace su
