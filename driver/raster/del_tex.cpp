// The textured members of a Delta setup unit, and its lines.
#include "driver/raster/del_tex.h"

#include "driver/raster/del_textured.h"
#include "driver/raster/su_line.h"

void Delta_Tri_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                            void* records) {
    su::DeltaTexturedTriangles<su::DeltaFogged>(ctx, ins, vertices, records);
}

void Delta_Tri_XYZ_STQ_RGB_FogSpecular(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                       void* records) {
    su::DeltaTexturedTriangles<su::DeltaFogSpecular>(ctx, ins, vertices, records);
}

void Delta_Tri_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records) {
    su::DeltaTexturedTriangles<su::DeltaSpecular>(ctx, ins, vertices, records);
}

void Delta_TriWire_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                void* records) {
    su::Wires<su::Delta, su::DeltaFogged>(ctx, ins, vertices, records);
}

void Delta_TriWire_XYZ_STQ_RGB_FogSpecular(D3DContext* ctx, D3DINSTRUCTION* ins,
                                           D3DTLVERTEX* vertices, void* records) {
    su::Wires<su::Delta, su::DeltaFogSpecular>(ctx, ins, vertices, records);
}

void Delta_TriWire_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                 void* records) {
    su::Wires<su::Delta, su::DeltaSpecular>(ctx, ins, vertices, records);
}

void Delta_Line_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records) {
    su::Lines<su::Delta, su::DeltaFogSpecular>(ctx, ins, vertices, records);
}

void Delta_Line_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                              void* records) {
    su::Lines<su::Delta, su::DeltaSpecular>(ctx, ins, vertices, records);
}
