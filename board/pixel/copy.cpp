#include "board/pixel/copy.h"

#include "board/pixel/write_pixel.h"

namespace board {

namespace {

// `sourceOf(x, step)` is the source's index for the pixel at x, `step` pixels into the walk.
template <int Bytes, typename SourceOf>
void CopyPixels(const PipelineState& state, const Span& span, SourceOf sourceOf,
                FaultCounts& faults) {
    const int64_t direction = span.leftward ? -1 : 1;
    int64_t x = span.First();
    for (int64_t step = 0; step < span.right - span.left; ++step, x += direction) {
        if (state.stippled && !state.stipple.Draws(x, span.y)) {
            continue;
        }
        const int64_t from = sourceOf(x, step);
        if (from < 0 || from >= state.copy.source.elements) {
            ++faults.badMemoryAccesses;
            continue;
        }
        const uint32_t pixel = LoadElement<Bytes>(state.copy.source.memory + from * Bytes);
        if (!state.copy.key.Rejects(pixel)) {
            const int64_t to = state.pixels.Index(x, span.y);
            WriteRawPixel<Bytes>(state, pixel, to, state.pixels.memory + to * Bytes);
        }
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

template <int Bytes>
void CopyBySource(const PipelineState& state, const Span& span, const Interpolants& row,
                  FaultCounts& faults) {
    const Plane& source = state.copy.source;
    if (state.copy.way == CopyState::Way::Pixels) {
        CopyPixels<Bytes>(
            state, span, [&](int64_t x, int64_t) { return source.Index(x, span.y); }, faults);
        return;
    }
    const int64_t lead = state.subPixel ? span.lead : 0;
    const TexelCoordinate s(row.channels[Interpolants::S], lead, span.skipped);
    const TexelCoordinate t(row.channels[Interpolants::T], lead, span.skipped);
    CopyPixels<Bytes>(
        state, span,
        [&](int64_t, int64_t step) { return source.Index(s.Whole(step), t.Whole(step)); }, faults);
}

} // namespace

void CopySpan(const PipelineState& state, const Span& span, const Interpolants& row,
              FaultCounts& faults) {
    switch (state.pixels.bytesPerElement) {
    case 1:
        return CopyBySource<1>(state, span, row, faults);
    case 2:
        return CopyBySource<2>(state, span, row, faults);
    case 3:
        return CopyBySource<3>(state, span, row, faults);
    default:
        return CopyBySource<4>(state, span, row, faults);
    }
}

} // namespace board
