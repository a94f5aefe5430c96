#pragma once
// Copies inside the frame buffer, pixel by pixel in the order of the walk: where source and
// destination overlap, a pixel that was written before it is read is copied as written.
#include "board/pixel/pipeline.h"

namespace board {

// Copies raw pixels over a span that lies inside clip rectangle and target. Of the pixel units
// stipple, colour key, logic op and write masks hold. `watch` as in watch.h.
template <class Watch>
void CopySpan(const PipelineState& state, const Span& span, const Interpolants& row,
              FaultCounts& faults, Watch& watch);

} // namespace board
