#pragma once
// The textured triangles of a Delta setup unit, and their mip-mapped relatives.
//
// Per triangle: cull, bring the texture coordinates into range and wrap them, then vertices, fog,
// stipple, colours and the draw word. On a strip's continuation only the third vertex goes.
#include "driver/raster/su_delta.h"
#include "driver/raster/su_mip.h"
#include "driver/raster/su_tri.h"
#include "driver/raster/su_wire.h"

namespace su {

// The word groups of such a triangle. A form is one as in su_corner.h.
template <class Form, bool kWaits, class FlagSet>
struct DeltaTextured {
    FlagSet flags;
    uint32_t drawWord;
    FixedColour colours;
    TextureScale scale;
    Output<kWaits> out;

    DeltaTextured(D3DContext* ctx, FlagSet known)
        : flags(known), drawWord(TriangleWord(ctx, known)), colours(ctx),
          scale(ScaleOfFamily(ctx)), out{ctx, nullptr, nullptr, 0} {
        out.Load();
    }

    KORV_INLINE TriangleTexture Place(const D3DTLVERTEX* a, const D3DTLVERTEX* b,
                                      const D3DTLVERTEX* c) const {
        TriangleTexture texture(a, b, c);
        texture.Reduce(out.ctx);
        texture.Wrap(flags);
        return texture;
    }
    // In flat shading the first vertex's specular counts for all.
    KORV_INLINE void Vertex(uint32_t slot, const TriangleTexture& texture, int corner,
                            const D3DTLVERTEX* vertex, const D3DTLVERTEX* first) {
        const D3DTLVERTEX* const lit = flags.Has(RF_GOURAUD) ? vertex : first;
        out.Wait(kBurstWords<Form::kMask>);
        LoadCorner<Form::kMask>(out, slot,
                                {vertex,
                                 scale.Place(texture.u[corner], texture.v[corner], vertex, flags),
                                 Form::Strength(lit, flags)});
    }
    KORV_INLINE void Fog(uint32_t slot, const D3DTLVERTEX* vertex) {
        if (Form::kFog && flags.Has(RF_FOG)) {
            out.Wait(2);
            LoadFog(out, slot, vertex);
        }
    }
    KORV_INLINE void Stipple(const D3DTLVERTEX* first) {
        if (flags.Has(RF_STIPPLEDALPHA)) {
            StippleGroup(out, first->color);
        }
    }
    KORV_INLINE void SmoothColour(uint32_t slot, const D3DTLVERTEX* vertex) {
        out.Wait(colours.Entries());
        colours.Load(out, slot, colours.Full(Form::Colour(vertex, flags)));
    }
    KORV_INLINE void FlatColour(const D3DTLVERTEX* first) {
        out.Wait(2);
        out.Tag(tag::ConstantColor, ExchangeRedBlue(colours.Full(Form::Colour(first, flags))));
    }
    KORV_INLINE void Draw() {
        out.Wait(2);
        out.Tag(tag::DrawTriangle, drawWord);
    }

    // Whole triangle; space is reserved.
    KORV_INLINE void Full(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c) {
        const TriangleTexture texture = Place(a, b, c);
        Vertex(kSlot0, texture, 0, a, a);
        Vertex(kSlot1, texture, 1, b, a);
        Vertex(kSlot2, texture, 2, c, a);
        Fog(kSlot0, a);
        Fog(kSlot1, b);
        Fog(kSlot2, c);
        Stipple(a);
        if (flags.Has(RF_GOURAUD)) {
            SmoothColour(kSlot0, a);
            SmoothColour(kSlot1, b);
            SmoothColour(kSlot2, c);
        } else {
            FlatColour(a);
        }
        Draw();
    }
    // All three coordinates decide where c's go, though the others are in the chip as they were.
    KORV_INLINE void Next(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c,
                          uint32_t slot) {
        Vertex(slot, Place(a, b, c), 2, c, a);
        Fog(slot, c);
        Stipple(a);
        if (flags.Has(RF_GOURAUD)) {
            SmoothColour(slot, c);
        } else {
            FlatColour(a);
        }
        Draw();
    }
};

template <class Form, bool kWaits, class FlagSet>
[[gnu::noinline]] void DeltaStripBatch(D3DContext* ctx, const D3DINSTRUCTION* ins,
                                       const D3DTLVERTEX* vertices, const void* records,
                                       FlagSet flags) {
    DeltaTextured<Form, kWaits, FlagSet> groups(ctx, flags);
    WalkStrips(
        CompareCull(ctx), ins, vertices, records,
        [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c)
            __attribute__((always_inline)) {
                groups.out.Reserve(kTriangleBytes);
                groups.Full(a, b, c);
            },
        [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c, uint32_t slot)
            __attribute__((always_inline)) {
                groups.out.Reserve(kTriangleBytes);
                groups.Next(a, b, c, slot);
            });
    groups.out.Store();
}

// Every triangle whole, at a level of its own.
template <class Form, bool kWaits, class FlagSet>
[[gnu::noinline]] void DeltaMipBatch(D3DContext* ctx, const D3DINSTRUCTION* ins,
                                     const D3DTLVERTEX* vertices, const void* records,
                                     FlagSet flags) {
    DeltaTextured<Form, kWaits, FlagSet> groups(ctx, flags);
    const TextureRecord* const texture = ctx->CurrentTexture;
    const uint32_t levels = LevelsOf(texture);
    CurrentLevel level;
    WalkTriangles(
        CompareCull(ctx), ins, vertices, records,
        [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c, uint32_t)
            __attribute__((always_inline)) {
                groups.out.Reserve(kTriangleBytes);
                const float det = Determinant(a, b, c);
                const float texels = __builtin_fabsf(TexelArea(a, b, c, texture->TexelCount));
                // The determinant's sign bit goes along and sends its triangle to the first
                // level or the last.
                const int32_t wanted =
                    LevelFor(std::bit_cast<uint32_t>(texels), std::bit_cast<uint32_t>(det), levels);
                if (level.Change(groups.out, texture, wanted)) {
                    const TextureLevel& to = texture->Levels[wanted];
                    groups.scale = {to.WidthScale, to.HeightScale};
                }
                groups.Full(a, b, c);
            });
    groups.out.Store();
}

// Shading and perspective are known while a batch is drawn under DMA.
inline constexpr uint32_t kDeltaKnownFlags = RF_GOURAUD | RF_PERSPECTIVE;

template <class Form>
KORV_INLINE void DeltaTexturedTriangles(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                        void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        DeltaStripBatch<Form, true>(ctx, ins, vertices, records, LiveFlags{ctx->RenderFlags});
        return;
    }
    WithKnownFlags<kDeltaKnownFlags>(ctx->RenderFlags, [=](auto flags) {
        DeltaStripBatch<Form, false>(ctx, ins, vertices, records, flags);
    });
}

template <class Form>
KORV_INLINE void DeltaMipTriangles(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                   void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        DeltaMipBatch<Form, true>(ctx, ins, vertices, records, LiveFlags{ctx->RenderFlags});
        return;
    }
    WithKnownFlags<kDeltaKnownFlags>(ctx->RenderFlags, [=](auto flags) {
        DeltaMipBatch<Form, false>(ctx, ins, vertices, records, flags);
    });
}

} // namespace su
