#pragma once
// Lines for a chip with a setup unit.
//
// A chip is a type as in su_tri.h, with kLengthensDots: a line whose ends fall on one pixel is
// drawn one pixel long. A form has
//   kStrength  the word that specular light takes in a textured vertex, Ks or F;
//   Strength() that word from a vertex's specular.
#include "driver/raster/flt2fix.h"
#include "driver/raster/su_corner.h"

namespace su {

KORV_INLINE bool OnOnePixel(const D3DTLVERTEX* a, const D3DTLVERTEX* b) {
    return fixed::RoundByUnit(a->sx) == fixed::RoundByUnit(b->sx) &&
           fixed::RoundByUnit(a->sy) == fixed::RoundByUnit(b->sy);
}

inline constexpr uint32_t kLineBytes = 512; // worst case of one line

// Line drawing of the rasteriser, switched on around a batch.
inline constexpr uint32_t kRasteriseLines = 0x20;

template <class Chip, class Form, bool kWaits>
[[gnu::noinline]] void LineBatch(D3DContext* ctx, const D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                 const void* records) {
    const LiveFlags flags{ctx->RenderFlags};
    const bool textured = flags.Has(RF_TEXTURE);
    const bool specular = flags.Has(RF_SPECULAR);
    const uint32_t drawWord =
        field::Render_ResetLineStipple.Put(ctx->RenderCommand & ~kTrapezoid, 1);
    const typename Chip::Colour colours(ctx);
    const TextureScale scale = ScaleOfFamily(ctx);
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();
    SetRasterizerMode(out, kRasteriseLines);

    const auto load = [&](uint32_t slot, const Corner& corner) {
        constexpr uint32_t kTextured = words::XYZ | words::STQ;
        if (!textured) {
            out.Wait(kBurstWords<words::XYZ>);
            LoadCorner<words::XYZ>(out, slot, corner);
        } else if (!specular) {
            out.Wait(kBurstWords<kTextured>);
            LoadCorner<kTextured>(out, slot, corner);
        } else {
            out.Wait(kBurstWords<kTextured | Form::kStrength>);
            LoadCorner<kTextured | Form::kStrength>(out, slot, corner);
        }
    };

    const auto* record = static_cast<const uint8_t*>(records);
    const uint32_t recordBytes = ins->bSize;
    int32_t left = ins->wCount;
    do {
        const auto* line = reinterpret_cast<const D3DLINE*>(record);
        record += recordBytes;
        D3DTLVERTEX* const a = vertices + line->v1;
        D3DTLVERTEX* const b = vertices + line->v2;
        const D3DVALUE startY = a->sy;
        if constexpr (Chip::kLengthensDots) {
            if (OnOnePixel(a, b)) {
                a->sy = startY - 1.0f; // for as long as the line is sent
            }
        }
        Corner ends[] = {{a, {}, 0.0f}, {b, {}, 0.0f}};
        if (textured) {
            float u[] = {a->tu, b->tu};
            float v[] = {a->tv, b->tv};
            if (flags.Has(RF_WRAPU)) {
                WrapLine(u[0], u[1]);
            }
            if (flags.Has(RF_WRAPV)) {
                WrapLine(v[0], v[1]);
            }
            for (int i = 0; i < 2; ++i) {
                Corner& end = ends[i];
                end.texture = scale.Place(u[i], v[i], end.vertex, flags);
                end.strength = Form::Strength(end.vertex, flags);
            }
        }
        out.Reserve(kLineBytes);
        load(kSlot0, ends[0]);
        load(kSlot1, ends[1]);
        if (flags.Has(RF_FOG)) {
            out.Wait(4);
            LoadFog(out, kSlot0, a);
            LoadFog(out, kSlot1, b);
        }
        // Specular light is never added to a line's colours.
        if (flags.Has(RF_GOURAUD)) {
            out.Wait(2 * colours.Entries());
            colours.Load(out, kSlot0, colours.Full(a->color));
            colours.Load(out, kSlot1, colours.Full(b->color));
        } else {
            out.Wait(2);
            out.Tag(tag::ConstantColor, ExchangeRedBlue(colours.Full(a->color)));
        }
        out.Wait(2);
        out.Tag(tag::DrawLine01, drawWord);
        if (flags.Has(RF_LASTPIXEL)) {
            out.Wait(2);
            out.Tag(tag::ContinueNewLine, 1);
        }
        if constexpr (Chip::kLengthensDots) {
            a->sy = startY;
        }
    } while (--left > 0);
    SetRasterizerMode(out, 0);
}

template <class Chip, class Form>
KORV_INLINE void Lines(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        LineBatch<Chip, Form, true>(ctx, ins, vertices, records);
    } else {
        LineBatch<Chip, Form, false>(ctx, ins, vertices, records);
    }
}

} // namespace su
