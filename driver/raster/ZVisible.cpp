#include "driver/raster/ZVisible.h"

#include "driver/raster/gl_setup.h"
#include "driver/raster/su_vertex.h"
#include "driver/raster/triangle_walk.h"

namespace {

using namespace raster;

// FilterMode: the statistics words stay inside, or come out behind their tag.
constexpr uint32_t kStatisticsInside =
    field::FilterMode_SyncTag.Mask() | field::FilterMode_SyncData.Mask();
constexpr uint32_t kStatisticsOut = kStatisticsInside | field::FilterMode_StatisticsTag.Mask() |
                                    field::FilterMode_StatisticsData.Mask();
constexpr uint32_t kStatisticsOn =
    field::StatisticMode_Enable.Mask() | field::StatisticMode_Unknown2.Mask();
constexpr uint32_t kWritesOff = 0;

constexpr uint32_t kBeginBytes = 128; // reserved for seven pairs
constexpr uint32_t kWritesOn = 1;

// What EndZPickTest sends: two pairs, and two more when the answer has come.
constexpr uint32_t kEndBytes = 64;

constexpr uint32_t kTriangleBytes = 512;

template <bool kWaits>
void DeltaBatch(D3DContext* ctx, const D3DINSTRUCTION* ins, const D3DTLVERTEX* vertices,
                const void* records) {
    const uint32_t drawWord = ctx->RenderCommand | kTrapezoid;
    Output<kWaits> out{ctx, nullptr, nullptr, 0};
    out.Load();
    WalkTriangles(CompareCull(ctx), ins, vertices, records,
                  [&](const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c, uint32_t) {
                      out.Reserve(kTriangleBytes);
                      out.Wait(12);
                      su::LoadXYZ(out, su::kSlot0, a);
                      su::LoadXYZ(out, su::kSlot1, b);
                      su::LoadXYZ(out, su::kSlot2, c);
                      out.Tag(tag::DrawTriangle, drawWord);
                  });
    out.Store();
}

} // namespace

void BeginZPickTest(DriverData* /*driver*/, D3DContext* ctx) {
    const DDRAWI_DDRAWSURFACE_GBL* target = ctx->RenderTargetSurface->lpGbl;
    const uint32_t lastCorner = uint32_t{target->wHeight} << 16 | target->wWidth;
    StreamWriter<D3DContext> out(ctx);
    out.Reserve(kBeginBytes);
    out.Wait(7);
    out.Tag(tag::FBWriteMode, kWritesOff);
    out.Tag(tag::LBWriteMode, kWritesOff);
    out.Tag(tag::MinRegion, 0);
    out.Tag(tag::MaxRegion, lastCorner);
    out.Tag(tag::FilterMode, kStatisticsInside);
    out.Tag(tag::StatisticMode, kStatisticsOn);
    out.Tag(tag::ResetPickResult, 0);
    out.Store();
}

uint32_t EndZPickTest(DriverData* driver, D3DContext* ctx) {
    StreamWriter<D3DContext> out(ctx);
    out.Reserve(kEndBytes);
    out.Wait(4);
    out.Tag(tag::FilterMode, kStatisticsOut);
    out.Tag(tag::PickResult, 0);
    out.Store();
    if (ctx->Stream.CommandMode == kCommandModeDMA) {
        FlushSubBuffer(ctx);
        // A fresh sub-buffer has the room that was reserved.
        ctx->Stream.Guard.Allow(ctx->Stream.WritePointer + kEndBytes / 4);
        out.Reload();
    }
    const uint32_t result = ReadOutputFIFOPair(driver, tag::PickResult);
    out.Tag(tag::FBWriteMode, kWritesOn);
    if (field::LBWriteMode_Enable.Get(ctx->Copies.LBWriteMode) != 0) {
        out.Tag(tag::LBWriteMode, kWritesOn);
    }
    out.Store();
    return result & 1;
}

uint32_t Delta_Tri_Z_Visible(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records) {
    if (ins->wCount == 0) {
        return 1;
    }
    BeginZPickTest(ctx->Driver, ctx);
    if (NeedsFIFOWaits(ctx->Stream)) {
        DeltaBatch<true>(ctx, ins, vertices, records);
    } else {
        DeltaBatch<false>(ctx, ins, vertices, records);
    }
    return EndZPickTest(ctx->Driver, ctx) != 0 ? 1 : 0;
}

uint32_t Glint_Tri_Z_Visible(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records) {
    BeginZPickTest(ctx->Driver, ctx);
    if (ins->wCount != 0) {
        glint::Triangles<glint::TriangleTraits{.depth = true, .depthOnly = true}>(
            ctx, ins, vertices, records);
    }
    return EndZPickTest(ctx->Driver, ctx);
}
