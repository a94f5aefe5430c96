// The dirty flush on Permedia and Permedia 2.
#include "driver/core/units.h"
#include "driver/d3d/execute.h"
#include "driver/d3d/statepm.h"
#include "driver/d3d/states_flush.h"
#include "driver/texture/textures_bind.h"

namespace {

void FlushDepth(D3DContext* ctx, StateWriter& out) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    out.Reserve(kStateBytes);
    out.Wait(7);
    const bool inForce = IsDepthInForce(ctx);
    const DepthAccess access = inForce ? DepthAccessOf(ctx) : DepthAccess{};
    PutDepthAccess(ctx, inForce, access);
    PutField(copies.LBReadMode, field::LBReadMode_ReadSource, 0);
    PutField(copies.WindowMode, field::Window_DisableUpdate, !access.Reads && !access.Writes);
    if (ctx->UseDelta != 0) {
        out.Tag(tag::DeltaMode, copies.DeltaMode);
    }
    out.Tag(tag::Window, copies.WindowMode);
    out.Tag(tag::DepthMode, copies.DepthMode);
    out.Tag(tag::LBReadMode, copies.LBReadMode);
    out.Tag(tag::LBWriteMode, copies.LBWriteMode);
    ctx->DirtyFlags |= DIRTY_RENDERERS;
}

// Sorts out what the chip can do of a blend pair; false for the pairs that come to no blending.
bool JudgeBlendPair(D3DContext* ctx) {
    uint32_t& mode = ctx->Copies.AlphaBlendMode;
    const uint32_t pair = BlendPairOf(mode);
    ctx->BlendForcesZeroAlpha = pair == kBlendOneOne;
    switch (pair) {
    case kBlendOneOne:
    case kBlendOneInvSrcAlpha:
        PutField(mode, field::AlphaBlendMode_Special, 1);
        return true;
    case kBlendSrcAlphaInvSrcAlpha:
        PutField(mode, field::AlphaBlendMode_Special, 0);
        return true;
    default:
        return false;
    }
}

void FlushBlend(D3DContext* ctx, StateWriter& out) {
    const bool pairBlends = JudgeBlendPair(ctx);
    out.Reserve(kStateBytes);
    out.Wait(3);
    const bool on = (ctx->RenderFlags & RF_BLEND) != 0 && pairBlends;
    EnableBlend(ctx, on);
    if (!on) {
        out.Tag(tag::AStart, kOpaqueAlpha);
    }
    ctx->AlphaBlendModeOut = ctx->Copies.AlphaBlendMode;
    if (ctx->BlendForcesZeroAlpha == 1) {
        // There is no additive pair: one plus inverse source alpha stands for it, and the renderers
        // feed a source alpha of 0.
        PutField(ctx->AlphaBlendModeOut, field::AlphaBlendMode_Source, 1);
        PutField(ctx->AlphaBlendModeOut, field::AlphaBlendMode_Dest, 5);
    }
    out.Tag(tag::FBReadMode, ctx->Copies.FBReadMode);
    out.Tag(tag::AlphaBlendMode, ctx->AlphaBlendModeOut);
    ctx->DirtyFlags |= DIRTY_RENDERERS;
}

void PickRenderers(D3DContext* ctx) {
    if (IsFirstPermedia(ctx->Driver->ChipInfo)) {
        PickPermediaRenderProcs(ctx, ctx->RenderFlags);
    } else if (IsPermedia2(ctx->Driver->ChipInfo)) {
        PickP2RenderProcs(ctx, ctx->RenderFlags);
    }
}

} // namespace

void HandleDirtyPermediaState(DriverData* driver, D3DContext* ctx) {
    // Each section reads the flags afresh: an earlier one may have raised a later one's.
    StateWriter out(ctx);
    if ((ctx->DirtyFlags & DIRTY_Z) != 0) {
        FlushDepth(ctx, out);
    }
    if ((ctx->DirtyFlags & DIRTY_BLEND) != 0) {
        FlushBlend(ctx, out);
    }
    out.Store();
    if ((ctx->DirtyFlags & DIRTY_TEXTURE) != 0) {
        ChangeTexturePermedia(ctx);
    }
    if ((ctx->DirtyFlags & DIRTY_RENDERERS) != 0) {
        PickRenderers(ctx);
    }
    if ((ctx->DirtyFlags & DIRTY_TARGET) != 0) {
        FlipSurfaces(driver, ctx);
    }
}
