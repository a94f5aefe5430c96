#pragma once
// What a textured triangle adds to the host set-up: the slopes of S, T and Q in texels, and
// specular light through the fog unit, as a chip of this kind has no other way for it.
#include "driver/raster/gl_groups.h"
#include "driver/raster/strength.h"
#include "driver/raster/texcoord.h"

#include <cstdint>
#include <type_traits>

namespace glint {

// One quantity at the sorted vertices.
template <class Real>
struct AtVertices {
    Real at[3];

    KORV_INLINE Real& operator[](uint32_t place) { return at[place]; }
    KORV_INLINE const Real& operator[](uint32_t place) const { return at[place]; }
};

template <class Real>
KORV_INLINE Slopes SlopesOfValues(const Setup<Real>& s, const AtVertices<Real>& p) {
    return SlopesOf<Real>(s, p[0] - p[2], p[1] - p[2]);
}

// Scales Q so that the largest is exactly 1.0, which fits the chip's 2.30 word, and multiplies u
// and v by it. Of equal ones the latest counts as the largest.
template <class Real>
KORV_INLINE void NormaliseQ(AtVertices<Real>& u, AtVertices<Real>& v, AtVertices<Real>& q) {
    const bool above01 = q[0] > q[1];
    const Real larger01 = above01 ? q[0] : q[1];
    const bool above2 = larger01 > q[2];
    const Real inverse = Real(1.0f) / (above2 ? larger01 : q[2]);
    const uint32_t largest = above2 ? uint32_t{!above01} : 2;
    AtVertices<Real> scaled = {q[0] * inverse, q[1] * inverse, q[2] * inverse};
    scaled[largest] = 1.0f;
#pragma GCC unroll 3
    for (uint32_t i = 0; i < 3; ++i) {
        q[i] = scaled[i];
        u[i] = u[i] * q[i];
        v[i] = v[i] * q[i];
    }
}

// Start and slopes of S or T.
template <class Real, bool kWaits>
KORV_INLINE void TexelWords(Output<kWaits>& out, const Setup<Real>& s, const AtVertices<Real>& p) {
    const Slopes slopes = SlopesOfValues(s, p);
    out.Word(flt_to_fix_12_20(p[0]));
    out.Word(flt_to_fix_12_20(slopes.dx));
    out.Word(flt_to_fix_12_20(slopes.dyDom));
}

template <bool kPerspective, bool kWaits>
[[gnu::noinline, gnu::cold]] Output<kWaits>
TextureGroupCarefully(Output<kWaits> out, Setup<Careful> s, uint32_t renderFlags);

template <bool kPerspective, class Real, bool kWaits>
KORV_INLINE void TextureGroup(Output<kWaits>& out, const Setup<Real>& s, uint32_t renderFlags) {
    const D3DContext* ctx = out.ctx;
    float tu[] = {s.v0->tu, s.v1->tu, s.v2->tu};
    float tv[] = {s.v0->tv, s.v1->tv, s.v2->tv};
    const bool farU = ReduceRange(tu, ctx->TextureRepeatU, ctx->TextureRepeatMaskU),
               farV = ReduceRange(tv, ctx->TextureRepeatV, ctx->TextureRepeatMaskV),
               far = farU | farV;
    if constexpr (kWideRegisters && std::is_same_v<Real, float>) {
        if (far) [[unlikely]] {
            out = TextureGroupCarefully<kPerspective>(
                out, {s.v0, s.v1, s.v2, s.row0, s.row1, s.row2, s.gradA, s.gradB, s.invHeight},
                renderFlags);
            return;
        }
    }
    if ((renderFlags & RF_WRAPU) != 0) {
        WrapTriangle(tu);
    }
    if ((renderFlags & RF_WRAPV) != 0) {
        WrapTriangle(tv);
    }
    AtVertices<Real> u = {tu[0], tu[1], tu[2]};
    AtVertices<Real> v = {tv[0], tv[1], tv[2]};
    AtVertices<Real> q = {s.v0->rhw, s.v1->rhw, s.v2->rhw};
    if constexpr (kPerspective) {
        NormaliseQ(u, v, q);
    }
#pragma GCC unroll 3
    for (uint32_t i = 0; i < 3; ++i) {
        u[i] = u[i] * ctx->TextureWidth;
        v[i] = v[i] * ctx->TextureHeight;
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

template <bool kPerspective, bool kWaits>
Output<kWaits> TextureGroupCarefully(Output<kWaits> out, Setup<Careful> s, uint32_t renderFlags) {
    TextureGroup<kPerspective>(out, s, renderFlags);
    return out;
}

// Specular as fog: what it leaves of the texture's own colour, 0.0 to 1.0. In flat shading the
// record's first vertex gives it for all three.
template <bool kGouraud, class Real, bool kWaits>
KORV_INLINE void SpecularFogGroup(Output<kWaits>& out, const Setup<Real>& s,
                                  const D3DTLVERTEX* first) {
    const D3DTLVERTEX* const from[] = {kGouraud ? s.v0 : first, kGouraud ? s.v1 : first,
                                       kGouraud ? s.v2 : first};
    const AtVertices<Real> f = {1.0f - SpecularStrength(from[0]->specular),
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
