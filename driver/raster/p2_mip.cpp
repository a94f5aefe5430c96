// The mip-mapped triangles of Permedia 2.
#include "driver/raster/p2_mip.h"

#include "driver/raster/p2_textured.h"

void P2_MipTri_XYZ_STQ_RGBFS(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records) {
    su::P2TexturedTriangles<su::P2TexturedTraits{.reserve = 512, .mipMapped = true}>(
        ctx, ins, vertices, records);
}

void P2_GouraudTextureZMM(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records) {
    constexpr uint32_t kFlags = RF_GOURAUD | RF_ZENABLE | RF_PERSPECTIVE | RF_TEXTURE | RF_MIPMAP;
    constexpr su::P2TexturedTraits kTraits{
        .reserve = 256, .reduceRange = false, .mipMapped = true, .widthScalesBoth = true};
    su::P2TexturedBatch<kTraits, su::Culling::On, false>(ctx, ins, vertices, records,
                                                         su::Flags<0xFFFFFFFF, kFlags>{kFlags});
}
