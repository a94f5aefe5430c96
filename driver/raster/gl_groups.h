#pragma once
// The word groups of the host set-up: colour, depth, fog, and the walk along the edges.
#include "driver/raster/d3dfix.h"
#include "driver/raster/flt2fix.h"
#include "driver/raster/gamma.h"
#include "driver/raster/gl_slopes.h"
#include "driver/raster/output.h"
#include "driver/raster/reciprocal.h"
#include "driver/raster/single.h"

#include <cstdint>

namespace glint {

using namespace raster;

// The 9.15 word of a whole channel, the same as D3Dflt_to_fix_9_15 gives.
KORV_INLINE uint32_t ColourStart(uint32_t channel) {
    return channel << 15;
}

// The 2.22 word of a whole fog value, the same as D3Dflt_to_fix_2_22 gives.
KORV_INLINE uint32_t FogStart(uint32_t fog) {
    return fog << 14;
}

// A colour whose channels are read as bytes where it lies in memory.
using ColourBytes = const uint8_t*;

KORV_INLINE ColourBytes BytesOf(const D3DCOLOR& colour) {
    return reinterpret_cast<ColourBytes>(&colour);
}

// Channels of a vertex colour as they are sent; those that modulate a texture through gammaTable.
template <bool kGamma>
KORV_INLINE uint32_t Red(ColourBytes colour) {
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.UndefReturn): a byte of a whole word
    return kGamma ? gammaTable[colour[2]].red : colour[2];
}
template <bool kGamma>
KORV_INLINE uint32_t Green(ColourBytes colour) {
    return kGamma ? gammaTable[colour[1]].green : colour[1];
}
template <bool kGamma>
KORV_INLINE uint32_t Blue(ColourBytes colour) {
    return kGamma ? gammaTable[colour[0]].blue : colour[0];
}
KORV_INLINE uint32_t Alpha(ColourBytes colour) {
    return colour[3];
}
template <bool kGamma>
KORV_INLINE bool IsGrey(ColourBytes colour) {
    const uint32_t blue = Blue<kGamma>(colour);
    return blue == Green<kGamma>(colour) && blue == Red<kGamma>(colour);
}

// Result: the word of the step down the long edge.
template <class Real, bool kWaits>
KORV_INLINE uint32_t ColourChannel(Output<kWaits>& out, const Setup<Real>& s, uint32_t p0,
                                   uint32_t p1, uint32_t p2) {
    const Slopes slopes = SlopesOfBytes(s, p0, p1, p2);
    const uint32_t dyDom = D3Dflt_to_fix_9_15(slopes.dyDom);
    out.Word(ColourStart(p0));
    out.Word(D3Dflt_to_fix_9_15(slopes.dx));
    out.Word(dyDom);
    return dyDom;
}

template <bool kGamma, class Real, bool kWaits>
KORV_INLINE void GouraudGroup(Output<kWaits>& out, const Setup<Real>& s, bool blend, ColourBytes c0,
                              ColourBytes c1, ColourBytes c2) {
    // Decided ahead of blending: under grey the alpha registers keep the last triangle's words.
    const bool alpha = blend && !(IsGrey<kGamma>(c0) && IsGrey<kGamma>(c1) && IsGrey<kGamma>(c2));
    out.Wait(alpha ? 13 : 10);
    out.Word(alpha ? burst::ColourRGBA : burst::ColourRGB);
    ColourChannel(out, s, Red<kGamma>(c0), Red<kGamma>(c1), Red<kGamma>(c2));
    ColourChannel(out, s, Green<kGamma>(c0), Green<kGamma>(c1), Green<kGamma>(c2));
    const uint32_t blueDyDom =
        ColourChannel(out, s, Blue<kGamma>(c0), Blue<kGamma>(c1), Blue<kGamma>(c2));
    if (alpha) {
        const uint32_t keep = out.ctx->BlendForcesZeroAlpha == 1 ? 0 : 0xFF;
        const uint32_t a0 = Alpha(c0) & keep;
        const Slopes slopes = SlopesOfBytes(s, a0, Alpha(c1) & keep, Alpha(c2) & keep);
        out.Word(ColourStart(a0));
        out.Word(D3Dflt_to_fix_9_15(slopes.dx));
        // Alpha takes blue's step down the long edge.
        out.Word(blueDyDom);
    }
}

