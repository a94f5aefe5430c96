#pragma once
// Would any pixel of these triangles pass the depth test? The chip draws them with all writes off
// and says whether a pixel got through. Nothing in the system asks yet: primitives drawn in that
// render state are reported as visible.
#include "driver/platform/d3dhal.h"

#include <cstdint>

struct D3DContext;
struct DriverData;

// Turns writes off and clears the pick result, for the whole render target.
void BeginZPickTest(DriverData* driver, D3DContext* ctx);
// Waits for the chip's answer, without limit, and turns writes on: those of depth only if the
// context writes depth. 1 if a pixel passed since the beginning, else 0.
uint32_t EndZPickTest(DriverData* driver, D3DContext* ctx);

// The whole test for an instruction's triangles; arguments as of a Renderer. 1 visible, 0 not.
// Without triangles Delta's answers 1 at once, the other asks the chip, which saw nothing.
// Kept as outside names: nothing here calls them.
uint32_t Delta_Tri_Z_Visible(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
uint32_t Glint_Tri_Z_Visible(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
