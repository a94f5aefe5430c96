#pragma once
// What a textured triangle adds to the host set-up: the slopes of S, T and Q in texels, and
// specular light through the fog unit, as a chip of this kind has no other way for it.
#include "driver/raster/gl_groups.h"
#include "driver/raster/strength.h"
#include "driver/raster/texcoord.h"

#include <cstdint>

namespace glint {

// One quantity at the sorted vertices.
using AtVertices = float[3];

KORV_INLINE Slopes SlopesOfValues(const Setup& s, const AtVertices& p) {
    const float d02 = p[0] - p[2];
    const float d12 = p[1] - p[2];
    return SlopesOf(s, d02, d12);
}

// Scales Q so that the largest is exactly 1.0, which fits the chip's 2.30 word, and multiplies u
// and v by it. Of equal ones the latest counts as the largest.
KORV_INLINE void NormaliseQ(AtVertices& u, AtVertices& v, AtVertices& q) {
    const bool above01 = q[0] > q[1];
    const float larger01 = above01 ? q[0] : q[1];
    const bool above2 = larger01 > q[2];
    const float inverse = 1.0f / (above2 ? larger01 : q[2]);
    const uint32_t largest = above2 ? uint32_t{!above01} : 2;
    float scaled[] = {q[0] * inverse, q[1] * inverse, q[2] * inverse};
    scaled[largest] = 1.0f;
#pragma GCC unroll 3
    for (uint32_t i = 0; i < 3; ++i) {
        q[i] = scaled[i];
        u[i] *= q[i];
        v[i] *= q[i];
    }
}

// Start and slopes of S or T.
template <bool kWaits>
KORV_INLINE void TexelWords(Output<kWaits>& out, const Setup& s, const AtVertices& p) {
    const Slopes slopes = SlopesOfValues(s, p);
    out.Word(flt_to_fix_12_20(p[0]));
    out.Word(flt_to_fix_12_20(slopes.dx));
    out.Word(flt_to_fix_12_20(slopes.dyDom));
}

template <bool kPerspective, bool kWaits>
KORV_INLINE void TextureGroup(Output<kWaits>& out, const Setup& s, uint32_t renderFlags) {
    const D3DContext* ctx = out.ctx;
    AtVertices u = {s.v0->tu, s.v1->tu, s.v2->tu};
    AtVertices v = {s.v0->tv, s.v1->tv, s.v2->tv};
    ReduceRange(u, ctx->TextureRepeatU, ctx->TextureRepeatMaskU);
    ReduceRange(v, ctx->TextureRepeatV, ctx->TextureRepeatMaskV);
    if ((renderFlags & RF_WRAPU) != 0) {
        WrapTriangle(u);
    }
    if ((renderFlags & RF_WRAPV) != 0) {
        WrapTriangle(v);
    }
    AtVertices q = {s.v0->rhw, s.v1->rhw, s.v2->rhw};
    if constexpr (kPerspective) {
        NormaliseQ(u, v, q);
    }
#pragma GCC unroll 3
    for (uint32_t i = 0; i < 3; ++i) {
        u[i] *= ctx->TextureWidth;
        v[i] *= ctx->TextureHeight;
    }
    out.Wait(kPerspective ? 10 : 7);
    out.Word(kPerspective ? burst::TextureSTQ : burst::TextureST);
    TexelWords(out, s, u);
    TexelWords(out, s, v);
    if constexpr (kPerspective) {
        const Slopes slopes = SlopesOfValues(s, q);
        out.Word(float_to_fix_2_30(q[0]));
        out.Word(float_to_fix_2_30(slopes.dx));
        out.Word(float_to_fix_2_30(slopes.dyDom));
    }
}

// Specular as fog: what it leaves of the texture's own colour, 0.0 to 1.0. In flat shading the
// record's first vertex gives it for all three.
template <bool kGouraud, bool kWaits>
KORV_INLINE void SpecularFogGroup(Output<kWaits>& out, const Setup& s, const D3DTLVERTEX* first) {
    const D3DTLVERTEX* const from[] = {kGouraud ? s.v0 : first, kGouraud ? s.v1 : first,
                                       kGouraud ? s.v2 : first};
    const AtVertices f = {1.0f - SpecularStrength(from[0]->specular),
                          1.0f - SpecularStrength(from[1]->specular),
                          1.0f - SpecularStrength(from[2]->specular)};
    const Slopes slopes = SlopesOfValues(s, f);
    out.Wait(4);
    out.Word(burst::Fog);
    out.Word(flt_to_fix_2_22(f[0]));
    out.Word(flt_to_fix_2_22(slopes.dx));
    out.Word(flt_to_fix_2_22(slopes.dyDom));
}

} // namespace glint
