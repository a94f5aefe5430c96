#pragma once
// Untextured primitives for a Delta setup unit.
#include "driver/raster/renderer.h"

void Delta_TriPoint_XYZ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
void Delta_TriWire_XYZ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                            void* records);
void Delta_Tri_XYZ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
void Delta_Tri_XY_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
// For grey on a 16-bit target.
// Kept as an outside name: nothing here calls it.
void Delta_Tri_XY_16BIT_MONO_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                  void* records);
