#include "driver/texture/lut_download.h"

#include "driver/texture/chunked_burst.h"
#include "driver/texture/textures_key.h"

namespace {

constexpr int32_t kPaletteEntries = 256;
constexpr uint32_t kSetupBytes = 128;

uint32_t ImageBytes(const DDRAWI_DDRAWSURFACE_GBL* global) {
    return global->wHeight * static_cast<uint32_t>(global->lPitch);
}

// The chip is read once in front of a load, for the sake of the access alone.
void ReadAhead(DriverData* driver) {
    ReadChip(driver->Registers, MappedOffset(tag::LBWindowBase));
}

// No space is reserved for the pairs behind the last run.
void PassGuard(D3DContext* ctx, uint32_t pairs) {
    ctx->Stream.Guard.Allow(ctx->Stream.WritePointer + 2 * pairs);
}

void SendPalette(D3DContext* ctx, const PALETTEENTRY* palette) {
    SendRuns(ctx, tag::TextureData, kPaletteEntries,
             ConvertedWords<PALETTEENTRY, OpaqueChipColour>(palette));
}

} // namespace

void P2LUTDownload(DriverData* driver, PrivateSurfaceData* record, D3DContext* ctx,
                   DDRAWI_DDRAWSURFACE_LCL* surface) {
    const DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    const PALETTEENTRY* palette = PaletteOf(surface);
    const uint32_t imageBytes = ImageBytes(global);
    ReadAhead(driver);
    if ((surface->ddsCaps.dwCaps & DDSCAPS_NONLOCALVIDMEM) != 0) {
        if (palette != nullptr) {
            auto* to = reinterpret_cast<uint32_t*>(global->fpVidMem + imageBytes);
            for (int32_t i = 0; i != kPaletteEntries; ++i) {
                to[i] = OpaqueChipColour(palette[i]);
            }
        }
        // The address goes by the attached surface's memory, not by this one's.
        const DDRAWI_DDRAWSURFACE_LCL* attached =
            surface->lpAttachList != nullptr ? surface->lpAttachList->lpAttached : surface;
        record->LUTAddress =
            (attached->lpGbl->fpVidMem - driver->NonLocalHeapPhysical + imageBytes) >> 2;
        return;
    }
    const auto frameBuffer = reinterpret_cast<uint32_t>(driver->FrameBufferBase);
    record->LUTAddress = (imageBytes - frameBuffer + global->fpVidMem) >> 2;
    ReserveSpace(ctx, kSetupBytes);
    BeginDisconnect(ctx);
    EmitTag(ctx->Stream, tag::TextureDownloadOffset, record->LUTAddress);
    if (palette != nullptr) {
        SendPalette(ctx, palette);
    }
    PassGuard(ctx, 1);
    EmitTag(ctx->Stream, tag::WaitForCompletion, 0);
    EndDisconnect(ctx);
}

void MXLUTDownload(DriverData* driver, PrivateSurfaceData* record, D3DContext* ctx,
                   DDRAWI_DDRAWSURFACE_LCL* surface) {
    const DDRAWI_DDRAWSURFACE_GBL* global = surface->lpGbl;
    const PALETTEENTRY* palette = PaletteOf(surface);
    const auto localBuffer = reinterpret_cast<uint32_t>(driver->LocalBufferBase);
    ReadAhead(driver);
    record->LUTAddress = (ImageBytes(global) - localBuffer + global->fpVidMem) >> 2;
    ReserveSpace(ctx, kSetupBytes);
    BeginDisconnect(ctx);
    EmitTag(ctx->Stream, tag::LBWindowBase, record->LUTAddress);
    EmitTag(ctx->Stream, tag::TextureDownloadOffset, 0);
    EmitTag(ctx->Stream, tag::LBReadMode, 0);
    if (palette != nullptr) {
        SendPalette(ctx, palette);
    }
    PassGuard(ctx, 3);
    EmitTag(ctx->Stream, tag::WaitForCompletion, 0);
    EmitTag(ctx->Stream, tag::LBReadMode, ctx->Copies.LBReadMode);
    EmitTag(ctx->Stream, tag::LBWindowBase, ctx->WindowBaseDepth);
    EndDisconnect(ctx);
}
