#include "board/pixel/block_fill.h"

#include "board/pixel/watch.h"

namespace board {

namespace {

template <int Bytes, class Watch>
void FillPixels(const PipelineState& state, const Span& span, Watch& watch) {
    for (int64_t x = span.left; x < span.right; ++x) {
        watch.Begin(PixelWay::Fill, x, span.y);
        if (!state.stippled || watch.Test(PixelTest::Stipple, state.stipple.Draws(x, span.y))) {
            const int64_t index = state.pixels.Index(x, span.y);
            uint8_t* place = state.pixels.memory + index * Bytes;
            const uint32_t mask = WordLane<Bytes>(state.hardwareMask, index);
            const uint32_t fill = WordLane<Bytes>(state.blockColour, index);
            StoreElement<Bytes>(place, (LoadElement<Bytes>(place) & ~mask) | (fill & mask));
            watch.WriteColour();
        }
        watch.End();
    }
}

} // namespace

template <class Watch>
void FillSpan(const PipelineState& state, const Span& span, Watch& watch) {
    switch (state.pixels.bytesPerElement) {
    case 1:
        return FillPixels<1>(state, span, watch);
    case 2:
        return FillPixels<2>(state, span, watch);
    case 3:
        return FillPixels<3>(state, span, watch);
    default:
        return FillPixels<4>(state, span, watch);
    }
}

template void FillSpan(const PipelineState&, const Span&, Unwatched&);
template void FillSpan(const PipelineState&, const Span&, Wrong&);
template void FillSpan(const PipelineState&, const Span&, Watched&);

} // namespace board
