#pragma once
// Render states: the entry that takes them from an execute buffer, and the walk over their pairs.
//
// A state that concerns one register goes out at once; one that interacts with others only marks
// what is stale in DirtyFlags, and the next primitive works the combination out.
#include "driver/core/dma.h"

#include <cstdint>

// Direct3D callback: processes a run of D3DSTATE pairs of an execute buffer. Returns 1; ddrval is
// DD_OK or D3DHAL_CONTEXT_BAD.
DWORD KORV_STDCALL RenderState32(D3DHAL_RENDERSTATEDATA* data);

// Locks state `type` against changes, or releases it. Types above 256 do not exist.
void OverrideState(D3DContext* ctx, uint32_t type, bool locked);
// True while changes of `state` are to be ignored. State 0 cannot be locked.
inline bool IsStateLocked(const D3DContext* ctx, uint32_t state) {
    const uint32_t bit = state - 1;
    return state != 0 && (ctx->OverrideMask[bit / 32] & 1u << bit % 32) != 0;
}

// True while any state is locked.
inline bool IsAnyStateLocked(const D3DContext* ctx) {
    uint32_t locked = 0;
    for (const uint32_t mask : ctx->OverrideMask) {
        locked |= mask;
    }
    return locked != 0;
}

// Longest run of words of one state, in bytes.
inline constexpr uint32_t kStateBytes = 128;

// Processes `count` pairs of state number and value by Apply(ctx, out, state, value). KeepsImage:
// values are also kept in RenderStates. Always DD_OK.
template <auto Apply, bool KeepsImage>
uint32_t ProcessStatePairs(D3DContext* ctx, uint32_t count, const uint32_t* pairs) {
    StateWriter out(ctx);
    const bool waits = NeedsFIFOWaits(ctx->Stream);
    bool locks = IsAnyStateLocked(ctx);
    const uint32_t* limit = WriteLimit(ctx->Stream);
    for (; count != 0; --count, pairs += 2) {
        const uint32_t state = pairs[0];
        const uint32_t value = pairs[1];
        if (state > D3DSTATE_OVERRIDE_BIAS) {
            OverrideState(ctx, state - D3DSTATE_OVERRIDE_BIAS, value != 0);
            locks = IsAnyStateLocked(ctx);
            continue;
        }
        if (locks && IsStateLocked(ctx, state)) {
            continue;
        }
        // State 256 can be locked, but the image has no place for it.
        if (KeepsImage && state < D3DSTATE_OVERRIDE_BIAS) {
            ctx->RenderStates[state] = value;
        }
        if (state == D3DRENDERSTATE_ZVISIBLE) {
            ctx->ZVisibleMode = value;
            continue;
        }
        if (!out.HasRoom(kStateBytes, limit)) [[unlikely]] {
            out.Reserve(kStateBytes);
            limit = WriteLimit(ctx->Stream);
        }
        if (waits) [[unlikely]] {
            out.Wait(4);
        }
        Apply(ctx, out, state, value);
    }
    out.Store();
    return DD_OK;
}
