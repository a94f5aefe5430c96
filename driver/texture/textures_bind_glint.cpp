// Binding on TX and MX.
#include "driver/heap/surface_format.h"
#include "driver/texture/lut_download.h"
#include "driver/texture/textures_bind.h"
#include "driver/texture/textures_bind_shared.h"
#include "driver/texture/textures_key.h"

namespace {

// PrivateSurfaceData.FormatComponents of formats with four components.
constexpr uint32_t kFourComponents = 3;
// Texture bases are given in bits.
constexpr uint32_t kBaseShift = 5;
// AlphaBlendMode's factors for source alpha over inverse source alpha.
constexpr uint32_t kSourceAlpha = 4;
constexpr uint32_t kInverseSourceAlpha = 5;

bool IsCopyingTX(const D3DContext* ctx) {
    return field::TextureFormat_Application.Get(ctx->Copies.GlintTextureFormat) == kTXCopy;
}

// Turns the units off and sends the three words that both chips have.
void DisableUnits(D3DContext* ctx, StateWriter& out) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    PutField(copies.GlintTextureAddressMode, field::TextureAddressMode_Enable, 0);
    PutField(copies.GlintTextureReadMode, field::GlintTextureReadMode_Enable, 0);
    PutField(copies.GlintTextureFilterMode, field::TextureFilterMode_Enable, 0);
    out.Tag(tag::TextureAddressMode, copies.GlintTextureAddressMode);
    out.Tag(tag::GlintTextureReadMode, copies.GlintTextureReadMode);
    out.Tag(tag::TextureFilterMode, copies.GlintTextureFilterMode);
}

void UnbindTX(D3DContext* ctx, StateWriter& out) {
    out.Wait(8);
    DisableUnits(ctx, out);
    LeaveTexture(ctx);
    if (IsCopyingTX(ctx)) {
        PutField(ctx->Copies.ColorDDAMode, field::ColorDDAMode_Enable, 1);
        out.Tag(tag::ColorDDAMode, ctx->Copies.ColorDDAMode);
    }
    RestoreSpecular(ctx);
}

// The destination read that plain blending needs.
void RestoreDestRead(D3DContext* ctx) {
    PutField(ctx->Copies.FBReadMode, field::FBReadMode_ReadDest,
             field::AlphaBlendMode_Enable.Get(ctx->Copies.AlphaBlendMode));
}

void UnbindMX(D3DContext* ctx, StateWriter& out) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    out.Wait(9);
    DisableUnits(ctx, out);
    PutField(copies.TextureColorMode, field::TextureColorMode_Enable, 0);
    out.Tag(tag::TextureColorMode, copies.TextureColorMode);
    LeaveTexture(ctx);
    if (ctx->ColorKeyActive == 1) {
        RestoreDestRead(ctx);
        out.Tag(tag::AlphaBlendMode, copies.AlphaBlendMode);
        out.Tag(tag::FBReadMode, copies.FBReadMode);
        out.Tag(tag::AlphaTestMode, copies.AlphaTestMode);
        out.Tag(tag::RouterMode, 1);
        out.Tag(tag::ChromaTestMode, 0);
        ctx->ColorKeyActive = 0;
        ctx->RenderFlags &= ~RF_COLORKEY;
    }
    RestoreSpecular(ctx);
}

// The copies that both chips set alike, up to the point where MX adds its mip bits.
void PutUnits(D3DContext* ctx, TextureRecord* record) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    DropSpecularInFog(ctx);
    TakeTexture(ctx, record);
    PutField(copies.GlintTextureAddressMode, field::TextureAddressMode_Enable, 1);
    PutField(copies.GlintTextureReadMode, field::GlintTextureReadMode_Enable, 1);
    PutField(copies.GlintTextureReadMode, field::GlintTextureReadMode_Width,
             record->Private.LogWidth);
    PutField(copies.GlintTextureReadMode, field::GlintTextureReadMode_Height,
             record->Private.LogHeight);
    PutField(copies.GlintTextureReadMode, field::GlintTextureReadMode_TexelSize,
             record->Private.LogPixelBits);
    PutField(copies.GlintTextureFormat, field::TextureFormat_ColorOrder,
             record->Private.FormatOrder);
    PutField(copies.GlintTextureFormat, field::TextureFormat_Components,
             record->Private.FormatComponents);
    PutField(copies.GlintTextureFilterMode, field::TextureFilterMode_Enable, 1);
}

void SendUnits(D3DContext* ctx, StateWriter& out) {
    out.Wait(3);
    out.Tag(tag::TextureAddressMode, ctx->Copies.GlintTextureAddressMode);
    out.Tag(tag::GlintTextureReadMode, ctx->Copies.GlintTextureReadMode);
    out.Tag(tag::TextureFormat, ctx->Copies.GlintTextureFormat);
}

// The filter word stays in its copy: TX gets it only when the unit is switched off.
void BindTX(D3DContext* ctx, StateWriter& out, TextureRecord* record) {
    PutUnits(ctx, record);
    SendUnits(ctx, out);
    PutField(ctx->Copies.ColorDDAMode, field::ColorDDAMode_Enable, !IsCopyingTX(ctx));
    out.Wait(2);
    out.Tag(tag::ColorDDAMode, ctx->Copies.ColorDDAMode);
    out.Tag(tag::TextureBaseAddr0, record->Levels[0].Address << kBaseShift);
    if (record->Private.Format == kTexelFormatIndexed4 && record->Private.PixelSize == PixelSize4) {
        SendPalette4(out, record);
    }
}

