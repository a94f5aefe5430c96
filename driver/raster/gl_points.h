#pragma once
// The vertices of triangles as points, for a chip with no setup unit: a walk of one step each.
#include "driver/raster/flt2fix.h"
#include "driver/raster/output.h"
#include "driver/raster/triangle_walk.h"

#include <cstdint>

namespace glint {

using namespace raster;

// What a member draws.
struct PointTraits {
    bool texture = false;     // under RF_TEXTURE
    bool alwaysDepth = false; // else under RF_ZENABLE
    bool alpha = false;       // keeps the colour's alpha
    // From the second vertex of a record on, depth goes ahead of fog.
    bool depthBeforeFog = false;
};

inline constexpr uint32_t kPointsBytes = 512; // worst case of one record
inline constexpr uint32_t kPointPrimitive = field::Render_Primitive.Put(0, 2);

template <PointTraits kTraits, bool kWaits>
class PointDrawer {
  public:
    PointDrawer(Output<kWaits>& out, D3DContext* ctx)
        : out_(out), ctx_(ctx), flags_(ctx->RenderFlags),
          renderWord_(ctx->RenderCommand | kPointPrimitive) {}

    void Draw(const D3DTLVERTEX* vertex, bool first) {
        if (kTraits.texture && (flags_ & RF_TEXTURE) != 0) {
            Texture(vertex);
        }
        if (kTraits.depthBeforeFog && !first) {
            Depth(vertex);
            Fog(vertex);
        } else {
            Fog(vertex);
            Depth(vertex);
        }
        constexpr D3DCOLOR kKept = kTraits.alpha ? 0xFFFFFFFF : 0x00FFFFFF;
        out_.Wait(2);
        out_.Tag(tag::ConstantColor, ExchangeRedBlue(LitColour(vertex, flags_) & kKept));
        out_.Wait(7);
        out_.Word(burst::Edge);
        out_.Word(flt_to_fix_16_16(vertex->sx));
        out_.Word(0);
        out_.Word(flt_to_fix_16_16(vertex->sy));
        out_.Word(0);
        out_.Word(1);
        out_.Word(renderWord_);
    }

  private:
    void Texture(const D3DTLVERTEX* vertex) {
        constexpr uint32_t kPointQ = 0x100000;
        out_.Wait(10);
        out_.Word(burst::TextureSTQ);
        out_.Word(flt_to_fix_12_20(vertex->tu * ctx_->TextureWidth));
        out_.Word(0);
        out_.Word(0);
        out_.Word(flt_to_fix_12_20(vertex->tv * ctx_->TextureHeight));
        out_.Word(0);
        out_.Word(0);
        out_.Word(kPointQ);
        out_.Word(0);
        out_.Word(0);
    }
    void Fog(const D3DTLVERTEX* vertex) {
        if ((flags_ & RF_FOG) == 0) {
            return;
        }
        out_.Wait(4);
        out_.Word(burst::Fog);
        out_.Word(
            D3Dflt_to_fix_2_22(static_cast<float>(static_cast<int32_t>(vertex->specular >> 24))));
        out_.Word(0);
        out_.Word(0);
    }
    void Depth(const D3DTLVERTEX* vertex) {
        if (!kTraits.alwaysDepth && (flags_ & RF_ZENABLE) == 0) {
            return;
        }
        constexpr float kDepthRange = 65535.0f;
        uint32_t start[2];
        flt_to_fix_32_16(vertex->sz * kDepthRange, start);
        out_.Wait(7);
        out_.Word(burst::Depth);
        out_.Word(start[0]);
        out_.Word(start[1]);
        out_.Word(0);
        out_.Word(0);
        out_.Word(0);
        out_.Word(0);
    }

    Output<kWaits>& out_;
    D3DContext* ctx_;
    uint32_t flags_;
    uint32_t renderWord_;
};

template <PointTraits kTraits, bool kWaits>
void PointBatch(D3DContext* ctx, const D3DINSTRUCTION* ins, const D3DTLVERTEX* vertices,
                const void* records) {
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();
    // A point takes its colour from ConstantColor.
    SetColorDDAMode(out, 0);
    PointDrawer<kTraits, kWaits> points(out, ctx);
    WalkTriangles(
        CompareCull(ctx), ins, vertices, records,
        [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c, uint32_t wFlags) {
            out.Reserve(kPointsBytes);
            if ((wFlags & D3DTRIFLAG_EDGEENABLE1) != 0) {
                points.Draw(a, true);
            }
            if ((wFlags & D3DTRIFLAG_EDGEENABLE2) != 0) {
                points.Draw(b, false);
            }
            if ((wFlags & D3DTRIFLAG_EDGEENABLE3) != 0) {
                points.Draw(c, false);
            }
        });
    SetColorDDAMode(out, ctx->Copies.ColorDDAMode);
}

template <PointTraits kTraits>
void Points(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    if (NeedsFIFOWaits(ctx->Stream)) {
        PointBatch<kTraits, true>(ctx, ins, vertices, records);
    } else {
        PointBatch<kTraits, false>(ctx, ins, vertices, records);
    }
}

} // namespace glint
