#pragma once
// The render path: drawing instructions, the ends of a scene, and aiming the chip at a context's
// buffers.
#include "driver/core/records/d3d_context.h"

#include <cstdint>

// First byte of the memory behind an execute or vertex buffer. Nothing is locked or checked.
inline uint8_t* BufferDataOf(LPDIRECTDRAWSURFACE buffer) {
    return reinterpret_cast<uint8_t*>(buffer->lpLcl->lpGbl->fpVidMem);
}

// Makes sure that words written next reach the chip under the context's own registers. Only a FIFO
// context takes the chip here, under DMA that travels with StartDMA; the first Permedia then gets
// the five mode words that a change of context does not keep. Writes through the stream itself.
void SynchroniseContext(D3DContext* ctx);

// Gives the chip to hardware context `id`, and has the five words sent on the stream of `ctx`, a
// FIFO context. Writes through the stream itself.
void SwitchFIFOContext(D3DContext* ctx, uint32_t id);

// Aims the chip at the context's colour and Z buffers, consumes the display's TargetLost, and marks
// the target surface as the context's.
void FlipSurfaces(DriverData* driver, D3DContext* ctx);

// Direct3D callbacks. Each returns 1; the result is in ddrval.

// Draws one instruction after sending all dirty state: DD_OK, D3DHAL_CONTEXT_BAD, or
// DDERR_INVALIDPARAMS while the texture in force lies in system memory.
DWORD KORV_STDCALL RenderPrimitive(D3DHAL_RENDERPRIMITIVEDATA* data);
// Start of a scene: short sub-buffers again. End: sends what is pending. DD_OK or
// D3DHAL_CONTEXT_BAD.
DWORD KORV_STDCALL SceneCapture(D3DHAL_SCENECAPTUREDATA* data);
