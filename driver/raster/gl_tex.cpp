// The textured members, each bound to what it sends.
#include "driver/raster/gl_tex.h"

#include "driver/raster/gl_setup.h"

// clang-format off
#define KORV_MEMBER(name, kind, ...)                                                               \
    void name(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {        \
        constexpr glint::TriangleTraits kTraits{__VA_ARGS__ __VA_OPT__(,)                          \
                                                .texture = glint::Texture::kind};                  \
        glint::Triangles<kTraits>(ctx, ins, vertices, records);                                    \
    }

KORV_MEMBER(Glint_Tri_XY_STQ_FLAT,    Perspective)
KORV_MEMBER(Glint_Tri_XY_STQ_FLAT_F,  Perspective, .fog = true)
KORV_MEMBER(Glint_Tri_XYZ_STQ_FLAT,   Perspective, .depth = true)
KORV_MEMBER(Glint_Tri_XYZ_STQ_FLAT_F, Perspective, .depth = true, .fog = true)
KORV_MEMBER(Glint_Tri_XY_STQ_RGB,     Perspective, .gouraud = true)
KORV_MEMBER(Glint_Tri_XY_STQ_RGBF,    Perspective, .gouraud = true, .fog = true)
KORV_MEMBER(Glint_Tri_XYZ_STQ_RGB,    Perspective, .depth = true, .gouraud = true)
KORV_MEMBER(Glint_Tri_XYZ_STQ_RGBF,   Perspective, .depth = true, .gouraud = true, .fog = true)
KORV_MEMBER(Glint_Tri_XY_ST_FLAT,     Affine)
KORV_MEMBER(Glint_Tri_XY_ST_FLAT_F,   Affine,      .fog = true)
KORV_MEMBER(Glint_Tri_XYZ_ST_FLAT,    Affine,      .depth = true)
KORV_MEMBER(Glint_Tri_XYZ_ST_FLAT_F,  Affine,      .depth = true, .fog = true)
KORV_MEMBER(Glint_Tri_XY_ST_RGB,      Affine,      .gouraud = true)
KORV_MEMBER(Glint_Tri_XY_ST_RGBF,     Affine,      .gouraud = true, .fog = true)
KORV_MEMBER(Glint_Tri_XYZ_ST_RGB,     Affine,      .depth = true, .gouraud = true)
KORV_MEMBER(Glint_Tri_XYZ_ST_RGBF,    Affine,      .depth = true, .gouraud = true, .fog = true)
// clang-format on
