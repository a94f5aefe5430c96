// The dirty flush on the Glint family.
#include "driver/d3d/execute.h"
#include "driver/d3d/states_flush.h"
#include "driver/d3d/statesx.h"
#include "driver/texture/textures_bind.h"

namespace {

constexpr uint32_t kBlendBytes = 64;

void SendDither(D3DContext* ctx, StateWriter& out, bool on) {
    PutField(ctx->Copies.DitherMode, field::DitherMode_Enable, on);
    out.Tag(tag::DitherMode, ctx->Copies.DitherMode);
}

void FlushBlend(D3DContext* ctx, StateWriter& out) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    const uint32_t pair = BlendPairOf(copies.AlphaBlendMode);
    out.Reserve(kBlendBytes);
    out.Wait(4);
    PutField(copies.AlphaBlendMode, field::AlphaBlendMode_Special, pair == kBlendOneInvSrcAlpha);
    const bool on = (ctx->RenderFlags & RF_BLEND) != 0 && pair != kBlendOneZero;
    EnableBlend(ctx, on);
    // TX does not dither while it blends.
    const bool ditherOnTX = ctx->DitherEnabled == 1 && IsTX(ctx->Driver->ChipInfo);
    if (ditherOnTX) {
        SendDither(ctx, out, !on);
    } else if (!on && DXGlobals.AlwaysDither != 0) {
        SendDither(ctx, out, true);
    }
    out.Tag(tag::FBReadMode, copies.FBReadMode);
    out.Tag(tag::AlphaBlendMode, copies.AlphaBlendMode);
    // The texture's colour key is bound up with the blend words.
    ctx->DirtyFlags |= DIRTY_RENDERERS | DIRTY_TEXTURE;
}

void FlushDepth(D3DContext* ctx, StateWriter& out) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    out.Reserve(kStateBytes);
    out.Wait(7);
    const bool inForce = IsDepthInForce(ctx);
    if (inForce) {
        PutDepthAccess(ctx, true, DepthAccessOf(ctx));
    } else {
        PutDepthAccess(ctx, false, {});
        // Turned off with the depth test, and never on again by it.
        PutField(copies.LBReadMode, field::LBReadMode_ReadSource, 0);
    }
    if (ctx->UseDelta != 0) {
        out.Tag(tag::DeltaMode, copies.DeltaMode);
    }
    out.Tag(tag::DepthMode, copies.DepthMode);
    out.Tag(tag::LBReadMode, copies.LBReadMode);
    out.Tag(tag::LBWriteMode, copies.LBWriteMode);
    ctx->DirtyFlags |= DIRTY_RENDERERS;
}

// Nothing is called, and the FIFO count goes on, on a chip without textures.
void ChangeTexture(D3DContext* ctx, StateWriter& out) {
    const ChipInfo* chip = ctx->Driver->ChipInfo;
    if (!IsTX(chip) && !IsMX(chip)) {
        return;
    }
    out.Store();
    if (IsTX(chip)) {
        ChangeTextureTX(ctx);
    } else {
        ChangeTextureMX(ctx);
    }
    out.Reload();
}

} // namespace

void HandleDirtyGlintState(DriverData* driver, D3DContext* ctx) {
    // Each section reads the flags afresh: an earlier one may have raised a later one's.
    StateWriter out(ctx);
    if ((ctx->DirtyFlags & DIRTY_BLEND) != 0) {
        FlushBlend(ctx, out);
    }
    if ((ctx->DirtyFlags & DIRTY_TEXTURE) != 0) {
        ChangeTexture(ctx, out);
    }
    if ((ctx->DirtyFlags & DIRTY_Z) != 0) {
        FlushDepth(ctx, out);
    }
    out.Store();
    if ((ctx->DirtyFlags & DIRTY_RENDERERS) != 0) {
        PickGlintRenderProcs(ctx, ctx->RenderFlags);
    }
    if ((ctx->DirtyFlags & DIRTY_TARGET) != 0) {
        FlipSurfaces(driver, ctx);
    }
}
