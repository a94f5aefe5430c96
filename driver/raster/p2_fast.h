#pragma once
// The specialised triangles of Permedia 2, for DMA only.
#include "driver/raster/renderer.h"

void P2_GouraudTextureZ(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records);
void P2_GouraudTextureKSZ(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records);
void P2_GouraudTextureFogZ(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records);
