#include "driver/texture/textures_bind_shared.h"

#include "driver/texture/textures_key.h"

uint32_t PaletteAddress(D3DContext* ctx, StateWriter& out, const TextureRecord* record,
                        PaletteDownload download) {
    PrivateSurfaceData* own = PrivateOf(record->Surface);
    if (own == nullptr) {
        return 0;
    }
    if (own->LUTAddress == 0) {
        out.Store();
        download(ctx->Driver, own, ctx, record->Surface);
        out.Reload();
        out.Reserve(kBindBytes);
    }
    return own->LUTAddress;
}

void SendPalette4(StateWriter& out, const TextureRecord* record) {
    const PALETTEENTRY* palette = PaletteOf(record->Surface);
    if (palette == nullptr) {
        return;
    }
    out.Wait(16);
    for (uint32_t i = 0; i != 16; ++i) {
        out.Tag(tag::TexelLUT0 + i, OpaqueChipColour(palette[i]));
    }
}

bool HasColourKey(const TextureRecord* record) {
    return PrivateOf(record->Surface) != nullptr &&
           (record->Surface->dwFlags & DDRAWISURF_HASCKEYSRCBLT) != 0;
}

void DropSpecularInFog(D3DContext* ctx) {
    if ((ctx->RenderFlags & RF_FOG) != 0) {
        ctx->RenderFlags &= ~RF_SPECULAR;
    }
}

void TakeTexture(D3DContext* ctx, TextureRecord* record) {
    ctx->CurrentTexture = record;
    ctx->TextureWidth = static_cast<float>(record->Width);
    ctx->TextureHeight = static_cast<float>(record->Height);
    const uint32_t repeatU = kTextureUnitSize / record->Width;
    const uint32_t repeatV = kTextureUnitSize / record->Height;
    ctx->TextureRepeatU = static_cast<float>(repeatU);
    ctx->TextureRepeatV = static_cast<float>(repeatV);
    ctx->TextureRepeatMaskU = repeatU - 1;
    ctx->TextureRepeatMaskV = repeatV - 1;
    ctx->RenderFlags |= RF_TEXTURE;
    PutField(ctx->RenderCommand, field::Render_Texture, 1);
}

void LeaveTexture(D3DContext* ctx) {
    ctx->RenderFlags &= ~RF_TEXTURE;
    PutField(ctx->RenderCommand, field::Render_Texture, 0);
}

void RestoreSpecular(D3DContext* ctx) {
    if (ctx->SpecularEnabled == 1) {
        ctx->RenderFlags |= RF_SPECULAR;
    }
}
