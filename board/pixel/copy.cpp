#include "board/pixel/copy.h"

#include "board/pixel/watch.h"
#include "board/pixel/write_pixel.h"

namespace board {

namespace {

// `sourceOf(x, step)` is the source's index for the pixel at x, `step` pixels into the walk.
template <int Bytes, typename SourceOf, class Watch>
void CopyPixels(const PipelineState& state, const Span& span, SourceOf sourceOf,
                FaultCounts& faults, Watch& watch) {
    const int64_t direction = span.leftward ? -1 : 1;
    int64_t x = span.First();
    const auto copy = [&](int64_t step) {
        if (state.stippled && !watch.Test(PixelTest::Stipple, state.stipple.Draws(x, span.y))) {
            return;
        }
        const int64_t from = sourceOf(x, step);
        if (!watch.Test(PixelTest::Source, from >= 0 && from < state.copy.source.elements)) {
            ++faults.badMemoryAccesses;
            return;
        }
        watch.TakeSource(from * Bytes);
        const uint32_t pixel = LoadElement<Bytes>(state.copy.source.memory + from * Bytes);
        if (!state.copy.key.enabled || watch.Test(PixelTest::Key, !state.copy.key.Rejects(pixel))) {
            const int64_t to = state.pixels.Index(x, span.y);
            WriteRawPixel<Bytes>(state, pixel, to, state.pixels.memory + to * Bytes);
            watch.WriteColour();
        }
    };
    for (int64_t step = 0; step < span.right - span.left; ++step, x += direction) {
        watch.Begin(PixelWay::Copy, x, span.y);
        copy(step);
        watch.End();
    }
}

// A coordinate without sign along the walk.
struct TexelCoordinate {
    uint32_t first, step;

    TexelCoordinate(const Interpolant& of, int64_t distance, int64_t pixels)
        : first(static_cast<uint32_t>(of.At(distance, pixels))),
          step(static_cast<uint32_t>(of.dx)) {}
    int64_t Whole(int64_t steps) const {
        return (first + static_cast<uint32_t>(steps) * step) >> kGlintTexelFractionBits;
    }
};

template <int Bytes, class Watch>
void CopyBySource(const PipelineState& state, const Span& span, const Interpolants& row,
                  FaultCounts& faults, Watch& watch) {
    const Plane& source = state.copy.source;
    if (state.copy.way == CopyState::Way::Pixels) {
        CopyPixels<Bytes>(
            state, span, [&](int64_t x, int64_t) { return source.Index(x, span.y); }, faults,
            watch);
        return;
    }
    const int64_t lead = state.subPixel ? span.lead : 0;
    const TexelCoordinate s(row.channels[Interpolants::S], lead, span.skipped);
    const TexelCoordinate t(row.channels[Interpolants::T], lead, span.skipped);
    CopyPixels<Bytes>(
        state, span,
        [&](int64_t, int64_t step) { return source.Index(s.Whole(step), t.Whole(step)); }, faults,
        watch);
}

} // namespace

template <class Watch>
void CopySpan(const PipelineState& state, const Span& span, const Interpolants& row,
              FaultCounts& faults, Watch& watch) {
    switch (state.pixels.bytesPerElement) {
    case 1:
        return CopyBySource<1>(state, span, row, faults, watch);
    case 2:
        return CopyBySource<2>(state, span, row, faults, watch);
    case 3:
        return CopyBySource<3>(state, span, row, faults, watch);
    default:
        return CopyBySource<4>(state, span, row, faults, watch);
    }
}

template void CopySpan(const PipelineState&, const Span&, const Interpolants&, FaultCounts&,
                       Unwatched&);
template void CopySpan(const PipelineState&, const Span&, const Interpolants&, FaultCounts&,
                       Wrong&);
template void CopySpan(const PipelineState&, const Span&, const Interpolants&, FaultCounts&,
                       Watched&);

} // namespace board
