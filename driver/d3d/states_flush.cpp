#include "driver/d3d/states_flush.h"

#include "driver/core/bits.h"

uint32_t BlendPairOf(uint32_t alphaBlendMode) {
    return BlendPairNumber(field::AlphaBlendMode_Source.Get(alphaBlendMode),
                           field::AlphaBlendMode_Dest.Get(alphaBlendMode));
}

void EnableBlend(D3DContext* ctx, bool on) {
    PutField(ctx->Copies.AlphaBlendMode, field::AlphaBlendMode_Enable, on);
    PutField(ctx->Copies.FBReadMode, field::FBReadMode_ReadDest, on);
}

bool IsDepthInForce(const D3DContext* ctx) {
    return (ctx->RenderFlags & RF_ZENABLE) != 0 && ctx->ZBufferSurface != nullptr;
}

DepthAccess DepthAccessOf(const D3DContext* ctx) {
    if ((ctx->RenderFlags & RF_ZWRITE) == 0) {
        return {true, false};
    }
    switch (field::DepthMode_Compare.Get(ctx->Copies.DepthMode) + D3DCMP_NEVER) {
    case D3DCMP_NEVER:
        return {false, false};
    case D3DCMP_ALWAYS:
        return {false, true};
    default:
        return {true, true};
    }
}

void PutDepthAccess(D3DContext* ctx, bool enabled, const DepthAccess& access) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    PutField(copies.DepthMode, field::DepthMode_Enable, enabled);
    PutField(copies.DepthMode, field::DepthMode_WriteEnable, enabled);
    PutField(copies.LBReadMode, field::LBReadMode_ReadDest, access.Reads);
    PutField(copies.LBWriteMode, field::LBWriteMode_Enable, access.Writes);
    if (ctx->UseDelta != 0) {
        PutField(copies.DeltaMode, field::DeltaMode_DepthEnable, enabled);
    }
}
