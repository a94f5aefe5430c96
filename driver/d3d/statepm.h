#pragma once
// Permedia and Permedia 2: render states, choice of the triangle renderer, and the dirty flush.
#include "driver/d3d/states.h"

// Applies `count` pairs of state number and value to the context's register copies, registers and
// dirty flags. Always DD_OK.
uint32_t ProcessPermediaStates(D3DContext* ctx, uint32_t count, const uint32_t* pairs);

// Choose TriangleRenderer for `flags` (RenderFlags) and the rest of the context's state.
void PickPermediaRenderProcs(D3DContext* ctx, uint32_t flags);
void PickP2RenderProcs(D3DContext* ctx, uint32_t flags);

// Brings everything that DirtyFlags names to the chip: Z, blend, texture, renderers, target. The
// flags themselves stay for the caller to clear.
void HandleDirtyPermediaState(DriverData* driver, D3DContext* ctx);
