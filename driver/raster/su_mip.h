#pragma once
// Mip mapping by the host: one level for each triangle, by how many texels lie on a pixel, and the
// chip pointed at that level in between.
#include "driver/core/records/texture_record.h"
#include "driver/raster/su_texture.h"

#include <bit>

namespace su {

// Twice the triangle's area in texels of the top level, signed.
KORV_INLINE float TexelArea(const D3DTLVERTEX* a, const D3DTLVERTEX* b, const D3DTLVERTEX* c,
                            float texelCount) {
    const Careful area = (Careful(a->tu) - c->tu) * (Careful(b->tv) - c->tv) -
                         (Careful(a->tv) - c->tv) * (Careful(b->tu) - c->tu);
    return area * texelCount;
}

// The levels that a member may choose among: a full chain may have more than the record has
// entries.
KORV_INLINE uint32_t LevelsOf(const TextureRecord* texture) {
    return texture->LevelCount < kMaxTextureLevels ? texture->LevelCount : kMaxTextureLevels;
}

// The level for areas given as bit patterns of singles. Their difference is, roughly, the logarithm
// of the ratio, and half of that the logarithm along a side.
KORV_INLINE int32_t LevelFor(uint32_t texelBits, uint32_t screenBits, uint32_t levelCount) {
    int32_t level = static_cast<int32_t>(texelBits - screenBits) >> 24;
    const int32_t last = static_cast<int32_t>(levelCount) - 1;
    level = level > last ? last : level;
    return level < 0 ? 0 : level;
}

// The level that the chip reads. None at first, so that each batch points the chip anew.
struct CurrentLevel {
    int32_t level = -1;

    // Points the chip at `wanted` and tells so in the context's copies, which sub-buffer heads
    // repeat. Result: whether it changed.
    template <bool kWaits>
    KORV_INLINE bool Change(Output<kWaits>& out, const TextureRecord* texture, int32_t wanted) {
        if (wanted == level) {
            return false;
        }
        level = wanted;
        D3DContext* const ctx = out.ctx;
        const TextureLevel& to = texture->Levels[wanted];
        const uint32_t linear = wanted == 0 ? ctx->TextureMagLinear : ctx->TextureMinLinear;
        uint32_t read = ctx->Copies.TextureReadMode;
        read = field::TextureReadMode_Width.Put(read, to.LogWidth);
        read = field::TextureReadMode_Height.Put(read, to.LogHeight);
        read = field::TextureReadMode_Filter.Put(read, linear == 1);
        ctx->Copies.TextureReadMode = read;
        uint32_t map = ctx->Copies.TextureMapFormat;
        map = field::TextureMapFormat_PartialProduct0.Put(map, to.PP0);
        map = field::TextureMapFormat_PartialProduct1.Put(map, to.PP1);
        map = field::TextureMapFormat_PartialProduct2.Put(map, to.PP2);
        ctx->Copies.TextureMapFormat = map;
        out.Wait(3);
        out.Tag(tag::TextureReadMode, read);
        out.Tag(tag::TextureMapFormat, map);
        out.Tag(tag::TextureBaseAddress, to.Address);
        return true;
    }
};

} // namespace su