void PutMipMap(D3DContext* ctx, const TextureRecord* record) {
    constexpr uint32_t kAllLevels = 3;
    const bool mipMapped = record->MipMapped != 0;
    PutField(ctx->Copies.GlintTextureReadMode, field::GlintTextureReadMode_MipMap, mipMapped);
    PutField(ctx->Copies.GlintTextureAddressMode, field::TextureAddressMode_LevelOfDetail,
             mipMapped ? kAllLevels : 0);
}

void SendBases(StateWriter& out, const TextureRecord* record) {
    const uint32_t count =
        record->LevelCount < kMaxTextureLevels ? record->LevelCount : kMaxTextureLevels;
    out.Wait(count);
    for (uint32_t i = 0; i != count; ++i) {
        out.Tag(tag::TextureBaseAddr0 + i, record->Levels[i].Address << kBaseShift);
    }
}

void PutBaseFormat(D3DContext* ctx, bool fourComponents) {
    uint32_t& mode = ctx->Copies.TextureColorMode;
    PutField(mode, field::TextureColorMode_BaseFormat, fourComponents);
    PutField(mode, field::TextureColorMode_BaseFormatEnable, 1);
}

void SendPaletteMX(D3DContext* ctx, StateWriter& out, const TextureRecord* record) {
    switch (record->Private.Format) {
    case kTexelFormatIndexed8: {
        const uint32_t address = PaletteAddress(ctx, out, record, MXLUTDownload);
        out.Wait(2);
        out.Tag(tag::TexelLUTAddress, address);
        out.Tag(tag::TexelLUTTransfer, kLoadPalette);
        break;
    }
    case kTexelFormatIndexed4:
        SendPalette4(out, record);
        out.Wait(2);
        out.Tag(tag::TexelLUTTransfer, 0);
        out.Tag(tag::TexelLUTIndex, 0);
        break;
    default:
        out.Wait(1);
        out.Tag(tag::TexelLUTTransfer, 0);
        break;
    }
}

KeyColours KeyBoundsMX(const TextureRecord* record) {
    const DDRAWI_DDRAWSURFACE_LCL* surface = record->Surface;
    const DDPIXELFORMAT& format = *PixelFormatOf(surface);
    const KeyColours key = ExpandColourKey(surface, format, record->Private.PixelSize, true);
    // A palette's colours are exact.
    return IsPaletteFormat(format) ? key : WidenKey(key);
}

void SendKeyOn(D3DContext* ctx, StateWriter& out, const TextureRecord* record) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    ctx->ColorKeyActive = 1;
    ctx->RenderFlags |= RF_COLORKEY;
    const KeyColours bounds = KeyBoundsMX(record);
    out.Wait(4);
    out.Tag(tag::TextureChromaUpper, bounds.High);
    out.Tag(tag::TextureChromaLower, bounds.Low);
    copies.AlphaBlendModeKeyed = field::AlphaBlendMode_Enable.Put(copies.AlphaBlendMode, 1);
    if ((ctx->RenderFlags & RF_BLEND) == 0) {
        PutField(copies.AlphaBlendModeKeyed, field::AlphaBlendMode_Source, kSourceAlpha);
        PutField(copies.AlphaBlendModeKeyed, field::AlphaBlendMode_Dest, kInverseSourceAlpha);
    }
    PutField(copies.FBReadMode, field::FBReadMode_ReadDest, 1);
    PutBaseFormat(ctx, true);
    PutField(copies.GlintTextureFilterMode, field::TextureFilterMode_KeyTest, 1);
    out.Tag(tag::ChromaTestMode, 0);
    out.Tag(tag::RouterMode, 0);
    out.Wait(2);
    out.Tag(tag::AlphaBlendMode, copies.AlphaBlendModeKeyed);
    out.Tag(tag::AlphaTestMode, copies.AlphaTestModeKeyed);
}

void SendKeyOff(D3DContext* ctx, StateWriter& out) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    ctx->ColorKeyActive = 0;
    ctx->RenderFlags &= ~RF_COLORKEY;
    PutField(copies.GlintTextureFilterMode, field::TextureFilterMode_KeyTest, 0);
    RestoreDestRead(ctx);
    out.Wait(4);
    out.Tag(tag::AlphaBlendMode, copies.AlphaBlendMode);
    out.Tag(tag::AlphaTestMode, copies.AlphaTestMode);
    out.Tag(tag::ChromaTestMode, 0);
    out.Tag(tag::RouterMode, 1);
}

void BindMX(D3DContext* ctx, StateWriter& out, TextureRecord* record) {
    PutUnits(ctx, record);
    PutMipMap(ctx, record);
    SendUnits(ctx, out);
    SendBases(out, record);
    PutField(ctx->Copies.TextureColorMode, field::TextureColorMode_Enable, 1);
    PutBaseFormat(ctx, record->Private.FormatComponents == kFourComponents);
    SendPaletteMX(ctx, out, record);
    if (HasColourKey(record)) {
        SendKeyOn(ctx, out, record);
    } else {
        SendKeyOff(ctx, out);
    }
    out.Wait(3);
    out.Tag(tag::TextureFilterMode, ctx->Copies.GlintTextureFilterMode);
    out.Tag(tag::FBReadMode, ctx->Copies.FBReadMode);
    out.Tag(tag::TextureColorMode, ctx->Copies.TextureColorMode);
}

} // namespace

void ChangeTextureTX(D3DContext* ctx) {
    ChangeTexture<BindTX, UnbindTX, false>(ctx);
}

void ChangeTextureMX(D3DContext* ctx) {
    ChangeTexture<BindMX, UnbindMX, false>(ctx);
}
