#pragma once
// Untextured triangles for a chip with a setup unit: raw vertices and a draw word, one vertex only
// where the record continues a strip.
//
// A chip is a type with Cull and Colour, the forms of its cull test (cull.h) and of its colour
// words (su_colour.h), and the FIFO entries that a full triangle waits for: kVertexEntries for its
// vertices, kPairEntries for each plain pair.
#include "driver/raster/su_colour.h"
#include "driver/raster/su_flags.h"
#include "driver/raster/su_strip.h"

namespace su {

// Worst case of one triangle, in bytes.
inline constexpr uint32_t kTriangleBytes = 512;

// Stippled alpha keeps the stipple on for the whole batch.
template <class FlagSet>
KORV_INLINE uint32_t TriangleWord(const D3DContext* ctx, FlagSet flags) {
    const uint32_t word = ctx->RenderCommand | kTrapezoid;
    return flags.Has(RF_STIPPLEDALPHA) ? field::Render_AreaStipple.Put(word, 1) : word;
}

// X, Y, Z, fog and colour.
template <class Chip, bool kWaits, class FlagSet>
[[gnu::noinline]] void TriangleBatch(D3DContext* ctx, const D3DINSTRUCTION* ins,
                                     const D3DTLVERTEX* vertices, const void* records,
                                     FlagSet flags) {
    const uint32_t drawWord = TriangleWord(ctx, flags);
    const typename Chip::Colour colours(ctx);
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();

    const auto full = [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c)
        __attribute__((always_inline)) {
        out.Reserve(kTriangleBytes);
        if (flags.Has(RF_FOG)) {
            out.Wait(3);
            LoadFog(out, kSlot0, a);
            LoadFog(out, kSlot1, b);
            LoadFog(out, kSlot2, c);
        }
        out.Wait(Chip::kVertexEntries);
        LoadXYZ(out, kSlot0, a);
        LoadXYZ(out, kSlot1, b);
        LoadXYZ(out, kSlot2, c);
        if (flags.Has(RF_STIPPLEDALPHA)) {
            StippleGroup(out, a->color);
        }
        if (flags.Has(RF_GOURAUD)) {
            out.Wait(colours.TriangleEntries());
            colours.Load(out, kSlot0, colours.Full(Lit(a, flags)));
            colours.Load(out, kSlot1, colours.Full(Lit(b, flags)));
            colours.Load(out, kSlot2, colours.Full(Lit(c, flags)));
        } else {
            out.Wait(Chip::kPairEntries);
            out.Tag(tag::ConstantColor, ExchangeRedBlue(colours.Full(Lit(a, flags))));
        }
        out.Wait(Chip::kPairEntries);
        out.Tag(tag::DrawTriangle, drawWord);
    };
    const auto next = [&](const D3DTLVERTEX* a, const D3DTLVERTEX*, const D3DTLVERTEX* c,
                          uint32_t slot) __attribute__((always_inline)) {
        out.Reserve(kTriangleBytes);
        if (flags.Has(RF_FOG)) {
            out.Wait(2);
            LoadFog(out, slot, c);
        }
        out.Wait(4);
        LoadXYZ(out, slot, c);
        if (flags.Has(RF_STIPPLEDALPHA)) {
            StippleGroup(out, a->color);
        }
        if (flags.Has(RF_GOURAUD)) {
            out.Wait(colours.Entries());
            colours.Continue(out, slot, colours.Continued(Lit(c, flags)));
        } else {
            out.Wait(2);
            out.Tag(tag::ConstantColor, ExchangeRedBlue(colours.Continued(Lit(a, flags))));
        }
        out.Wait(2);
        out.Tag(tag::DrawTriangle, drawWord);
    };
    WalkStrips(typename Chip::Cull(ctx), ins, vertices, records, full, next);
    out.Store();
}

template <class Chip>
KORV_INLINE void Triangles(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        TriangleBatch<Chip, true>(ctx, ins, vertices, records, LiveFlags{ctx->RenderFlags});
        return;
    }
    constexpr uint32_t kKnown = RF_GOURAUD | RF_FOG | RF_SPECULAR;
    WithKnownFlags<kKnown>(ctx->RenderFlags, [=](auto flags) {
        TriangleBatch<Chip, false>(ctx, ins, vertices, records, flags);
    });
}

// X and Y in one colour, by the block fill, which needs the colour unit off during the batch.
// FlatColour is constructed from the context and gives the word of a triangle's first vertex.
template <class Chip, class FlatColour, bool kWaits>
[[gnu::noinline]] void FlatBatch(D3DContext* ctx, const D3DINSTRUCTION* ins,
                                 const D3DTLVERTEX* vertices, const void* records) {
    const uint32_t drawWord = BlockFillWord(ctx);
    const FlatColour colour(ctx);
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();
    SetColorDDAMode(out, 0);

    const auto draw = [&](const D3DTLVERTEX* a, uint32_t pairEntries)
        __attribute__((always_inline)) {
        out.Wait(pairEntries);
        out.Tag(tag::FBBlockColor, colour.Word(a));
        out.Wait(pairEntries);
        out.Tag(tag::DrawTriangle, drawWord);
    };
    const auto full = [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c)
        __attribute__((always_inline)) {
        out.Reserve(kTriangleBytes);
        out.Wait(6);
        LoadXY(out, kSlot0, a);
        LoadXY(out, kSlot1, b);
        LoadXY(out, kSlot2, c);
        draw(a, Chip::kPairEntries);
    };
    const auto next = [&](const D3DTLVERTEX* a, const D3DTLVERTEX*, const D3DTLVERTEX* c,
                          uint32_t slot) __attribute__((always_inline)) {
        out.Reserve(kTriangleBytes);
        out.Wait(3);
        LoadXY(out, slot, c);
        draw(a, 2);
    };
    WalkStrips(typename Chip::Cull(ctx), ins, vertices, records, full, next);
    SetColorDDAMode(out, ctx->Copies.ColorDDAMode);
}

template <class Chip, class FlatColour>
KORV_INLINE void FlatTriangles(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                               void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        FlatBatch<Chip, FlatColour, true>(ctx, ins, vertices, records);
    } else {
        FlatBatch<Chip, FlatColour, false>(ctx, ins, vertices, records);
    }
}

// As the frame buffer holds it, with the specular add.
struct PackedFlatColour {
    uint32_t bytesPerPixel;
    bool lit;

    explicit PackedFlatColour(const D3DContext* ctx)
        : bytesPerPixel(ctx->BytesPerPixel), lit((ctx->RenderFlags & RF_SPECULAR) != 0) {}
    KORV_INLINE uint32_t Word(const D3DTLVERTEX* vertex) const {
        return FlatPack(lit ? SpecularAdd(vertex->color, vertex->specular) : vertex->color,
                        bytesPerPixel);
    }
};

} // namespace su
