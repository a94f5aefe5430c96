// Binding on Permedia and Permedia 2.
#include "driver/texture/textures_bind.h"

#include "driver/texture/lut_download.h"
#include "driver/texture/textures_bind_shared.h"
#include "driver/texture/textures_key.h"

namespace {

// Bit 3 of TextureColorMode, which specular shares with the colour field's top bit.
constexpr uint32_t kColorModeSpecularBits = 0x8 | field::TextureColorMode_Specular.Mask();
// YUVMode's key field of a keyed texture.
constexpr uint32_t kKeyTestOn = 2;

bool IsCopying(const D3DContext* ctx) {
    return field::TextureColorMode_Application.Get(ctx->Copies.TextureColorMode) == kColorModeCopy;
}

void Unbind(D3DContext* ctx, StateWriter& out) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    PutField(copies.TextureAddressMode, field::TextureAddressMode_Enable, 0);
    PutField(copies.TextureReadMode, field::TextureReadMode_Enable, 0);
    PutField(copies.TextureColorMode, field::TextureColorMode_Enable, 0);
    out.Wait(5);
    out.Tag(tag::TextureAddressMode, copies.TextureAddressMode);
    out.Tag(tag::TextureReadMode, copies.TextureReadMode);
    out.Tag(tag::TextureColorMode, copies.TextureColorMode);
    out.Tag(tag::TextureBaseAddress, 0);
    out.Tag(tag::TexelLUTTransfer, 0);
    LeaveTexture(ctx);
    if (IsCopying(ctx)) {
        // Copying went without interpolated colours.
        if (ctx->UseDelta != 0) {
            PutField(copies.DeltaMode, field::DeltaMode_SmoothShading,
                     (ctx->RenderFlags & RF_GOURAUD) != 0);
            out.Tag(tag::DeltaMode, copies.DeltaMode);
        }
        PutField(copies.ColorDDAMode, field::ColorDDAMode_Enable, 1);
        out.Tag(tag::ColorDDAMode, copies.ColorDDAMode);
    }
    if (IsFirstPermedia(ctx->Driver->ChipInfo)) {
        RestoreSpecular(ctx);
    }
    if (ctx->ColorKeyActive == 1) {
        PutField(copies.YUVMode, field::YUVMode_Enable, 0);
        PutField(copies.YUVMode, field::YUVMode_KeyMode, 0);
        out.Tag(tag::YUVMode, copies.YUVMode);
        ctx->ColorKeyActive = 0;
    }
}

void PutSpecular(D3DContext* ctx, StateWriter& out) {
    if (IsFirstPermedia(ctx->Driver->ChipInfo)) {
        DropSpecularInFog(ctx);
        return;
    }
    const bool specular = (ctx->RenderFlags & RF_SPECULAR) != 0;
    out.Wait(1);
    PutField(ctx->Copies.DeltaMode, field::DeltaMode_Specular, specular);
    AssignBits(ctx->Copies.TextureColorMode, kColorModeSpecularBits, specular);
    out.Tag(tag::DeltaMode, ctx->Copies.DeltaMode);
}

void PutLayout(D3DContext* ctx, const TextureRecord* record) {
    const PrivateSurfaceData* own = PrivateOf(record->Surface);
    const TextureLevel& top = record->Levels[0];
    uint32_t& map = ctx->Copies.TextureMapFormat;
    PutField(map, field::TextureMapFormat_PartialProduct0, top.PP0);
    PutField(map, field::TextureMapFormat_PartialProduct1, top.PP1);
    PutField(map, field::TextureMapFormat_PartialProduct2, top.PP2);
    PutField(map, field::TextureMapFormat_TexelSize, record->Private.PixelSize);
    PutField(map, field::TextureMapFormat_Patched,
             own != nullptr && (own->Flags & SURFACE_PATCHED_NOW) != 0);
    uint32_t& read = ctx->Copies.TextureReadMode;
    PutField(read, field::TextureReadMode_Width, record->Private.LogWidth);
    PutField(read, field::TextureReadMode_Height, record->Private.LogHeight);
    PutField(read, field::TextureReadMode_Enable, 1);
}

void PutTexelFormat(D3DContext* ctx, const TextureRecord* record) {
    uint32_t& format = ctx->Copies.TextureDataFormat;
    PutField(format, field::TextureDataFormat_Format, record->Private.Format);
    PutField(format, field::TextureDataFormat_FormatExtension, record->Private.FormatExtension);
    PutField(format, field::TextureDataFormat_NoAlpha, record->Private.HasAlpha == 0);
}

