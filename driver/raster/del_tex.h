#pragma once
// Textured triangles, wires and lines for a Delta setup unit.
#include "driver/raster/renderer.h"

void Delta_TriWire_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                void* records);
void Delta_TriWire_XYZ_STQ_RGB_FogSpecular(D3DContext* ctx, D3DINSTRUCTION* ins,
                                           D3DTLVERTEX* vertices, void* records);
void Delta_TriWire_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                 void* records);
void Delta_Tri_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
void Delta_Tri_XYZ_STQ_RGB_FogSpecular(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                       void* records);
void Delta_Tri_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                            void* records);
void Delta_Line_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
void Delta_Line_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                              void* records);
