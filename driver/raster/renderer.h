#pragma once
// The contract of all renderers: one drawing instruction in, words in the current sub-buffer out.
#include "driver/platform/d3dhal.h"

#include <cstdint>

struct D3DContext;

// `records` is the instruction's first record (D3DTRIANGLE, D3DLINE or D3DPOINT); it advances by
// ins->bSize bytes for ins->wCount (at least 1) rounds. Indices into `vertices` are not checked.
// The vertices' sy may be rewritten to whole rows. Nothing is flushed.
using Renderer = void (*)(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);

// Renderers that draw nothing.
void Dummy_Triangle_Renderer(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records);
void Dummy_Line_Renderer(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                         void* records);
void Dummy_Point_Renderer(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
