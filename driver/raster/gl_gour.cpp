// The flat and Gouraud members, each bound to what it sends.
#include "driver/raster/gl_gour.h"

#include "driver/raster/gl_setup.h"

#define KORV_MEMBER(name, ...)                                                                     \
    void name(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {        \
        glint::Triangles<glint::TriangleTraits{__VA_ARGS__}>(ctx, ins, vertices, records);         \
    }

// clang-format off
KORV_MEMBER(Glint_Tri_XY_FLAT,    .blockFill = true)
KORV_MEMBER(Glint_Tri_XY_FLAT_F,  .blockFill = true) // sends no fog
KORV_MEMBER(Glint_Tri_XYZ_FLAT,   .depth = true)
KORV_MEMBER(Glint_Tri_XYZ_FLAT_F, .depth = true, .fog = true)
KORV_MEMBER(Glint_Tri_XY_RGB,     .gouraud = true)
KORV_MEMBER(Glint_Tri_XY_RGBF,    .gouraud = true, .fog = true)
KORV_MEMBER(Glint_Tri_XYZ_RGB,    .depth = true, .gouraud = true)
KORV_MEMBER(Glint_Tri_XYZ_RGBF,   .depth = true, .gouraud = true, .fog = true)
// clang-format on
