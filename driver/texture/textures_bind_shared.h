#pragma once
// The design that the three bindings share.
#include "driver/core/bits.h"
#include "driver/core/dma.h"
#include "driver/heap/surface_format.h"
#include "driver/texture/colour_field.h"
#include "driver/texture/textures.h"

#include <cstdint>

// Space of one binding, in bytes.
inline constexpr uint32_t kBindBytes = 512;

// TexelLUTTransfer: take the palette from memory at TexelLUTAddress.
inline constexpr uint32_t kLoadPalette = field::TexelLUTTransfer_Load.Mask();

// Loads an 8-bit palette behind its texture and sets LUTAddress of `record`.
using PaletteDownload = void (*)(DriverData* driver, PrivateSurfaceData* record, D3DContext* ctx,
                                 DDRAWI_DDRAWSURFACE_LCL* surface);

// Word address of the 8-bit palette of the texture's surface; loaded now if it has none yet.
// Another kBindBytes are reserved after a load.
uint32_t PaletteAddress(D3DContext* ctx, StateWriter& out, const TextureRecord* record,
                        PaletteDownload download);
// Sends the 16 entries of a 4-bit palette; nothing for a surface that has none.
void SendPalette4(StateWriter& out, const TextureRecord* record);
// True if the texture's surface has a source colour key.
bool HasColourKey(const TextureRecord* record);
// Fog and textured specular do not go together.
void DropSpecularInFog(D3DContext* ctx);
// What any binding sets in the context: the record, sizes and repeats, and texturing itself. The
// scales are left to Permedia.
void TakeTexture(D3DContext* ctx, TextureRecord* record);
// The opposite.
void LeaveTexture(D3DContext* ctx);
// RF_SPECULAR as the application wants it, once no texture is in the way.
void RestoreSpecular(D3DContext* ctx);

// The course of every change of texture. Bind(ctx, out, record) programs a usable texture,
// Unbind(ctx, out) switches the unit off; kBindBytes are reserved for each. DropsHandle: a handle
// that can't be used is forgotten.
template <auto Bind, auto Unbind, bool DropsHandle>
void ChangeTexture(D3DContext* ctx) {
    StateWriter out(ctx);
    out.Reserve(kBindBytes);
    if (ctx->TextureHandle == 0) {
        Unbind(ctx, out);
        out.Store();
        ctx->TextureValid = 1;
        ctx->CurrentTexture = nullptr;
        return;
    }
    TextureRecord* record = TextureHandleToPtr(ctx->TextureHandle, ctx);
    const bool usable = record != nullptr && IsTextureUsable(record);
    if (usable) {
        Bind(ctx, out, record);
        out.Store();
    } else if (DropsHandle) {
        ctx->TextureHandle = 0;
    }
    if (record == nullptr) {
        ctx->TextureValid = 1;
        return;
    }
    if (!usable) {
        record->Magic = kTextureMagicUnusable;
    }
    ctx->TextureValid = record->Location != TextureInSystemMemory;
}