void SendPalette(D3DContext* ctx, StateWriter& out, const TextureRecord* record) {
    const bool permedia2 = IsPermedia2(ctx->Driver->ChipInfo);
    switch (record->Private.Format) {
    case kTexelFormatIndexed8: {
        const uint32_t address = PaletteAddress(ctx, out, record, P2LUTDownload);
        out.Wait(3);
        out.Tag(tag::TexelLUTAddress, address);
        out.Tag(tag::TexelLUTTransfer, kLoadPalette);
        out.Tag(tag::TexelLUTMode, field::TexelLUTMode_Enable.Mask());
        if (permedia2) {
            out.Wait(1);
            out.Tag(tag::TexelLUTIndex, 0);
        }
        break;
    }
    case kTexelFormatIndexed4:
        out.Wait(1);
        out.Tag(tag::TexelLUTMode, field::TexelLUTMode_Enable.Mask());
        SendPalette4(out, record);
        if (permedia2) {
            out.Wait(2);
            out.Tag(tag::TexelLUTIndex, 0);
            out.Tag(tag::TexelLUTTransfer, 0);
        }
        break;
    default:
        out.Wait(1);
        out.Tag(tag::TexelLUTMode, 0);
        break;
    }
}

void PutColourKey(D3DContext* ctx, StateWriter& out, const TextureRecord* record) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    const bool keyed = HasColourKey(record);
    ctx->ColorKeyActive = keyed;
    if (!keyed) {
        PutField(copies.TextureDataFormat, field::TextureDataFormat_KeyMode, 0);
        PutField(copies.YUVMode, field::YUVMode_KeyMode, 0);
        return;
    }
    // The surface's format word is taken as it stands, own format or not, but for the primary.
    const DDPIXELFORMAT& format = HasCaps(record->Surface, DDSCAPS_PRIMARYSURFACE)
                                      ? *PixelFormatOf(record->Surface)
                                      : record->Surface->lpGbl->ddpfSurface;
    const KeyColours bounds =
        WidenKey(ExpandColourKey(record->Surface, format, record->Private.PixelSize, false));
    if (IsPermedia2(ctx->Driver->ChipInfo)) {
        PutField(copies.TextureDataFormat, field::TextureDataFormat_KeyMode, 0);
    }
    out.Wait(2);
    out.Tag(tag::ChromaUpperBound, bounds.High);
    out.Tag(tag::ChromaLowerBound, bounds.Low);
    PutField(copies.YUVMode, field::YUVMode_KeyMode, kKeyTestOn);
}

// With mip levels the filter bit is the mip renderers'.
void PutFilter(D3DContext* ctx, const TextureRecord* record) {
    const bool mipMapped = record->MipMapped != 0;
    AssignBits(ctx->RenderFlags, RF_MIPMAP, mipMapped);
    if (!mipMapped) {
        PutField(ctx->Copies.TextureReadMode, field::TextureReadMode_Filter, ctx->TextureMagLinear);
    }
}

void PutVideoFormat(D3DContext* ctx, const TextureRecord* record) {
    const PrivateSurfaceData* own = PrivateOf(record->Surface);
    const bool video = own != nullptr && own->Format == kTexelFormatYUY2;
    PutField(ctx->Copies.YUVMode, field::YUVMode_Enable, video);
    PutField(ctx->Copies.TextureDataFormat, field::TextureDataFormat_ColorOrder, !video);
}

void Bind(D3DContext* ctx, StateWriter& out, TextureRecord* record) {
    D3DContext::RegisterCopies& copies = ctx->Copies;
    PutField(copies.TextureAddressMode, field::TextureAddressMode_Enable, 1);
    PutField(copies.TextureColorMode, field::TextureColorMode_Enable, 1);
    PutSpecular(ctx, out);
    PutLayout(ctx, record);
    TakeTexture(ctx, record);
    ctx->TextureWidthScale = ctx->TextureWidth * (1.0f / kTextureUnitSize);
    ctx->TextureHeightScale = ctx->TextureHeight * (1.0f / kTextureUnitSize);
    PutTexelFormat(ctx, record);
    PutField(copies.ColorDDAMode, field::ColorDDAMode_Enable, !IsCopying(ctx));
    out.Wait(1);
    out.Tag(tag::TextureBaseAddress, record->Levels[0].Address);
    SendPalette(ctx, out, record);
    PutColourKey(ctx, out, record);
    PutFilter(ctx, record);
    PutVideoFormat(ctx, record);
    out.Wait(7);
    out.Tag(tag::TextureReadMode, copies.TextureReadMode);
    out.Tag(tag::TextureDataFormat, copies.TextureDataFormat);
    out.Tag(tag::ColorDDAMode, copies.ColorDDAMode);
    out.Tag(tag::TextureMapFormat, copies.TextureMapFormat);
    out.Tag(tag::TextureColorMode, copies.TextureColorMode);
    out.Tag(tag::YUVMode, copies.YUVMode);
    out.Tag(tag::TextureAddressMode, copies.TextureAddressMode);
}

} // namespace

void ChangeTexturePermedia(D3DContext* ctx) {
    ChangeTexture<Bind, Unbind, true>(ctx);
}
