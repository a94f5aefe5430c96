#pragma once
// Points of untextured triangles for a chip with no setup unit.
#include "driver/raster/renderer.h"

// Always with depth, and with alpha 0.
// Kept as an outside name: nothing here calls it.
void RenderRGBPoint(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
