// The untextured members of a Delta setup unit.
#include "driver/raster/del_gour.h"

#include "driver/raster/su_delta.h"
#include "driver/raster/su_tri.h"
#include "driver/raster/su_wire.h"

namespace {

// A grey of 5 bits a channel from blue alone, two pixels wide at any pixel size; specular light
// does not count.
struct MonoFlatColour {
    explicit MonoFlatColour(const D3DContext*) {}
    KORV_INLINE uint32_t Word(const D3DTLVERTEX* vertex) const {
        const uint32_t grey = (vertex->color >> 3) & 0x1F;
        const uint32_t pixel = grey | grey << 5 | grey << 10;
        return pixel | pixel << 16;
    }
};

} // namespace

void Delta_Tri_XY_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices, void* records) {
    su::FlatTriangles<su::DeltaFlat, su::PackedFlatColour>(ctx, ins, vertices, records);
}

void Delta_Tri_XY_16BIT_MONO_FLAT(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                                  void* records) {
    su::FlatTriangles<su::DeltaFlat, MonoFlatColour>(ctx, ins, vertices, records);
}

void Delta_Tri_XYZ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                        void* records) {
    su::Triangles<su::Delta>(ctx, ins, vertices, records);
}

void Delta_TriWire_XYZ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                            void* records) {
    su::Wires<su::Delta, su::DeltaPlain>(ctx, ins, vertices, records);
}

void Delta_TriPoint_XYZ_RGBF(D3DContext* ctx, D3DINSTRUCTION* ins, D3DTLVERTEX* vertices,
                             void* records) {
    su::Points<su::Delta, su::DeltaPlain>(ctx, ins, vertices, records);
}
