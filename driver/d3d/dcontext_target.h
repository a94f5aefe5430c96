#pragma once
// Render targets: what the chip must know of the colour and Z surfaces besides where they lie.
#include "driver/core/records/d3d_context.h"

// Direct3D callback: changes the surfaces a context draws to. Returns 1; ddrval is DD_OK,
// DDERR_INVALIDPARAMS without a colour surface, DDERR_CURRENTLYNOTAVAIL for one in system memory,
// or D3DHAL_CONTEXT_BAD.
// Kept as an outside name: nothing here calls it.
DWORD KORV_STDCALL SetRenderTarget32(D3DHAL_SETRENDERTARGETDATA* data);

// `word` with the display's partial products in its low nine bits, where read and map modes have
// them.
uint32_t PutDisplayProducts(uint32_t word, const D3DContext* ctx);

// Send pitches, size and pixel format of the surfaces and make them the context's. `zbuffer` may be
// null: the depth unit then keeps the pitch of the display.
void SetupPermediaTargetData(D3DContext* ctx, DDRAWI_DDRAWSURFACE_LCL* target,
                             DDRAWI_DDRAWSURFACE_LCL* zbuffer);
void SetupGlintTargetData(D3DContext* ctx, DDRAWI_DDRAWSURFACE_LCL* target,
                          DDRAWI_DDRAWSURFACE_LCL* zbuffer);
