// The renderer chosen for every combination of what the selection reads, against the selection
// tables written down a second time, as rows of which the first that fits holds.
#include "driver/raster/del_gour.h"
#include "driver/raster/del_mip.h"
#include "driver/raster/del_tex.h"
#include "driver/raster/gl_gour.h"
#include "driver/raster/gl_line.h"
#include "driver/raster/gl_point.h"
#include "driver/raster/gl_tex.h"
#include "driver/raster/gl_wire.h"
#include "driver/raster/p2_fast.h"
#include "driver/raster/p2_gour.h"
#include "driver/raster/p2_mip.h"
#include "driver/raster/p2_tex.h"
#include "tests/driver/d3d/state_support.h"

namespace test {
namespace {

constexpr uint32_t G = 0x1, Z = 0x2, S = 0x4, F = 0x8, P = 0x10, T = 0x20, B = 0x40, A = 0x400,
                   M = 0x4000;

// Fill modes of a row: a mode, any mode, or any but points and wires.
constexpr uint32_t kAnyFill = 100;
constexpr uint32_t kSolid = 101;
constexpr uint32_t kExactlySolid = 3;

enum class Also { Nothing, Stipple, StippleOr24Bit };
enum class Chip { Any, First, NotFirst, DMA };

struct Row {
    uint32_t fill;
    uint32_t on;
    uint32_t off;
    Renderer renderer;
    uint32_t oneOf = 0; // at least one of these flags, or what `also` says
    Also also = Also::Nothing;
    Chip chip = Chip::Any;
    uint32_t ignored = 0xFFFFFFFF; // flags that do not count in an exact comparison
};

struct Input {
    uint32_t fill;
    uint32_t flags;
    bool stipple;
    bool target24;
    bool first;
    bool dma;
};

bool Fits(const Row& row, const Input& in) {
    if (row.fill == kSolid ? in.fill == 1 || in.fill == 2
                           : row.fill != kAnyFill && row.fill != in.fill) {
        return false;
    }
    if (row.ignored != 0xFFFFFFFF) {
        if ((in.flags & ~row.ignored) != row.on) {
            return false;
        }
    } else if ((in.flags & row.on) != row.on || (in.flags & row.off) != 0) {
        return false;
    }
    if (row.oneOf != 0 || row.also != Also::Nothing) {
        bool any = (in.flags & row.oneOf) != 0;
        any = any || (row.also != Also::Nothing && in.stipple);
        any = any || (row.also == Also::StippleOr24Bit && in.target24);
        if (!any) {
            return false;
        }
    }
    switch (row.chip) {
    case Chip::First:
        return in.first;
    case Chip::NotFirst:
        return !in.first;
    case Chip::DMA:
        return in.dma;
    default:
        return true;
    }
}

Renderer Expected(const std::vector<Row>& rows, const Input& in) {
    for (const Row& row : rows) {
        if (Fits(row, in)) {
            return row.renderer;
        }
    }
    return nullptr;
}

const std::vector<Row> kPermediaDelta = {
    {1, 0, 0, Delta_TriPoint_XYZ_RGBF},
    {2, 0, T, Delta_TriWire_XYZ_RGBF},
    {2, T, S, Delta_TriWire_XYZ_STQ_RGBF},
    {2, T | S, 0, Delta_TriWire_XYZ_STQ_RGB_FogSpecular, 0, Also::Nothing, Chip::First},
    {2, T | S, 0, Delta_TriWire_XYZ_STQ_RGBFS, 0, Also::Nothing, Chip::NotFirst},
    {kSolid, T, 0, Delta_Tri_XYZ_STQ_RGBFS, 0, Also::Nothing, Chip::NotFirst},
    {kSolid, T | S | M, 0, Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular},
    {kSolid, T | S, M, Delta_Tri_XYZ_STQ_RGB_FogSpecular},
    {kSolid, T | M, S, Delta_MipPMTri_XYZ_STQ_RGBF},
    {kSolid, T, S | M, Delta_Tri_XYZ_STQ_RGBF},
    {kSolid, 0, T, Delta_Tri_XYZ_RGBF, Z | F | G | B, Also::Stipple},
    {kSolid, 0, 0, Delta_Tri_XY_FLAT},
};

const std::vector<Row> kPermediaHost = {
    {1, 0, 0, Glint_TriPoint_XYZ_STQ_RGBF},
    {2, 0, 0, Glint_TriWire_XYZ_STQ_RGBF},
    {kSolid, T | Z | P | G | F, 0, Glint_Tri_XYZ_STQ_RGBF},
    {kSolid, T | Z | P | G, F, Glint_Tri_XYZ_STQ_RGB},
    {kSolid, T | P | G | F, Z, Glint_Tri_XY_STQ_RGBF},
    {kSolid, T | P | G, Z | F, Glint_Tri_XY_STQ_RGB},
    {kSolid, T | Z | P | F, G, Glint_Tri_XYZ_STQ_FLAT_F},
    {kSolid, T | Z | P, G | F, Glint_Tri_XYZ_STQ_FLAT},
    {kSolid, T | P | F, Z | G, Glint_Tri_XY_STQ_FLAT_F},
    {kSolid, T | P, Z | G | F, Glint_Tri_XY_STQ_FLAT},
    {kSolid, T | Z | G | F, P, Glint_Tri_XYZ_ST_RGBF},
    {kSolid, T | Z | G, P | F, Glint_Tri_XYZ_ST_RGB},
    {kSolid, T | G | F, P | Z, Glint_Tri_XY_ST_RGBF},
    {kSolid, T | G, P | Z | F, Glint_Tri_XY_ST_RGB},
    {kSolid, T | Z | F, P | G, Glint_Tri_XYZ_ST_FLAT_F},
    {kSolid, T | Z, P | G | F, Glint_Tri_XYZ_ST_FLAT},
    {kSolid, T | F, P | Z | G, Glint_Tri_XY_ST_FLAT_F},
    {kSolid, T, P | Z | G | F, Glint_Tri_XY_ST_FLAT},
    {kSolid, G | Z | F, T, Glint_Tri_XYZ_RGBF},
    {kSolid, G | Z, T | F, Glint_Tri_XYZ_RGB},
    {kSolid, G | F, T | Z, Glint_Tri_XY_RGBF},
    {kSolid, G, T | Z | F, Glint_Tri_XY_RGB},
    {kSolid, F | Z, T | G, Glint_Tri_XYZ_FLAT_F},
    {kSolid, F, T | G | Z, Glint_Tri_XY_FLAT_F},
    {kSolid, Z, T | G | F, Glint_Tri_XYZ_FLAT},
    {kSolid, 0, T | G | F | Z, Glint_Tri_XYZ_FLAT, B | A, Also::Stipple},
    {kSolid, 0, 0, Glint_Tri_XY_FLAT},
};

const std::vector<Row> kP2 = {
    {kExactlySolid, 0x33, 0, P2_GouraudTextureZ, 0, Also::Nothing, Chip::DMA, 0x3880},
    {kExactlySolid, 0x37, 0, P2_GouraudTextureKSZ, 0, Also::Nothing, Chip::DMA, 0x3880},
    {kExactlySolid, 0x3B, 0, P2_GouraudTextureFogZ, 0, Also::Nothing, Chip::DMA, 0x3880},
    {kExactlySolid, 0x4033, 0, P2_GouraudTextureZMM, 0, Also::Nothing, Chip::DMA, 0x3880},
    {1, 0, 0, P2_TriPoint_XYZ_RGBFS},
    {2, T, 0, P2_TriWire_XYZ_STQ_RGBFS},
    {2, 0, T, P2_TriWire_XYZ_RGBFS},
    {kSolid, T | M, 0, P2_MipTri_XYZ_STQ_RGBFS},
    {kSolid, T, M, P2_Tri_XYZ_STQ_RGBFS},
    {kSolid, 0, T, P2_Tri_XYZ_RGBFS, B | Z | G | F, Also::StippleOr24Bit},
    {kSolid, 0, 0, P2_Tri_XY_FLATS},
};

const std::vector<Row> kGlintDelta = {
    {1, 0, 0, Delta_TriPoint_XYZ_RGBF},
    {2, 0, T, Delta_TriWire_XYZ_RGBF},
    {2, T | S, 0, Delta_TriWire_XYZ_STQ_RGB_FogSpecular},
    {2, T, S, Delta_TriWire_XYZ_STQ_RGBF},
    {kSolid, T | S, 0, Delta_Tri_XYZ_STQ_RGB_FogSpecular},
    {kSolid, T, S, Delta_Tri_XYZ_STQ_RGBF},
    {kSolid, 0, T, Delta_Tri_XYZ_RGBF, Z | F | G | B},
    {kSolid, 0, 0, Delta_Tri_XY_FLAT},
};

const std::vector<Row> kGlintHost = {
    {1, 0, 0, Dummy_Triangle_Renderer},         {2, T, 0, Dummy_Triangle_Renderer},
    {2, 0, 0, Glint_TriWire_XYZ_STQ_RGBF},      {kSolid, T, 0, Dummy_Triangle_Renderer},
    {kSolid, G | F | Z, 0, Glint_Tri_XYZ_RGBF}, {kSolid, G | F, 0, Glint_Tri_XY_RGBF},
    {kSolid, G | Z, 0, Glint_Tri_XYZ_RGB},      {kSolid, G, 0, Glint_Tri_XY_RGB},
    {kSolid, F | Z, 0, Glint_Tri_XYZ_FLAT_F},   {kSolid, F, 0, Glint_Tri_XY_FLAT_F},
    {kSolid, Z, 0, Glint_Tri_XYZ_FLAT},         {kSolid, 0, 0, Glint_Tri_XY_FLAT},
};

// A renderer that no table holds.
void Untouched(D3DContext*, D3DINSTRUCTION*, D3DTLVERTEX*, void*) {}

using Pick = void (*)(D3DContext* ctx, uint32_t flags);

// Every combination of the 15 flags, fill modes 0 to 4, stippling, and a 24-bit target.
void CompareAll(WatchedContext& c, Pick pick, const std::vector<Row>& rows, bool picksLines) {
    D3DContext* ctx = c.ctx;
    uint32_t wrong = 0;
    for (uint32_t fill = 0; fill != 5; ++fill) {
        for (uint32_t stipple : {0u, 1u}) {
            for (bool target24 : {false, true}) {
                ctx->FillMode = fill;
                ctx->StippleEnabled = stipple;
                c.target->priv.PixelSize = target24 ? PixelSize24 : PixelSize16;
                // The flags are the argument's: what the context holds must not count.
                ctx->RenderFlags = fill % 2 != 0 ? 0x7FFF : 0;
                for (uint32_t flags = 0; flags != 0x8000; ++flags) {
                    ctx->TriangleRenderer = ctx->LineRenderer = ctx->PointRenderer = Untouched;
                    pick(ctx, flags);
                    const Input in = {fill,
                                      flags,
                                      stipple != 0,
                                      target24,
                                      c.chip.IsFirst(),
                                      ctx->Stream.CommandMode == 1};
                    const Renderer lines = !picksLines        ? Untouched
                                           : (flags & T) != 0 ? Dummy_Line_Renderer
                                                              : Glint_Line_XYZ_STQ_RGBF;
                    if (ctx->TriangleRenderer != Expected(rows, in) || ctx->LineRenderer != lines ||
                        ctx->PointRenderer != Untouched) {
                        ++wrong;
                        if (wrong < 10) {
                            ADD_FAILURE()
                                << c.chip.name << " fill " << fill << " flags " << std::hex << flags
                                << " stipple " << stipple << " 24 bits " << target24;
                        }
                    }
                }
            }
        }
    }
    EXPECT_EQ(wrong, 0u);
}

TEST(RendererPick, PermediaChoosesByItsTables) {
    for (const StateChip& chip : kPermediaChips) {
        WatchedContext c(chip);
        for (uint32_t delta : {0u, 1u}) {
            c.ctx->UseDelta = delta;
            CompareAll(c, PickPermediaRenderProcs, delta != 0 ? kPermediaDelta : kPermediaHost,
                       false);
        }
    }
}

TEST(RendererPick, Permedia2ChoosesByItsTablesUnderDMAAndInFIFOMode) {
    for (bool dma : {false, true}) {
        WatchedContext c({"Permedia2", 7, true}, dma);
        CompareAll(c, PickP2RenderProcs, kP2, false);
    }
}

TEST(RendererPick, GlintChoosesByItsTables) {
    for (const StateChip& chip : kGlintChips) {
        WatchedContext c(chip);
        CompareAll(c, PickGlintRenderProcs, chip.delta ? kGlintDelta : kGlintHost, !chip.delta);
    }
}

const std::vector<Row>& RowsFor(const StateChip& chip) {
    if (chip.IsP2()) {
        return kP2;
    }
    if (chip.IsGlint()) {
        return chip.delta ? kGlintDelta : kGlintHost;
    }
    return chip.delta ? kPermediaDelta : kPermediaHost;
}

TEST(RendererPick, TheFlushChoosesByChipAndByTheContextsFlags) {
    for (const StateChip& chip : AllStateChips()) {
        WatchedContext c(chip);
        D3DContext* ctx = c.ctx;
        uint32_t wrong = 0;
        for (uint32_t fill = 1; fill != 4; ++fill) {
            ctx->FillMode = fill;
            for (uint32_t flags = 0; flags != 0x8000; ++flags) {
                ctx->RenderFlags = flags;
                ctx->DirtyFlags = DIRTY_RENDERERS;
                ctx->HandleDirtyState(c.rig.driver, ctx);
                const Input in = {fill, flags, false, false, chip.IsFirst(), true};
                wrong += ctx->TriangleRenderer != Expected(RowsFor(chip), in);
                wrong += ctx->RenderFlags != flags;
            }
        }
        EXPECT_EQ(wrong, 0u) << chip.name;
        EXPECT_TRUE(c.Take().empty()) << chip.name;
    }
}

TEST(RendererPick, FastTexturedZOnPermedia2IsForDMAOnly) {
    WatchedContext dma({"Permedia2", 7, true}, true);
    PickP2RenderProcs(dma.ctx, 0x33);
    EXPECT_EQ(dma.ctx->TriangleRenderer, P2_GouraudTextureZ);
    WatchedContext fifo({"Permedia2", 7, true}, false);
    PickP2RenderProcs(fifo.ctx, 0x33);
    EXPECT_EQ(fifo.ctx->TriangleRenderer, P2_Tri_XYZ_STQ_RGBFS);
}

TEST(RendererPick, TexturedPrimitivesVanishOnGlintWithoutDelta) {
    for (const StateChip& chip : kGlintChips) {
        if (chip.delta || chip.device == 1) {
            continue;
        }
        WatchedContext c(chip);
        // As set-up leaves it: textured, with no texture, renderers and texture dirty.
        c.ctx->RenderFlags = RF_GOURAUD | RF_TEXTURE;
        c.ctx->DirtyFlags = DIRTY_RENDERERS;
        c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
        EXPECT_EQ(c.ctx->TriangleRenderer, Dummy_Triangle_Renderer);
        EXPECT_EQ(c.ctx->LineRenderer, Dummy_Line_Renderer);
        // The first texture flush clears the flag, and only then something can be drawn.
        c.ctx->DirtyFlags = DIRTY_RENDERERS | DIRTY_TEXTURE;
        c.ctx->HandleDirtyState(c.rig.driver, c.ctx);
        EXPECT_EQ(c.ctx->RenderFlags & RF_TEXTURE, 0u);
        EXPECT_EQ(c.ctx->TriangleRenderer, Glint_Tri_XY_RGB);
        EXPECT_EQ(c.ctx->LineRenderer, Glint_Line_XYZ_STQ_RGBF);
    }
}

TEST(RendererPick, PointsOfTrianglesDrawNothingOnGlintWithoutDelta) {
    WatchedContext c({"TX", 2, false});
    c.ctx->FillMode = 1;
    PickGlintRenderProcs(c.ctx, RF_GOURAUD);
    EXPECT_EQ(c.ctx->TriangleRenderer, Dummy_Triangle_Renderer);
}

TEST(PickP2RenderProcs, ATargetOfNoRecordCountsAsNot24Bit) {
    ContextRig rig(OptionsOf(DevicePermedia2));
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    ctx->FillMode = 3;
    ctx->StippleEnabled = 0;
    ctx->RenderTargetSurface->lpGbl->dwReserved1 = 0;
    PickP2RenderProcs(ctx, 0);
    EXPECT_EQ(ctx->TriangleRenderer, Renderer{P2_Tri_XY_FLATS});
}

} // namespace
} // namespace test
