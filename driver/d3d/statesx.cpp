#include "driver/d3d/statesx.h"

#include "driver/d3d/states_common.h"

namespace {

constexpr uint8_t kSourceFactor[] = {kKeep, 0, 1, kKeep, kKeep, 4, 5, 6, 7, 2, 3, 8};
constexpr uint8_t kDestFactor[] = {kKeep, 0, 1, 2, 3, 4, 5, 6, 7};
constexpr uint8_t kMagFilter[] = {kKeep, 0, 1, 0, 0, 1, 1};
constexpr uint8_t kMinFilter[] = {kKeep, 0, 1, 2, 3, 4, 5};

// There is no border on this family: it mirrors.
KORV_INLINE uint32_t AddressField(uint32_t value) {
    switch (value) {
    case D3DTADDRESS_WRAP:
        return 1;
    case D3DTADDRESS_CLAMP:
        return 0;
    default:
        return 2;
    }
}

// TX copies by the texture format word and leaves the colour unit off for it.
KORV_INLINE void SetTextureMapBlendTX(D3DContext* ctx, StateWriter& out, uint32_t value) {
    uint32_t& format = ctx->Copies.GlintTextureFormat;
    uint32_t& mode = ctx->Copies.TextureColorMode;
    switch (value) {
    case D3DTBLEND_DECAL:
    case D3DTBLEND_COPY:
        PutField(format, field::TextureFormat_Application, kTXCopy);
        PutField(mode, field::TextureColorMode_Enable, 0);
        break;
    case D3DTBLEND_MODULATE:
    case D3DTBLEND_MODULATEALPHA:
    case D3DTBLEND_DECALALPHA:
        PutField(format, field::TextureFormat_Application, kTXModulate);
        PutField(mode, field::TextureColorMode_Enable, 1);
        PutField(mode, field::TextureColorMode_Application, value == D3DTBLEND_DECALALPHA);
        break;
    default:
        break;
    }
    out.Tag(tag::TextureColorMode, mode);
    ctx->DirtyFlags |= DIRTY_TEXTURE;
}

// The word goes out when the texture is bound.
KORV_INLINE void SetTextureMapBlendMX(D3DContext* ctx, uint32_t value) {
    PutMapped(ctx->Copies.TextureColorMode, field::TextureColorMode_Application, kTextureBlendField,
              value);
    ctx->DirtyFlags |= DIRTY_TEXTURE;
}

// TX does not dither while it blends.
KORV_INLINE void SetDither(D3DContext* ctx, StateWriter& out, uint32_t value) {
    const bool suspended = (ctx->RenderFlags & RF_BLEND) != 0 && IsTX(ctx->Driver->ChipInfo);
    const bool wanted = value != 0 || DXGlobals.AlwaysDither != 0;
    ctx->DitherEnabled = value != 0;
    PutField(ctx->Copies.DitherMode, field::DitherMode_Enable, wanted && !suspended);
    out.Tag(tag::DitherMode, ctx->Copies.DitherMode);
}

// The states of the texture unit, for chips that have one.
KORV_INLINE void ApplyTextureState(D3DContext* ctx, StateWriter& out, uint32_t state,
                                   uint32_t value) {
    const ChipInfo* chip = ctx->Driver->ChipInfo;
    uint32_t& readMode = ctx->Copies.GlintTextureReadMode;
    switch (state) {
    case D3DRENDERSTATE_TEXTUREHANDLE:
        SetTextureHandleState(ctx, value);
        break;
    case D3DRENDERSTATE_TEXTUREADDRESS:
        PutField(readMode, field::GlintTextureReadMode_WrapS, AddressField(value));
        PutField(readMode, field::GlintTextureReadMode_WrapT, AddressField(value));
        out.Tag(tag::GlintTextureReadMode, readMode);
        break;
    case D3DRENDERSTATE_TEXTUREPERSPECTIVE:
        AssignBits(ctx->RenderFlags, RF_PERSPECTIVE, value != 0);
        ctx->DirtyFlags |= DIRTY_RENDERERS;
        break;
    case D3DRENDERSTATE_TEXTUREMAG:
        PutMapped(readMode, field::GlintTextureReadMode_MagFilter, kMagFilter, value);
        out.Tag(tag::GlintTextureReadMode, readMode);
        break;
    case D3DRENDERSTATE_TEXTUREMIN:
        PutMapped(readMode, field::GlintTextureReadMode_MinFilter, kMinFilter, value);
        out.Tag(tag::GlintTextureReadMode, readMode);
        break;
    case D3DRENDERSTATE_TEXTUREMAPBLEND:
        if (IsTX(chip)) {
            SetTextureMapBlendTX(ctx, out, value);
        } else if (IsMX(chip)) {
            SetTextureMapBlendMX(ctx, value);
        }
        break;
    default:
        break;
    }
}

KORV_INLINE void ApplyGlintState(D3DContext* ctx, StateWriter& out, uint32_t state,
                                 uint32_t value) {
    const auto hasTextures = [ctx] { return !IsSX(ctx->Driver->ChipInfo); };
    switch (state) {
    case D3DRENDERSTATE_TEXTUREHANDLE:
    case D3DRENDERSTATE_TEXTUREADDRESS:
    case D3DRENDERSTATE_TEXTUREPERSPECTIVE:
    case D3DRENDERSTATE_TEXTUREMAG:
    case D3DRENDERSTATE_TEXTUREMIN:
    case D3DRENDERSTATE_TEXTUREMAPBLEND:
        if (hasTextures()) {
            ApplyTextureState(ctx, out, state, value);
        }
        break;
    case D3DRENDERSTATE_SRCBLEND:
        PutMapped(ctx->Copies.AlphaBlendMode, field::AlphaBlendMode_Source, kSourceFactor, value);
        MarkBlendDirty(ctx);
        break;
    case D3DRENDERSTATE_DESTBLEND:
        PutMapped(ctx->Copies.AlphaBlendMode, field::AlphaBlendMode_Dest, kDestFactor, value);
        MarkBlendDirty(ctx);
        break;
    case D3DRENDERSTATE_CULLMODE:
        ctx->CullMode = value;
        break;
    case D3DRENDERSTATE_DITHERENABLE:
        SetDither(ctx, out, value);
        break;
    case D3DRENDERSTATE_FOGENABLE:
        SetFogState(ctx, out, value, {true, hasTextures()});
        break;
    case D3DRENDERSTATE_SPECULARENABLE:
        SetExclusiveSpecularState(ctx, value);
        break;
    case D3DRENDERSTATE_STIPPLEDALPHA:
        SetStippledAlphaState(ctx, out, value, 0);
        break;
    case D3DRENDERSTATE_FOGCOLOR:
        SetFogColorState(ctx, out, value, true);
        break;
    default:
        ApplyCommonState(ctx, out, state, value);
        break;
    }
}

} // namespace

uint32_t ProcessGlintStates(D3DContext* ctx, uint32_t count, const uint32_t* pairs) {
    return ProcessStatePairs<ApplyGlintState, false>(ctx, count, pairs);
}