template <bool kWaits>
KORV_INLINE void DepthPair(Output<kWaits>& out, float value) {
    uint32_t pair[2];
    flt_to_fix_32_16(value, pair);
    out.Word(pair[0]);
    out.Word(pair[1]);
}

template <bool kWaits>
KORV_INLINE void DepthStep(Output<kWaits>& out, float value) {
    uint32_t pair[2];
    flt_to_fix_32_16_small(value, pair);
    out.Word(pair[0]);
    out.Word(pair[1]);
}

template <class Real, bool kWaits>
KORV_INLINE void DepthGroup(Output<kWaits>& out, const Setup<Real>& s) {
    constexpr float kDepthScale = 65535.0f;
    const Real z0 = Real(s.v0->sz) * kDepthScale;
    const Real z1 = Real(s.v1->sz) * kDepthScale;
    const Real z2 = Real(s.v2->sz) * kDepthScale;
    const Slopes slopes = SlopesOf<Real>(s, z0 - z2, z1 - z2);
    out.Wait(7);
    out.Word(burst::Depth);
    DepthPair(out, z0);
    DepthStep(out, slopes.dx);
    DepthStep(out, slopes.dyDom);
}

// Fog is the top byte of specular, whatever else specular is used for.
template <class Real, bool kWaits>
KORV_INLINE void FogGroup(Output<kWaits>& out, const Setup<Real>& s) {
    const uint32_t f0 = Alpha(BytesOf(s.v0->specular));
    const Slopes slopes =
        SlopesOfBytes(s, f0, Alpha(BytesOf(s.v1->specular)), Alpha(BytesOf(s.v2->specular)));
    out.Wait(4);
    out.Word(burst::Fog);
    out.Word(FogStart(f0));
    out.Word(D3Dflt_to_fix_2_22(slopes.dx));
    out.Word(D3Dflt_to_fix_2_22(slopes.dyDom));
}

// The walk: upwards from the row above the bottom vertex, along the long edge, with the other two
// edges one after the other.
template <class Real, bool kWaits>
KORV_INLINE void EdgeGroup(Output<kWaits>& out, const Setup<Real>& s, uint32_t renderWord) {
    constexpr uint32_t kOneRow = 0x10000;
    constexpr uint32_t kRowUp = 0 - kOneRow;
    const uint32_t x0 = EncodeX(s.v0->sx);
    const uint32_t startY = (s.row0 << 16) - kOneRow;
    const uint32_t dXDom = flt_to_fix_16_16(s.invHeight * (Real(s.v0->sx) - s.v2->sx));

    const auto trapezoid = [&](uint32_t startXSub, uint32_t rows, Real dx)
        __attribute__((always_inline)) {
        out.Wait(9);
        out.Word(burst::Trapezoid);
        out.Word(x0);
        out.Word(dXDom);
        out.Word(startXSub);
        out.Word(flt_to_fix_16_16(NegativeReciprocal(rows) * dx));
        out.Word(startY);
        out.Word(kRowUp);
        out.Word(rows);
        out.Word(renderWord);
    };

    if (s.row1 == s.row0) { // flat bottom
        trapezoid(EncodeX(s.v1->sx), s.row1 - s.row2, Real(s.v1->sx) - s.v2->sx);
        return;
    }
    trapezoid(x0, s.row0 - s.row1, Real(s.v0->sx) - s.v1->sx);
    if (s.row1 != s.row2) {
        const uint32_t rows = s.row1 - s.row2;
        out.Wait(4);
        out.Word(burst::NextSubEdge);
        out.Word(EncodeX(s.v1->sx));
        out.Word(flt_to_fix_16_16(NegativeReciprocal(rows) * (Real(s.v1->sx) - s.v2->sx)));
        out.Word(rows);
    }
}

} // namespace glint
