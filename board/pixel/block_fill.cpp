#include "board/pixel/block_fill.h"

namespace board {

namespace {

template <int Bytes>
void FillPixels(const PipelineState& state, const Span& span) {
    for (int64_t x = span.left; x < span.right; ++x) {
        if (state.stippled && !state.stipple.Draws(x, span.y)) {
            continue;
        }
        const int64_t index = state.pixels.Index(x, span.y);
        uint8_t* place = state.pixels.memory + index * Bytes;
        const uint32_t mask = WordLane<Bytes>(state.hardwareMask, index);
        const uint32_t fill = WordLane<Bytes>(state.blockColour, index);
        StoreElement<Bytes>(place, (LoadElement<Bytes>(place) & ~mask) | (fill & mask));
    }
}

} // namespace

void FillSpan(const PipelineState& state, const Span& span) {
    switch (state.pixels.bytesPerElement) {
    case 1:
        return FillPixels<1>(state, span);
    case 2:
        return FillPixels<2>(state, span);
    case 3:
        return FillPixels<3>(state, span);
    default:
        return FillPixels<4>(state, span);
    }
}

} // namespace board
