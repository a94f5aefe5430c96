// The textured triangles of Permedia 2 for one state each, with every test of the general member
// answered beforehand.
#include "driver/raster/p2_fast.h"

#include "driver/raster/p2_textured.h"

namespace {

constexpr uint32_t kGouraudTextureZ = RF_GOURAUD | RF_ZENABLE | RF_PERSPECTIVE | RF_TEXTURE;

template <uint32_t kFlags>
KORV_INLINE void Fast(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    constexpr su::P2TexturedTraits kTraits{.reserve = 128, .reduceRange = false};
    constexpr su::Flags<0xFFFFFFFF, kFlags> kState{kFlags};
    if (ctx->CullMode != D3DCULL_NONE) {
        su::P2TexturedBatch<kTraits, su::Culling::On, false>(ctx, ins, vertices, records, kState);
    } else {
        su::P2TexturedBatch<kTraits, su::Culling::Off, false>(ctx, ins, vertices, records, kState);
    }
}

} // namespace

void P2_GouraudTextureZ(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                        void* records) {
    Fast<kGouraudTextureZ>(ctx, ins, vertices, records);
}

void P2_GouraudTextureKSZ(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                          void* records) {
    Fast<kGouraudTextureZ | RF_SPECULAR>(ctx, ins, vertices, records);
}

void P2_GouraudTextureFogZ(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                           void* records) {
    Fast<kGouraudTextureZ | RF_FOG>(ctx, ins, vertices, records);
}
