// Renderers for primitives that a chip configuration can't draw.
#include "driver/raster/renderer.h"

void Dummy_Triangle_Renderer(D3DContext*, D3DINSTRUCTION*, D3DTLVERTEX*, void*) {}
void Dummy_Line_Renderer(D3DContext*, D3DINSTRUCTION*, D3DTLVERTEX*, void*) {}
void Dummy_Point_Renderer(D3DContext*, D3DINSTRUCTION*, D3DTLVERTEX*, void*) {}
