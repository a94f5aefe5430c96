#include "driver/raster/gl_point.h"

#include "driver/raster/gl_points.h"

void Glint_TriPoint_XYZ_STQ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                 void* records) {
    glint::Points<glint::PointTraits{.texture = true, .alpha = true, .depthBeforeFog = true}>(
        ctx, ins, vertices, records);
}
