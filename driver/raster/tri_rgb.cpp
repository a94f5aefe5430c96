#include "driver/raster/tri_rgb.h"

#include "driver/raster/gl_points.h"

void RenderRGBPoint(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    glint::Points<glint::PointTraits{.alwaysDepth = true}>(ctx, ins, vertices, records);
}
