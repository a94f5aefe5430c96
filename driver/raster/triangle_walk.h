#pragma once
// A plain walk over the triangles of an instruction, for members that share nothing between them.
#include "driver/raster/cull.h"

#include <cstdint>

namespace raster {

// Walks the records of an instruction and calls `draw(a, b, c, wFlags)` for triangles that the cull
// test keeps.
template <class Cull, class Draw>
KORV_INLINE void WalkTriangles(const Cull& cull, const D3DINSTRUCTION* ins,
                               const D3DTLVERTEX* vertices, const void* records, const Draw& draw) {
    const auto* record = static_cast<const uint8_t*>(records);
    const uint32_t recordBytes = ins->bSize;
    int32_t left = ins->wCount;
    do {
        const auto* triangle = reinterpret_cast<const D3DTRIANGLE*>(record);
        record += recordBytes;
        const D3DTLVERTEX* const a = vertices + triangle->v1;
        const D3DTLVERTEX* const b = vertices + triangle->v2;
        const D3DTLVERTEX* const c = vertices + triangle->v3;
        if (cull.Active() && cull.Drops(Determinant(a, b, c))) {
            continue;
        }
        draw(a, b, c, triangle->wFlags);
    } while (--left > 0);
}

} // namespace raster
