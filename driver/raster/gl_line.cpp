#include "driver/raster/gl_line.h"

#include "driver/raster/gl_edge.h"

namespace {

using namespace glint;

template <bool kWaits>
void LineBatch(D3DContext* ctx, const D3DINSTRUCTION* ins, const D3DTLVERTEX* vertices,
               const void* records) {
    const EdgeStyle style{.renderFlags = ctx->RenderFlags,
                          .renderWord = ctx->RenderCommand & ~kTrapezoid,
                          .drawsLastPixel = true};
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();
    SetRasterizerMode(out, 0);
    const auto* record = static_cast<const uint8_t*>(records);
    uint32_t left = ins->wCount;
    do {
        const auto* line = reinterpret_cast<const D3DLINE*>(record);
        record += ins->bSize;
        DrawEdge(out, vertices + line->v1, vertices + line->v2, style);
    } while (--left != 0);
    SetRasterizerMode(out, kRasteriserIdle);
}

} // namespace

void Glint_Line_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records) {
    if (ins->wCount == 0) {
        return;
    }
    if (NeedsFIFOWaits(ctx->Stream)) {
        LineBatch<true>(ctx, ins, vertices, records);
    } else {
        LineBatch<false>(ctx, ins, vertices, records);
    }
}
