#pragma once
// Triangles as outlines or as points, for a chip with a setup unit: each edge or point is a line of
// the chip's own. Vertices are sent anew for every triangle.
//
// A chip is a type as in su_tri.h, a form one as in su_corner.h.
#include "driver/raster/cull.h"
#include "driver/raster/su_corner.h"
#include "driver/raster/triangle_walk.h"

namespace su {

inline constexpr uint32_t kWireBytes = 512; // worst case of one triangle

template <class Chip, class Form, bool kWaits>
[[gnu::noinline]] void WireBatch(D3DContext* ctx, const D3DINSTRUCTION* ins,
                                 const D3DTLVERTEX* vertices, const void* records) {
    constexpr bool kTextured = (Form::kMask & words::STQ) != 0;
    const LiveFlags flags{ctx->RenderFlags};
    const uint32_t lineWord = ctx->RenderCommand & ~kTrapezoid;
    const uint32_t firstEdge = field::Render_ResetLineStipple.Put(lineWord, 1);
    const uint32_t laterEdges = field::Render_ResetLineStipple.Put(lineWord, 0);
    const bool fog = Form::kFog && flags.Has(RF_FOG);
    const bool gouraud = flags.Has(RF_GOURAUD);
    const typename Chip::Colour colours(ctx);
    const TextureScale scale = Chip::Scale(ctx);
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();

    // What goes with a vertex behind its burst.
    const auto loadFog = [&](uint32_t slot, const D3DTLVERTEX* vertex) {
        if (fog) {
            out.Wait(2);
            LoadFog(out, slot, vertex);
        }
    };
    const auto loadColour = [&](uint32_t slot, const D3DTLVERTEX* vertex) {
        if (gouraud) {
            out.Wait(colours.Entries());
            colours.Load(out, slot, colours.Full(Form::Colour(vertex, flags)));
        }
    };
    // From the left end to the right one, so that neighbours draw a shared edge alike.
    const auto drawLine = [&](bool fromSlot0, uint32_t word) {
        out.Wait(2);
        out.Tag(fromSlot0 ? tag::DrawLine01 : tag::DrawLine10, word);
    };
    const auto draw = [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c,
                          uint32_t edges) {
        Corner corners[] = {{a, {}, 0.0f}, {b, {}, 0.0f}, {c, {}, 0.0f}};
        if constexpr (kTextured) {
            TriangleTexture texture(a, b, c);
            texture.Reduce(ctx);
            texture.Wrap(flags);
            for (int i = 0; i < 3; ++i) {
                Corner& corner = corners[i];
                corner.texture = scale.Place(texture.u[i], texture.v[i], corner.vertex, flags);
                corner.strength = Form::Strength(gouraud ? corner.vertex : a, flags);
            }
        }
        out.Reserve(kWireBytes);
        out.Wait(kTextured ? 2 * kBurstWords<Form::kMask> : 6);
        LoadCorner<Form::kMask>(out, kSlot0, corners[0]);
        LoadCorner<Form::kMask>(out, kSlot1, corners[1]);
        loadFog(kSlot0, a);
        loadFog(kSlot1, b);
        if (gouraud) {
            loadColour(kSlot0, a);
            loadColour(kSlot1, b);
        } else {
            out.Wait(2);
            out.Tag(tag::ConstantColor, ExchangeRedBlue(colours.Full(Form::Colour(a, flags))));
        }
        if ((edges & D3DTRIFLAG_EDGEENABLE1) != 0) {
            drawLine(a->sx < b->sx, firstEdge);
        }
        out.Wait(kBurstWords<Form::kMask>);
        LoadCorner<Form::kMask>(out, kSlot0, corners[2]);
        loadFog(kSlot0, c);
        loadColour(kSlot0, c);
        if ((edges & D3DTRIFLAG_EDGEENABLE2) != 0) {
            drawLine(!(b->sx <= c->sx), laterEdges);
        }
        if ((edges & D3DTRIFLAG_EDGEENABLE3) != 0) {
            out.Wait(kBurstWords<Form::kMask>);
            LoadCorner<Form::kMask>(out, kSlot1, corners[0]);
            loadFog(kSlot1, a);
            loadColour(kSlot1, a);
            drawLine(!(a->sx <= c->sx), laterEdges);
        }
    };
    WalkTriangles(typename Chip::Cull(ctx), ins, vertices, records, draw);
    out.Store();
}

template <class Chip, class Form>
KORV_INLINE void Wires(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        WireBatch<Chip, Form, true>(ctx, ins, vertices, records);
    } else {
        WireBatch<Chip, Form, false>(ctx, ins, vertices, records);
    }
}

// A point is a line one row long. Its words always go; its edge bit decides on the draw word alone.
template <class Chip, class Form, bool kWaits>
[[gnu::noinline]] void PointBatch(D3DContext* ctx, const D3DINSTRUCTION* ins,
                                  const D3DTLVERTEX* vertices, const void* records) {
    const LiveFlags flags{ctx->RenderFlags};
    const uint32_t drawWord = field::Render_Texture.Put(ctx->RenderCommand & ~kTrapezoid, 0);
    const typename Chip::Colour colours(ctx);
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();

    const auto point = [&](const D3DTLVERTEX* vertex, uint32_t enabled) {
        out.Wait(8);
        LoadXYZ(out, kSlot0, vertex);
        out.Word(FloatHeader(words::XYZ) + kSlot1);
        out.Word(BitsOf(vertex->sx));
        out.Float(vertex->sy + 1.0f);
        out.Word(BitsOf(vertex->sz));
        if (flags.Has(RF_FOG)) {
            out.Wait(4);
            LoadFog(out, kSlot0, vertex);
            LoadFog(out, kSlot1, vertex);
        }
        const D3DCOLOR colour = colours.Full(Form::Colour(vertex, flags));
        if (flags.Has(RF_GOURAUD)) {
            out.Wait(2 * colours.Entries());
            colours.Load(out, kSlot0, colour);
            colours.Load(out, kSlot1, colour);
        } else {
            out.Wait(2);
            out.Tag(tag::ConstantColor, ExchangeRedBlue(colour));
        }
        if (enabled != 0) {
            out.Wait(2);
            out.Tag(tag::DrawLine01, drawWord);
        }
    };
    const auto draw = [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c,
                          uint32_t edges) {
        out.Reserve(kWireBytes);
        point(a, edges & D3DTRIFLAG_EDGEENABLE1);
        point(b, edges & D3DTRIFLAG_EDGEENABLE2);
        point(c, edges & D3DTRIFLAG_EDGEENABLE3);
    };
    WalkTriangles(typename Chip::Cull(ctx), ins, vertices, records, draw);
    out.Store();
}

template <class Chip, class Form>
KORV_INLINE void Points(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                        void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        PointBatch<Chip, Form, true>(ctx, ins, vertices, records);
    } else {
        PointBatch<Chip, Form, false>(ctx, ins, vertices, records);
    }
}

} // namespace su
