#pragma once
// Mip-mapped triangles for a Delta setup unit.
#include "driver/raster/renderer.h"

void Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular(D3DContext* ctx, D3DINSTRUCTION* ins,
                                            D3DTLVERTEX* vertices, void* records);
void Delta_MipPMTri_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                 void* records);
