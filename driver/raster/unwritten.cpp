// Renderers that are declared and selected but not written yet. Each draws nothing and counts its
// call, so that the tool and the tests can tell an empty picture from a missing member.
#include "driver/raster/unwritten.h"

#include "driver/raster/del_gour.h"
#include "driver/raster/del_mip.h"
#include "driver/raster/del_tex.h"
#include "driver/raster/gl_line.h"
#include "driver/raster/gl_point.h"
#include "driver/raster/gl_tex.h"
#include "driver/raster/gl_wire.h"
#include "driver/raster/p2_fast.h"
#include "driver/raster/p2_gour.h"
#include "driver/raster/p2_mip.h"
#include "driver/raster/p2_tex.h"

uint32_t UnwrittenRendererCalls;

#define KORV_UNWRITTEN(name)                                                                       \
    void name(D3DContext*, D3DINSTRUCTION*, D3DTLVERTEX*, void*) {                                 \
        ++UnwrittenRendererCalls;                                                                  \
    }

KORV_UNWRITTEN(Glint_Tri_XYZ_STQ_RGBF)
KORV_UNWRITTEN(Glint_Tri_XYZ_STQ_RGB)
KORV_UNWRITTEN(Glint_Tri_XYZ_STQ_FLAT_F)
KORV_UNWRITTEN(Glint_Tri_XYZ_STQ_FLAT)
KORV_UNWRITTEN(Glint_Tri_XY_STQ_RGBF)
KORV_UNWRITTEN(Glint_Tri_XY_STQ_RGB)
KORV_UNWRITTEN(Glint_Tri_XY_STQ_FLAT_F)
KORV_UNWRITTEN(Glint_Tri_XY_STQ_FLAT)
KORV_UNWRITTEN(Glint_Tri_XYZ_ST_RGBF)
KORV_UNWRITTEN(Glint_Tri_XYZ_ST_RGB)
KORV_UNWRITTEN(Glint_Tri_XYZ_ST_FLAT_F)
KORV_UNWRITTEN(Glint_Tri_XYZ_ST_FLAT)
KORV_UNWRITTEN(Glint_Tri_XY_ST_RGBF)
KORV_UNWRITTEN(Glint_Tri_XY_ST_RGB)
KORV_UNWRITTEN(Glint_Tri_XY_ST_FLAT_F)
KORV_UNWRITTEN(Glint_Tri_XY_ST_FLAT)
KORV_UNWRITTEN(Glint_Line_XYZ_STQ_RGBF)
KORV_UNWRITTEN(Glint_TriWire_XYZ_STQ_RGBF)
KORV_UNWRITTEN(Glint_TriPoint_XYZ_STQ_RGBF)
KORV_UNWRITTEN(Delta_TriPoint_XYZ_RGBF)
KORV_UNWRITTEN(Delta_TriWire_XYZ_RGBF)
KORV_UNWRITTEN(Delta_TriWire_XYZ_STQ_RGBF)
KORV_UNWRITTEN(Delta_TriWire_XYZ_STQ_RGB_FogSpecular)
KORV_UNWRITTEN(Delta_TriWire_XYZ_STQ_RGBFS)
KORV_UNWRITTEN(Delta_Tri_XYZ_STQ_RGBFS)
KORV_UNWRITTEN(Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular)
KORV_UNWRITTEN(Delta_Tri_XYZ_STQ_RGB_FogSpecular)
KORV_UNWRITTEN(Delta_MipPMTri_XYZ_STQ_RGBF)
KORV_UNWRITTEN(Delta_Tri_XYZ_STQ_RGBF)
KORV_UNWRITTEN(Delta_Tri_XYZ_RGBF)
KORV_UNWRITTEN(Delta_Tri_XY_FLAT)
KORV_UNWRITTEN(Delta_Line_XYZ_STQ_RGBF)
KORV_UNWRITTEN(Delta_Line_XYZ_STQ_RGBFS)
KORV_UNWRITTEN(P2_GouraudTextureZ)
KORV_UNWRITTEN(P2_GouraudTextureKSZ)
KORV_UNWRITTEN(P2_GouraudTextureFogZ)
KORV_UNWRITTEN(P2_GouraudTextureZMM)
KORV_UNWRITTEN(P2_TriPoint_XYZ_RGBFS)
KORV_UNWRITTEN(P2_TriWire_XYZ_STQ_RGBFS)
KORV_UNWRITTEN(P2_TriWire_XYZ_RGBFS)
KORV_UNWRITTEN(P2_MipTri_XYZ_STQ_RGBFS)
KORV_UNWRITTEN(P2_Tri_XYZ_STQ_RGBFS)
KORV_UNWRITTEN(P2_Tri_XYZ_RGBFS)
KORV_UNWRITTEN(P2_Tri_XY_FLATS)
KORV_UNWRITTEN(P2_Line_XYZ_STQ_RGBFS)
