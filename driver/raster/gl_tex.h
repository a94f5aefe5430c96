#pragma once
// Textured triangles for a chip with no setup unit.
#include "driver/raster/renderer.h"

void Glint_Tri_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                            void* records);
void Glint_Tri_XYZ_STQ_RGB(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records);
void Glint_Tri_XYZ_STQ_FLAT_F(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                              void* records);
void Glint_Tri_XYZ_STQ_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                            void* records);
void Glint_Tri_XY_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records);
void Glint_Tri_XY_STQ_RGB(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
void Glint_Tri_XY_STQ_FLAT_F(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
void Glint_Tri_XY_STQ_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records);
void Glint_Tri_XYZ_ST_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records);
void Glint_Tri_XYZ_ST_RGB(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
void Glint_Tri_XYZ_ST_FLAT_F(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
void Glint_Tri_XYZ_ST_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records);
void Glint_Tri_XY_ST_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
void Glint_Tri_XY_ST_RGB(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                         void* records);
void Glint_Tri_XY_ST_FLAT_F(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                            void* records);
void Glint_Tri_XY_ST_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
