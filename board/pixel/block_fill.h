#pragma once
// Block fill: writes a memory word over a span, past all units but stipple and hardware mask.
#include "board/pixel/pipeline.h"

namespace board {

// `span` lies inside clip rectangle and memory.
void FillSpan(const PipelineState& state, const Span& span);

} // namespace board
