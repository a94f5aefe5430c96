#pragma once
// Mip-mapped triangles for the setup unit of Permedia 2.
#include "driver/raster/renderer.h"

void P2_MipTri_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
void P2_GouraudTextureZMM(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
