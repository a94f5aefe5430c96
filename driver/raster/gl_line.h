#pragma once
// Lines for a chip with no setup unit.
#include "driver/raster/renderer.h"

void Glint_Line_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
