#pragma once
// The Glint family (SX, TX, MX, with or without a Delta): render states, choice of the renderers,
// and the dirty flush.
#include "driver/d3d/states.h"

// Applies `count` pairs of state number and value to the context's register copies, registers and
// dirty flags. RenderStates is not kept here. Always DD_OK.
uint32_t ProcessGlintStates(D3DContext* ctx, uint32_t count, const uint32_t* pairs);

// Chooses TriangleRenderer, and without a Delta LineRenderer too, for `flags` (RenderFlags) and
// the rest of the context's state.
void PickGlintRenderProcs(D3DContext* ctx, uint32_t flags);

// Brings everything that DirtyFlags names to the chip: blend, texture, Z, renderers, target. The
// flags themselves stay for the caller to clear.
void HandleDirtyGlintState(DriverData* driver, D3DContext* ctx);
