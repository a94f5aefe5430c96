// The untextured members of Permedia 2.
#include "driver/raster/p2_gour.h"

#include "driver/raster/su_p2.h"
#include "driver/raster/su_tri.h"
#include "driver/raster/su_wire.h"

void P2_Tri_XY_FLATS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    su::FlatTriangles<su::P2, su::PackedFlatColour>(ctx, ins, vertices, records);
}

void P2_Tri_XYZ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    su::Triangles<su::P2>(ctx, ins, vertices, records);
}

void P2_TriWire_XYZ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records) {
    su::Wires<su::P2, su::P2Plain>(ctx, ins, vertices, records);
}

void P2_TriPoint_XYZ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records) {
    su::Points<su::P2, su::P2Plain>(ctx, ins, vertices, records);
}
