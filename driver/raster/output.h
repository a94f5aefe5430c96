#pragma once
// How a renderer writes: position and FIFO credit in locals for the whole batch, and the word
// groups that all renderers have in common. The stream's own position follows where others look at
// it: when FIFO space is waited for, when a sub-buffer is full, and, by Store(), at the batch's
// end.
#include "driver/core/dma.h"
#include "driver/raster/d3dfix.h"
#include "driver/raster/inline.h"
#include "driver/raster/stipple.h"

#include <cstdint>

namespace raster {

// Draw words.
inline constexpr uint32_t kTrapezoid = field::Render_Primitive.Put(0, 1);

// Of triangles that are filled by blocks.
KORV_INLINE uint32_t BlockFillWord(const D3DContext* ctx) {
    const uint32_t word = field::Render_FastFill.Put(ctx->RenderCommand | kTrapezoid, 1);
    return ctx->Driver->ChipInfo->Family == FamilyPermedia
               ? field::Render_BlockFillKind.Put(word, 0)
               : word;
}

// Where the next word goes, the end of the sub-buffer's space, and the FIFO space known to be free.
template <bool kWaits>
struct Output {
    D3DContext* ctx;
    uint32_t* at;
    const uint32_t* limit;
    int32_t credit;

    // Sees that `entries` words can be taken. Words written so far reach the chip before it is
    // asked.
    KORV_INLINE void Wait(uint32_t entries) {
        if constexpr (kWaits) {
            credit -= static_cast<int32_t>(entries);
            if (credit < 0) {
                StoreWritePointer(ctx->Stream, at);
                credit = PollFIFOSpace(ctx->Driver->Registers, entries);
            }
        }
    }
    KORV_INLINE void Word(uint32_t word) { PutWord(at++, word); }
    // A single's bits, straight from where it was reckoned.
    KORV_INLINE void Float(float value) {
        using Stored [[gnu::may_alias]] = float;
        *reinterpret_cast<volatile Stored*>(at++) = value;
    }
    KORV_INLINE void Tag(uint32_t tagNumber, uint32_t data) {
        Word(tagNumber);
        Word(data);
    }
    // As ReserveSpace(), but looks at the stream's limit only when it may have changed.
    KORV_INLINE void Reserve(uint32_t bytes) {
        if (at != ctx->Stream.WritePointer) {
            ctx->Stream.Guard.Check(at);
        }
        if (at + bytes / 4 > limit) [[unlikely]] {
            Store();
            ReserveSpace(ctx, bytes);
            Load();
        }
        ctx->Stream.Guard.Allow(at + bytes / 4);
    }
    // Takes up the stream's position and limit.
    KORV_INLINE void Load() {
        at = ctx->Stream.WritePointer;
        limit = ctx->Stream.Current().Linear + ctx->Stream.SubBufferFlushWords;
    }
    KORV_INLINE void Store() { StoreWritePointer(ctx->Stream, at); }
};

KORV_INLINE D3DCOLOR LitColour(const D3DTLVERTEX* vertex, uint32_t renderFlags) {
    return (renderFlags & RF_SPECULAR) != 0 ? SpecularAdd(vertex->color, vertex->specular)
                                            : vertex->color;
}

// Loads the pattern for a colour's alpha unless it is in the chip.
template <bool kWaits>
KORV_INLINE void StippleGroup(Output<kWaits>& out, D3DCOLOR colour) {
    const uint32_t index = colour >> 28;
    if (index == out.ctx->StippleIndex) {
        return;
    }
    out.ctx->StippleIndex = index;
    out.Wait(9);
    out.Word(burst::AreaStipple);
#pragma GCC unroll 8 // a rolled loop would become a call of the runtime library's memmove
    for (const uint32_t row : FlatStipplePatterns[index]) {
        out.Word(row);
    }
}

// Reserved for one pair.
inline constexpr uint32_t kModeBytes = 8;

template <bool kWaits>
KORV_INLINE void SetColorDDAMode(Output<kWaits>& out, uint32_t word) {
    out.Reserve(kModeBytes);
    out.Wait(2);
    out.Tag(tag::ColorDDAMode, word);
    out.Store();
}

template <bool kWaits>
KORV_INLINE void SetRasterizerMode(Output<kWaits>& out, uint32_t word) {
    out.Reserve(kModeBytes);
    out.Wait(2);
    out.Tag(tag::RasterizerMode, word);
    out.Store();
}

} // namespace raster
