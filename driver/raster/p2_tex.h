#pragma once
// Textured triangles, wires and lines for the setup unit of Permedia 2.
#include "driver/raster/renderer.h"

void P2_TriWire_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                              void* records);
void P2_Tri_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
void P2_Line_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records);
