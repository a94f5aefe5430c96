// The mip-mapped triangles of a Delta setup unit.
#include "driver/raster/del_mip.h"

#include "driver/raster/del_textured.h"

void Delta_MipPMTri_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                 void* records) {
    su::DeltaMipTriangles<su::DeltaFogged>(ctx, ins, vertices, records);
}

void Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular(D3DContext* ctx, D3DINSTRUCTION* ins,
                                            D3DTLVERTEX* vertices, void* records) {
    su::DeltaMipTriangles<su::DeltaFogSpecular>(ctx, ins, vertices, records);
}
