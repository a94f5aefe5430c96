#pragma once
// Triangle set-up for a chip with no setup unit: the one template behind all triangle members that
// work out every start and slope on the host.
//
// Per triangle: snap, cull, sort, one divide, then the word groups of the member in a fixed order:
// colour, depth, texture, fog, stipple, edges. Position and FIFO credit stay in locals.
//
// Where registers are wider than singles (single.h) a triangle is told to be usual by integer tests
// on its bits, and drawn without a thought of ranges. X, depth and Q are bounded then, and
// gradients lie in 2^-60 to 2^45, so that nothing overflows; what is too small for a single makes a
// word of 0 all the same. Other triangles take the careful form of the same template, and so does
// every triangle where FIFO space is waited for.
#include "driver/raster/cull.h"
#include "driver/raster/gl_groups.h"
#include "driver/raster/gl_tex_slopes.h"
#include "driver/raster/single.h"

#include <bit>
#include <cstdint>
#include <type_traits>

namespace glint {

enum class Texture { None, Affine, Perspective };

// What a member interpolates and sends.
struct TriangleTraits {
    bool depth = false;
    bool gouraud = false;
    // A textured member sends fog only while specular does not take the fog unit.
    bool fog = false;
    Texture texture = Texture::None;
    // Colour goes to the block-fill register, which needs the colour unit off during the batch.
    bool blockFill = false;
    // Nothing but depth matters: neither colour nor stipple goes.
    bool depthOnly = false;
};

// Worst case of one triangle, in bytes.
inline constexpr uint32_t kTriangleBytes = 512;

// A record's vertices with their rows, not all alike.
struct Corners {
    D3DTLVERTEX* vertex[3];
    uint32_t row[3];
};

// What a batch's triangles have in common.
struct BatchState {
    uint32_t renderFlags;
    uint32_t renderWord;
};

KORV_INLINE const RowOrder& OrderOf(const Corners& corners) {
    return kRowOrders[CompareRows(corners.row[0], corners.row[1], corners.row[2])];
}

// Sets up one triangle that the cull test keeps, and sends it. `inverse` is -1/|determinant|;
// kLit: specular light is added to the colours of a triangle without texture.
template <TriangleTraits kTraits, bool kLit, class Real, bool kWaits>
KORV_INLINE void DrawTriangle(Output<kWaits>& out, const Corners& corners, const RowOrder& order,
                              Real inverse, const BatchState& state) {
    constexpr bool kTextured = kTraits.texture != Texture::None;
    Setup<Real> s = {corners.vertex[order.place[0]],
                     corners.vertex[order.place[1]],
                     corners.vertex[order.place[2]],
                     corners.row[order.place[0]],
                     corners.row[order.place[1]],
                     corners.row[order.place[2]],
                     0.0f,
                     0.0f,
                     0.0f};

    s.gradA = inverse * (Real(s.v0->sy) - s.v2->sy);
    s.gradB = inverse * (Real(s.v1->sy) - s.v2->sy);
    s.invHeight = NegativeReciprocal(s.row0 - s.row2);

    out.Reserve(kTriangleBytes);
    const D3DTLVERTEX* const first = corners.vertex[0];

    const bool blend = (state.renderFlags & RF_BLEND) != 0;
    if constexpr (kTraits.gouraud) {
        if constexpr (kLit) {
            const D3DCOLOR lit[] = {SpecularAdd(s.v0->color, s.v0->specular),
                                    SpecularAdd(s.v1->color, s.v1->specular),
                                    SpecularAdd(s.v2->color, s.v2->specular)};
            GouraudGroup<kTextured>(out, s, blend, BytesOf(lit[0]), BytesOf(lit[1]),
                                    BytesOf(lit[2]));
        } else {
            GouraudGroup<kTextured>(out, s, blend, BytesOf(s.v0->color), BytesOf(s.v1->color),
                                    BytesOf(s.v2->color));
        }
    } else if constexpr (!kTraits.depthOnly) {
        // Flat colour is the record's first vertex's, not the bottom one's.
        const D3DCOLOR colour = kLit ? SpecularAdd(first->color, first->specular) : first->color;
        out.Wait(2);
        if constexpr (kTraits.blockFill) {
            out.Tag(tag::FBBlockColor, FlatPack(colour, out.ctx->BytesPerPixel));
        } else {
            out.Tag(tag::ConstantColor, ExchangeRedBlue(colour));
        }
    }
    if constexpr (kTraits.depth) {
        DepthGroup(out, s);
    }
    if constexpr (kTextured) {
        TextureGroup<kTraits.texture == Texture::Perspective>(out, s, state.renderFlags);
    }
    if (kTextured && (state.renderFlags & RF_SPECULAR) != 0) {
        SpecularFogGroup<kTraits.gouraud>(out, s, first);
    } else if constexpr (kTraits.fog) {
        FogGroup(out, s);
    }
    if (!kTraits.depthOnly && (state.renderFlags & RF_STIPPLEDALPHA) != 0) {
        // By the bottom vertex, and by its own colour, without specular.
        StippleGroup(out, s.v0->color);
    }
    EdgeGroup(out, s, state.renderWord);
}

// Whether all depths are below 2.0 either way.
KORV_INLINE bool IsUsualDepth(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c) {
    return ((BitsOf(a->sz) | BitsOf(b->sz) | BitsOf(c->sz)) & 0x40000000) == 0;
}

// SnapYShifted() of row 0.
inline constexpr uint32_t kRowZero = std::bit_cast<uint32_t>(8388608.0f);

// Whether X is 0 or more and below 2^17, in a way that the bits of all three tell together: what is
// above 0 and below 2.0 does not count. `rowBits` are those in which SnapYShifted() of any differs
// from that of row 0; rows are below 2^25 then.
KORV_INLINE bool AreUsualPlaces(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c,
                                uint32_t rowBits) {
    return (((BitsOf(a->sx) | BitsOf(b->sx) | BitsOf(c->sx)) & 0xB8000000) |
            (rowBits & ~kRowMask)) == 0;
}

// Whether every Q is positive and the largest lies in 2^-60 to 2^60.
KORV_INLINE bool IsUsualQ(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c) {
    const auto q0 = static_cast<int32_t>(BitsOf(a->rhw));
    const auto q1 = static_cast<int32_t>(BitsOf(b->rhw));
    const auto q2 = static_cast<int32_t>(BitsOf(c->rhw));
    int32_t most = q0 > q1 ? q0 : q1;
    most = most > q2 ? most : q2;
    constexpr uint32_t kLow = 67u << 23, kHigh = 187u << 23;
    return (q0 | q1 | q2) >= 0 && static_cast<uint32_t>(most) - kLow < kHigh - kLow;
}

// Decides about one triangle and draws it, whatever its numbers. The rows are as from
// SnapYShifted().
template <TriangleTraits kTraits, bool kLit, class Real, bool kWaits>
KORV_INLINE void CullAndDraw(Output<kWaits>& out, const Corners& shifted, const CompareCull& cull,
                             const BatchState& state) {
    const Corners corners = {
        {shifted.vertex[0], shifted.vertex[1], shifted.vertex[2]},
        {shifted.row[0] & kRowMask, shifted.row[1] & kRowMask, shifted.row[2] & kRowMask}};
    if (((corners.row[0] ^ corners.row[1]) | (corners.row[0] ^ corners.row[2])) == 0) {
        return;
    }
    const float det = DeterminantOf<Real>(corners.vertex[0], corners.vertex[1], corners.vertex[2]);
    const RowOrder& order = OrderOf(corners);
    Real inverse = 0.0f;
    if (__builtin_fabsf(det) > 0.0f) [[likely]] {
        if (cull.DropsBySign(det)) {
            return;
        }
        inverse = Real(-1.0f) / __builtin_fabsf(det);
    } else {
        if (cull.Active() && cull.Drops(det)) {
            return;
        }
        inverse = InverseOfNone<Real>(det, order.oddSwaps);
    }
    DrawTriangle<kTraits, kLit, Real>(out, corners, order, inverse, state);
}

// The same out of the way.
template <TriangleTraits kTraits, bool kLit, bool kWaits>
[[gnu::noinline, gnu::cold]] Output<kWaits> DrawCarefully(Output<kWaits> out, Corners corners,
                                                          CompareCull cull, BatchState state) {
    CullAndDraw<kTraits, kLit, Careful>(out, corners, cull, state);
    return out;
}

template <TriangleTraits kTraits, bool kLit, bool kWaits>
void TriangleBatch(D3DContext* ctx, const D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                   const void* records) {
    const CompareCull cull(ctx);
    BatchState state = {ctx->RenderFlags,
                        kTraits.blockFill ? BlockFillWord(ctx) : ctx->RenderCommand | kTrapezoid};
    if (!kTraits.depthOnly && (state.renderFlags & RF_STIPPLEDALPHA) != 0) {
        state.renderWord = field::Render_AreaStipple.Put(state.renderWord, 1);
    }
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();
    if constexpr (kTraits.blockFill) {
        SetColorDDAMode(out, 0);
    }

    const auto* record = static_cast<const uint8_t*>(records);
    const uint32_t recordBytes = ins->bSize;
    uint32_t left = ins->wCount;
    do {
        const auto* triangle = reinterpret_cast<const D3DTRIANGLE*>(record);
        record += recordBytes;
        D3DTLVERTEX* const a = vertices + triangle->v1;
        D3DTLVERTEX* const b = vertices + triangle->v2;
        D3DTLVERTEX* const c = vertices + triangle->v3;
        const uint32_t shifted[] = {SnapYShifted(a->sy), SnapYShifted(b->sy), SnapYShifted(c->sy)};
        if constexpr (kWideRegisters && !kWaits) {
            const uint32_t differing = (shifted[0] ^ shifted[1]) | (shifted[0] ^ shifted[2]);
            if (differing == 0) {
                continue;
            }
            // Above their rows all three are the same, which neither differences nor shifts see.
            const Corners corners = {{a, b, c}, {shifted[0], shifted[1], shifted[2]}};
            const float det = Single(DeterminantOf<float>(a, b, c));
            if (!(AreUsualPlaces(a, b, c, differing | (shifted[0] ^ kRowZero)) &&
                  IsUsualArea(det) && (!kTraits.depth || IsUsualDepth(a, b, c)) &&
                  (kTraits.texture != Texture::Perspective || IsUsualQ(a, b, c)))) [[unlikely]] {
                out = DrawCarefully<kTraits, kLit>(out, corners, cull, state);
            } else if (!cull.DropsBySign(det)) {
                const float inverse = -1.0f / __builtin_fabsf(det);
                DrawTriangle<kTraits, kLit, float>(out, corners, OrderOf(corners), inverse, state);
            }
        } else {
            using Real = std::conditional_t<kWideRegisters, Careful, float>;
            CullAndDraw<kTraits, kLit, Real>(out, {{a, b, c}, {shifted[0], shifted[1], shifted[2]}},
                                             cull, state);
        }
    } while (--left != 0);

    if constexpr (kTraits.blockFill) {
        SetColorDDAMode(out, ctx->Copies.ColorDDAMode);
    } else {
        out.Store();
    }
}

// One member: decides once a batch whether FIFO space is waited for, and light added.
template <TriangleTraits kTraits>
void Triangles(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    constexpr bool kMayBeLit = kTraits.texture == Texture::None && !kTraits.depthOnly;
    const bool lit = kMayBeLit && (ctx->RenderFlags & RF_SPECULAR) != 0;
    const bool waits = NeedsFIFOWaits(ctx->Stream);
    const auto batch =
        lit ? (waits ? TriangleBatch<kTraits, kMayBeLit, true>
                     : TriangleBatch<kTraits, kMayBeLit, false>)
            : (waits ? TriangleBatch<kTraits, false, true> : TriangleBatch<kTraits, false, false>);
    batch(ctx, ins, vertices, records);
}

} // namespace glint
