#pragma once
// Textures: the records, found by handle in a hash table of the context, and their callbacks. No
// texture memory is owned here.
#include "driver/core/records/d3d_context.h"
#include "driver/core/records/texture_record.h" // IWYU pragma: export
#include "driver/platform/d3dhal.h"

#include <cstdint>

// Smallest k with 2^k not below n.
constexpr uint32_t RoundedUpLog2(uint32_t n) {
    uint32_t k = 0;
    while (k < 32 && (uint64_t{1} << k) < n) {
        ++k;
    }
    return k;
}

// Starts the context's handles and hash buckets.
void InitTextureHashTable(D3DContext* ctx);
// The next handle of the context. Handles begin at 1 and are never used again.
uint32_t GetNewTextureHandle(D3DContext* ctx);
// The context's record with this handle, or null.
TextureRecord* TextureHandleToPtr(uint32_t handle, D3DContext* ctx);

// Direct3D callbacks. Each returns 1; the result is in ddrval.

// A record and handle for a surface: DD_OK, D3DHAL_CONTEXT_BAD, DDERR_OUTOFMEMORY.
DWORD KORV_STDCALL TextureCreate(D3DHAL_TEXTURECREATEDATA* data);
// Frees the record: DD_OK, or D3DHAL_CONTEXT_BAD for a bad context, handle, record or surface.
DWORD KORV_STDCALL TextureDestroy(D3DHAL_TEXTUREDESTROYDATA* data);
// Exchanges what is behind two handles: DD_OK, D3DHAL_CONTEXT_BAD, DDERR_INVALIDPARAMS.
DWORD KORV_STDCALL TextureSwap(D3DHAL_TEXTURESWAPDATA* data);
// The surface behind a handle: DD_OK, or D3DHAL_CONTEXT_BAD for a bad or lost texture.
DWORD KORV_STDCALL TextureGetSurf(D3DHAL_TEXTUREGETSURFDATA* data);
