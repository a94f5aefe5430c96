#pragma once
// Block fill: writes a memory word over a span, past all units but stipple and hardware mask.
#include "board/pixel/pipeline.h"

namespace board {

// `span` lies inside clip rectangle and memory. `watch` as in watch.h.
template <class Watch>
void FillSpan(const PipelineState& state, const Span& span, Watch& watch);

} // namespace board
