#pragma once
// Triangle set-up for a chip with no setup unit: the one template behind all triangle members that
// work out every start and slope on the host.
//
// Per triangle: snap, cull, sort, one divide, then the word groups of the member in a fixed order:
// colour, depth, texture, fog, stipple, edges. Position and FIFO credit stay in locals.
#include "driver/raster/gl_groups.h"
#include "driver/raster/gl_tex_slopes.h"

#include <cstdint>

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

template <TriangleTraits kTraits, bool kWaits>
void TriangleBatch(D3DContext* ctx, const D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                   const void* records) {
    constexpr bool kTextured = kTraits.texture != Texture::None;
    const uint32_t renderFlags = ctx->RenderFlags;
    const uint32_t cullMode = ctx->CullMode;
    uint32_t renderWord = kTraits.blockFill ? BlockFillWord(ctx) : ctx->RenderCommand | kTrapezoid;
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
        const uint32_t rows[] = {SnapY(a->sy), SnapY(b->sy), SnapY(c->sy)};
        if (rows[0] == rows[1] && rows[0] == rows[2]) {
            continue;
        }

        const float det = (a->sx - c->sx) * (b->sy - c->sy) - (a->sy - c->sy) * (b->sx - c->sx);
        if (cullMode != D3DCULL_NONE && (cullMode == D3DCULL_CCW ? det <= 0.0f : !(det < 0.0f))) {
            continue;
        }

        D3DTLVERTEX* const corners[] = {a, b, c};
        const RowOrder& order = kRowOrders[CompareRows(rows[0], rows[1], rows[2])];
        Setup s;
        s.v0 = corners[order.place[0]];
        s.v1 = corners[order.place[1]];
        s.v2 = corners[order.place[2]];
        s.row0 = rows[order.place[0]];
        s.row1 = rows[order.place[1]];
        s.row2 = rows[order.place[2]];
        const float inverse = InverseArea(det, order.oddSwaps);
        s.gradA = inverse * (s.v0->sy - s.v2->sy);
        s.gradB = inverse * (s.v1->sy - s.v2->sy);
        s.invHeight = NegativeReciprocal(s.row0 - s.row2);

        out.Reserve(kTriangleBytes);
        const bool specular = (renderFlags & RF_SPECULAR) != 0;
        if constexpr (kTraits.gouraud) {
            D3DCOLOR c0 = s.v0->color;
            D3DCOLOR c1 = s.v1->color;
            D3DCOLOR c2 = s.v2->color;
            if (!kTextured && specular) {
                c0 = SpecularAdd(c0, s.v0->specular);
                c1 = SpecularAdd(c1, s.v1->specular);
                c2 = SpecularAdd(c2, s.v2->specular);
            }
            GouraudGroup<kTextured>(out, s, (renderFlags & RF_BLEND) != 0, c0, c1, c2);
        } else if constexpr (!kTraits.depthOnly) {
            // Flat colour is the record's first vertex's, not the bottom one's.
            const D3DCOLOR colour =
                specular && !kTextured ? SpecularAdd(a->color, a->specular) : a->color;
            out.Wait(2);
            if constexpr (kTraits.blockFill) {
                out.Tag(tag::FBBlockColor, FlatPack(colour, ctx->BytesPerPixel));
            } else {
                out.Tag(tag::ConstantColor, ExchangeRedBlue(colour));
            }
        }
        if constexpr (kTraits.depth) {
            DepthGroup(out, s);
        }
        if constexpr (kTextured) {
            TextureGroup<kTraits.texture == Texture::Perspective>(out, s, renderFlags);
        }
        if (kTextured && specular) {
            SpecularFogGroup<kTraits.gouraud>(out, s, a);
        } else if constexpr (kTraits.fog) {
            FogGroup(out, s);
        }
        if (!kTraits.depthOnly && (renderFlags & RF_STIPPLEDALPHA) != 0) {
            // By the bottom vertex, and by its own colour, without specular.
            StippleGroup(out, s.v0->color);
            renderWord = field::Render_AreaStipple.Put(renderWord, 1);
        }
        EdgeGroup(out, s, renderWord);
        out.Store();
    } while (--left != 0);

    if constexpr (kTraits.blockFill) {
        SetColorDDAMode(out, ctx->Copies.ColorDDAMode);
    }
}

// One member: decides once a batch whether FIFO space is waited for.
template <TriangleTraits kTraits>
void Triangles(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        TriangleBatch<kTraits, true>(ctx, ins, vertices, records);
    } else {
        TriangleBatch<kTraits, false>(ctx, ins, vertices, records);
    }
}

} // namespace glint
