#pragma once
// The last step of a raw pixel: logical operation and write masks.
#include "board/pixel/pipeline.h"
#include "board/values/logic_op.h"

namespace board {

// Writes `pixel` at `place`, element `index` of the target, as the logic op and both masks say.
template <int Bytes>
void WriteRawPixel(const PipelineState& state, uint32_t pixel, int64_t index, uint8_t* place) {
    const uint32_t under = LoadElement<Bytes>(place);
    if (state.logical) {
        pixel = LogicOp(state.logicOp, pixel, state.readsPixels ? under : 0);
    }
    const uint32_t mask = WordLane<Bytes>(state.writeMask, index);
    StoreElement<Bytes>(place, (under & ~mask) | (pixel & mask));
}

} // namespace board
