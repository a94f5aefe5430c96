#pragma once
// Untextured primitives for the setup unit of Permedia 2.
#include "driver/raster/renderer.h"

void P2_TriPoint_XYZ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records);
void P2_TriWire_XYZ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
void P2_Tri_XYZ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
void P2_Tri_XY_FLATS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
