#include "driver/d3d/statepm.h"

#include "driver/d3d/states_common.h"

namespace {

constexpr uint8_t kSourceFactor[] = {kKeep, 0, 1, kKeep, kKeep, 4};
constexpr uint8_t kDestFactor[] = {kKeep, 0, 1, kKeep, kKeep, kKeep, 5};
// 1 for the filters that blend texels, by D3DFILTER_*.
constexpr uint8_t kLinearFilter[] = {kKeep, 0, 1, 0, 1, 1, 1};

// Sign words of the cull test.
constexpr uint32_t kSignBit = 0x80000000;

// There is no border on this family: it wraps.
KORV_INLINE uint32_t AddressField(uint32_t value) {
    switch (value) {
    case D3DTADDRESS_MIRROR:
        return 2;
    case D3DTADDRESS_CLAMP:
        return 0;
    default:
        return 1;
    }
}

KORV_INLINE void SetPerspective(D3DContext* ctx, StateWriter& out, uint32_t value) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    const bool on = value != 0;
    PutField(copies.TextureAddressMode, field::TextureAddressMode_Perspective, on);
    PutField(copies.DeltaMode, field::DeltaMode_PerspectiveOff, !on);
    PutField(copies.DeltaMode, field::DeltaMode_PerspectiveOn, on);
    AssignBits(ctx->RenderFlags, RF_PERSPECTIVE, on);
    // All three go out, also where no setup unit is in use.
    out.Tag(tag::LBWriteMode, copies.LBWriteMode);
    out.Tag(tag::TextureAddressMode, copies.TextureAddressMode);
    out.Tag(tag::DeltaMode, copies.DeltaMode);
    ctx->DirtyFlags |= DIRTY_RENDERERS;
}

KORV_INLINE void SetTextureMag(D3DContext* ctx, uint32_t value) {
    PutMapped(ctx->Copies.TextureReadMode, field::TextureReadMode_Filter, kLinearFilter, value);
    if (value >= D3DFILTER_NEAREST && value <= D3DFILTER_LINEARMIPLINEAR) {
        ctx->TextureMagLinear = kLinearFilter[value];
    }
    ctx->DirtyFlags |= DIRTY_RENDERERS | DIRTY_TEXTURE;
}

KORV_INLINE void SetTextureMin(D3DContext* ctx, uint32_t value) {
    if (value >= D3DFILTER_NEAREST && value <= D3DFILTER_LINEARMIPLINEAR) {
        ctx->TextureMinLinear = kLinearFilter[value];
    }
    ctx->DirtyFlags |= DIRTY_RENDERERS | DIRTY_TEXTURE;
}

KORV_INLINE void SetTextureMapBlend(D3DContext* ctx, StateWriter& out, uint32_t value) {
    uint32_t& mode = ctx->Copies.TextureColorMode;
    PutMapped(mode, field::TextureColorMode_Application, kTextureBlendField, value);
    if (ctx->ForceCopyMode == 1) {
        PutField(mode, field::TextureColorMode_Application, kColorModeCopy);
    }
    out.Tag(tag::TextureColorMode, mode);
    ctx->DirtyFlags |= DIRTY_TEXTURE;
}

KORV_INLINE void SetCullMode(D3DContext* ctx, StateWriter& out, uint32_t value) {
    ctx->CullMode = value;
    if (!IsPermedia2(ctx->Driver->ChipInfo)) {
        return;
    }
    if (value >= D3DCULL_NONE && value <= D3DCULL_CCW) {
        ctx->CullSignA = value == D3DCULL_NONE ? 0 : kSignBit;
        ctx->CullSignB = value == D3DCULL_CW ? kSignBit : 0;
    }
    out.Tag(tag::DeltaMode, ctx->Copies.DeltaMode);
}

KORV_INLINE void ApplyPermediaState(D3DContext* ctx, StateWriter& out, uint32_t state,
                                    uint32_t value) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    const auto isFirst = [ctx] { return IsFirstPermedia(ctx->Driver->ChipInfo); };
    switch (state) {
    case D3DRENDERSTATE_TEXTUREHANDLE:
        SetTextureHandleState(ctx, value);
        break;
    case D3DRENDERSTATE_TEXTUREADDRESS:
        PutField(copies.TextureReadMode, field::TextureReadMode_WrapS, AddressField(value));
        PutField(copies.TextureReadMode, field::TextureReadMode_WrapT, AddressField(value));
        out.Tag(tag::TextureReadMode, copies.TextureReadMode);
        break;
    case D3DRENDERSTATE_TEXTUREPERSPECTIVE:
        SetPerspective(ctx, out, value);
        break;
    case D3DRENDERSTATE_LASTPIXEL:
        AssignBits(ctx->RenderFlags, RF_LASTPIXEL, value != 0);
        break;
    case D3DRENDERSTATE_TEXTUREMAG:
        SetTextureMag(ctx, value);
        break;
    case D3DRENDERSTATE_TEXTUREMIN:
        SetTextureMin(ctx, value);
        break;
    case D3DRENDERSTATE_SRCBLEND:
        PutMapped(copies.AlphaBlendMode, field::AlphaBlendMode_Source, kSourceFactor, value);
        MarkBlendDirty(ctx);
        break;
    case D3DRENDERSTATE_DESTBLEND:
        PutMapped(copies.AlphaBlendMode, field::AlphaBlendMode_Dest, kDestFactor, value);
        MarkBlendDirty(ctx);
        break;
    case D3DRENDERSTATE_TEXTUREMAPBLEND:
        SetTextureMapBlend(ctx, out, value);
        break;
    case D3DRENDERSTATE_CULLMODE:
        SetCullMode(ctx, out, value);
        break;
    case D3DRENDERSTATE_DITHERENABLE:
        PutField(copies.DitherMode, field::DitherMode_Enable,
                 value != 0 || DXGlobals.AlwaysDither != 0);
        out.Tag(tag::DitherMode, copies.DitherMode);
        break;
    case D3DRENDERSTATE_FOGENABLE:
        SetFogState(ctx, out, value, {isFirst(), isFirst()});
        break;
    case D3DRENDERSTATE_SPECULARENABLE:
        if (isFirst()) {
            SetExclusiveSpecularState(ctx, value);
        } else {
            AssignBits(ctx->RenderFlags, RF_SPECULAR, value != 0);
            ctx->DirtyFlags |= DIRTY_RENDERERS;
        }
        break;
    case D3DRENDERSTATE_STIPPLEDALPHA:
        SetStippledAlphaState(ctx, out, value, 8);
        break;
    case D3DRENDERSTATE_FOGCOLOR:
        SetFogColorState(ctx, out, value, isFirst());
        break;
    default:
        ApplyCommonState(ctx, out, state, value);
        break;
    }
}

} // namespace

uint32_t ProcessPermediaStates(D3DContext* ctx, uint32_t count, const uint32_t* pairs) {
    return ProcessStatePairs<ApplyPermediaState, true>(ctx, count, pairs);
}
