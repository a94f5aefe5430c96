#pragma once
// What all renderers share: their contract, Renderer, is told with the record that holds them.
#include "driver/core/records/d3d_context.h" // IWYU pragma: export
#include "driver/platform/d3dhal.h"

// Renderers that draw nothing.
void Dummy_Triangle_Renderer(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
void Dummy_Line_Renderer(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                         void* records);
void Dummy_Point_Renderer(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
