#include "driver/d3d/states_pick.h"

#include "driver/d3d/dcontext.h"
#include "driver/raster/gl_gour.h"
#include "driver/raster/gl_tex.h"

namespace {

// Indexed by [perspective][smooth][fog][depth].
constexpr Renderer kTextured[2][2][2][2] = {
    {{{Glint_Tri_XY_ST_FLAT, Glint_Tri_XYZ_ST_FLAT},
      {Glint_Tri_XY_ST_FLAT_F, Glint_Tri_XYZ_ST_FLAT_F}},
     {{Glint_Tri_XY_ST_RGB, Glint_Tri_XYZ_ST_RGB}, {Glint_Tri_XY_ST_RGBF, Glint_Tri_XYZ_ST_RGBF}}},
    {{{Glint_Tri_XY_STQ_FLAT, Glint_Tri_XYZ_STQ_FLAT},
      {Glint_Tri_XY_STQ_FLAT_F, Glint_Tri_XYZ_STQ_FLAT_F}},
     {{Glint_Tri_XY_STQ_RGB, Glint_Tri_XYZ_STQ_RGB},
      {Glint_Tri_XY_STQ_RGBF, Glint_Tri_XYZ_STQ_RGBF}}},
};

// Indexed by [smooth][fog][depth].
constexpr Renderer kPlain[2][2][2] = {
    {{Glint_Tri_XY_FLAT, Glint_Tri_XYZ_FLAT}, {Glint_Tri_XY_FLAT_F, Glint_Tri_XYZ_FLAT_F}},
    {{Glint_Tri_XY_RGB, Glint_Tri_XYZ_RGB}, {Glint_Tri_XY_RGBF, Glint_Tri_XYZ_RGBF}},
};

uint32_t Has(uint32_t flags, RenderFlag flag) {
    return (flags & flag) != 0;
}

} // namespace

Renderer PlainHostTriangle(uint32_t flags) {
    return kPlain[Has(flags, RF_GOURAUD)][Has(flags, RF_FOG)][Has(flags, RF_ZENABLE)];
}

Renderer TexturedHostTriangle(uint32_t flags) {
    return kTextured[Has(flags, RF_PERSPECTIVE)][Has(flags, RF_GOURAUD)][Has(flags, RF_FOG)]
                    [Has(flags, RF_ZENABLE)];
}
