#pragma once
// Flat and Gouraud triangles for a chip with no setup unit: the host works out every slope.
#include "driver/raster/renderer.h"

void Glint_Tri_XY_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
void Glint_Tri_XY_FLAT_F(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                         void* records);
void Glint_Tri_XYZ_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
void Glint_Tri_XYZ_FLAT_F(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
void Glint_Tri_XY_RGB(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
void Glint_Tri_XY_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
void Glint_Tri_XYZ_RGB(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
void Glint_Tri_XYZ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
