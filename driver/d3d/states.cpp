#include "driver/d3d/states.h"

#include "driver/core/bits.h"
#include "driver/core/cursor.h"
#include "driver/d3d/execute.h"

DWORD KORV_STDCALL RenderState32(D3DHAL_RENDERSTATEDATA* data) {
    D3DContext* ctx = LiveContext(data->dwhContext);
    if (ctx == nullptr) {
        data->ddrval = D3DHAL_CONTEXT_BAD;
        return DDHAL_DRIVER_HANDLED;
    }
    const CursorAway away(ctx->Driver->ChipInfo);
    SynchroniseContext(ctx);
    const auto* pairs =
        reinterpret_cast<const uint32_t*>(BufferDataOf(data->lpExeBuf) + data->dwOffset);
    data->ddrval = ctx->ProcessStates(ctx, data->dwCount, pairs);
    return DDHAL_DRIVER_HANDLED;
}

void OverrideState(D3DContext* ctx, uint32_t type, bool locked) {
    if (type <= D3DSTATE_OVERRIDE_BIAS) {
        const uint32_t bit = type - 1;
        AssignBits(ctx->OverrideMask[bit / 32], 1u << bit % 32, locked);
    }
}
