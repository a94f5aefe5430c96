#pragma once
// Every renderer by its name.
#include "driver/raster/ZVisible.h"
#include "driver/raster/del_gour.h"
#include "driver/raster/del_mip.h"
#include "driver/raster/del_tex.h"
#include "driver/raster/gl_gour.h"
#include "driver/raster/gl_line.h"
#include "driver/raster/gl_point.h"
#include "driver/raster/gl_tex.h"
#include "driver/raster/gl_wire.h"
#include "driver/raster/p2_fast.h"
#include "driver/raster/p2_gour.h"
#include "driver/raster/p2_mip.h"
#include "driver/raster/p2_tex.h"
#include "driver/raster/tri_rgb.h"

#include <ostream>

namespace test {

enum class Primitive { Triangle, Line };
// Whose chips a member is for.
enum class Setup { Host, Delta, Permedia2 };

struct Member {
    const char* name;
    Renderer draw;
    Setup setup;
    Primitive primitive = Primitive::Triangle;
    bool dmaOnly = false;
    // Writes whole rows back to the vertices.
    bool snaps = false;
    bool mipMapped = false;
    // Asks the chip at its end.
    bool asks = false;
};

inline void PrintTo(const Member& member, std::ostream* out) {
    *out << member.name;
}

template <auto Test>
void DrawAsking(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    Test(ctx, ins, vertices, records);
}

// clang-format off
#define KORV_HOST_TRIANGLES(name) {#name, name, Setup::Host, Primitive::Triangle, false, true}
#define KORV_HOST(name) {#name, name, Setup::Host}
#define KORV_DELTA(name) {#name, name, Setup::Delta}
#define KORV_P2(name) {#name, name, Setup::Permedia2}
#define KORV_P2_FAST(name) {#name, name, Setup::Permedia2, Primitive::Triangle, true}

inline constexpr Member kMembers[] = {
    KORV_HOST_TRIANGLES(Glint_Tri_XY_FLAT),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_FLAT_F),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_FLAT),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_FLAT_F),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_RGB),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_RGBF),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_RGB),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_RGBF),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_STQ_FLAT),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_STQ_FLAT_F),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_STQ_FLAT),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_STQ_FLAT_F),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_STQ_RGB),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_STQ_RGBF),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_STQ_RGB),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_STQ_RGBF),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_ST_FLAT),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_ST_FLAT_F),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_ST_FLAT),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_ST_FLAT_F),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_ST_RGB),
    KORV_HOST_TRIANGLES(Glint_Tri_XY_ST_RGBF),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_ST_RGB),
    KORV_HOST_TRIANGLES(Glint_Tri_XYZ_ST_RGBF),
    KORV_HOST(Glint_TriWire_XYZ_STQ_RGBF),
    KORV_HOST(Glint_TriPoint_XYZ_STQ_RGBF),
    KORV_HOST(RenderRGBPoint),
    {"Glint_Line_XYZ_STQ_RGBF", Glint_Line_XYZ_STQ_RGBF, Setup::Host, Primitive::Line},
    {"Glint_Tri_Z_Visible", DrawAsking<Glint_Tri_Z_Visible>, Setup::Host, Primitive::Triangle, false,
     true, false, true},
    KORV_DELTA(Delta_TriPoint_XYZ_RGBF),
    KORV_DELTA(Delta_TriWire_XYZ_RGBF),
    KORV_DELTA(Delta_Tri_XYZ_RGBF),
    KORV_DELTA(Delta_Tri_XY_FLAT),
    KORV_DELTA(Delta_Tri_XY_16BIT_MONO_FLAT),
    KORV_DELTA(Delta_TriWire_XYZ_STQ_RGBF),
    KORV_DELTA(Delta_TriWire_XYZ_STQ_RGB_FogSpecular),
    KORV_DELTA(Delta_TriWire_XYZ_STQ_RGBFS),
    KORV_DELTA(Delta_Tri_XYZ_STQ_RGBFS),
    KORV_DELTA(Delta_Tri_XYZ_STQ_RGB_FogSpecular),
    KORV_DELTA(Delta_Tri_XYZ_STQ_RGBF),
    {"Delta_Line_XYZ_STQ_RGBF", Delta_Line_XYZ_STQ_RGBF, Setup::Delta, Primitive::Line},
    {"Delta_Line_XYZ_STQ_RGBFS", Delta_Line_XYZ_STQ_RGBFS, Setup::Delta, Primitive::Line},
    {"Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular", Delta_MipPMTri_XYZ_STQ_RGB_FogSpecular, Setup::Delta,
     Primitive::Triangle, false, false, true},
    {"Delta_MipPMTri_XYZ_STQ_RGBF", Delta_MipPMTri_XYZ_STQ_RGBF, Setup::Delta,
     Primitive::Triangle, false, false, true},
    {"Delta_Tri_Z_Visible", DrawAsking<Delta_Tri_Z_Visible>, Setup::Delta, Primitive::Triangle, false,
     false, false, true},
    KORV_P2(P2_TriPoint_XYZ_RGBFS),
    KORV_P2(P2_TriWire_XYZ_RGBFS),
    KORV_P2(P2_Tri_XYZ_RGBFS),
    KORV_P2(P2_Tri_XY_FLATS),
    KORV_P2(P2_TriWire_XYZ_STQ_RGBFS),
    KORV_P2(P2_Tri_XYZ_STQ_RGBFS),
    {"P2_Line_XYZ_STQ_RGBFS", P2_Line_XYZ_STQ_RGBFS, Setup::Permedia2, Primitive::Line},
    {"P2_MipTri_XYZ_STQ_RGBFS", P2_MipTri_XYZ_STQ_RGBFS, Setup::Permedia2, Primitive::Triangle,
     false, false, true},
    KORV_P2_FAST(P2_GouraudTextureZ),
    KORV_P2_FAST(P2_GouraudTextureKSZ),
    KORV_P2_FAST(P2_GouraudTextureFogZ),
    {"P2_GouraudTextureZMM", P2_GouraudTextureZMM, Setup::Permedia2, Primitive::Triangle, true,
     false, true},
};
#undef KORV_HOST_TRIANGLES
#undef KORV_HOST
#undef KORV_DELTA
#undef KORV_P2
#undef KORV_P2_FAST
// clang-format on

} // namespace test
