// The textured members of Permedia 2 for any state.
#include "driver/raster/p2_tex.h"

#include "driver/raster/p2_textured.h"
#include "driver/raster/su_line.h"
#include "driver/raster/su_p2.h"
#include "driver/raster/su_wire.h"

void P2_Tri_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records) {
    su::P2TexturedTriangles<su::P2TexturedTraits{.reserve = 256}>(ctx, ins, vertices, records);
}

void P2_TriWire_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                              void* records) {
    su::Wires<su::P2, su::P2Textured>(ctx, ins, vertices, records);
}

void P2_Line_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records) {
    su::Lines<su::P2, su::P2Textured>(ctx, ins, vertices, records);
}
