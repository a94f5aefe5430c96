#pragma once
// Strips by the flags of the records: a triangle that goes on from the last one sends one vertex,
// into the slot of the older of the two that it does not share.
#include "driver/raster/cull.h"
#include "driver/raster/su_vertex.h"

#include <cstdint>

namespace su {

inline constexpr uint32_t kStripCode = 0x1F; // of D3DTRIANGLE.wFlags

// Walks the records of an instruction. `full(a, b, c)` draws a triangle with all its vertices in
// slots 0, 1, 2; `next(a, b, c, slot)` one of which only c is sent, into `slot`.
//
// With culling off every triangle is drawn in full, whatever its flags: strips begin with a
// triangle that the cull test has kept.
template <class Cull, class Full, class Next>
KORV_INLINE void WalkStrips(const Cull& cull, const D3DINSTRUCTION* ins,
                            const D3DTLVERTEX* vertices, const void* records, const Full& full,
                            const Next& next) {
    const auto* record = static_cast<const uint8_t*>(records);
    const uint32_t recordBytes = ins->bSize;
    int32_t left = ins->wCount;
    // The code that goes on from the triangle before; none does after one that was culled.
    constexpr uint32_t kNone = 0xFFFFFFFF;
    uint32_t continuing = kNone;
    int32_t flatLeft = 0; // triangles that are known to face as the last one tested
    uint32_t newer = kSlot2;
    do {
        const auto* triangle = reinterpret_cast<const D3DTRIANGLE*>(record);
        record += recordBytes;
        const D3DTLVERTEX* const a = vertices + triangle->v1;
        const D3DTLVERTEX* const b = vertices + triangle->v2;
        const D3DTLVERTEX* const c = vertices + triangle->v3;
        const uint32_t code = triangle->wFlags & kStripCode;
        if (code == continuing) {
            newer ^= kSlot1 ^ kSlot2;
            if (flatLeft-- <= 0 && cull.Drops(Determinant(a, b, c))) {
                // The slot counts as filled although nothing was sent.
                continue;
            }
            next(a, b, c, newer);
            continue;
        }
        newer = kSlot2;
        if (cull.Active()) {
            // No run is promised by the first triangle, nor by the one after a culled one.
            const bool promises = continuing != kNone && code - 1 < D3DTRIFLAG_ODD - 1u;
            const int32_t followers = promises ? static_cast<int32_t>(code) : 0;
            if (cull.Drops(Determinant(a, b, c))) {
                continuing = kNone;
                record += static_cast<uint32_t>(followers) * recordBytes;
                left -= followers;
                continue;
            }
            continuing = D3DTRIFLAG_EVEN;
            flatLeft = followers;
        }
        full(a, b, c);
    } while (--left > 0);
}

} // namespace su
