#pragma once
// Rows of raw pixels at once: fills and copies that leave out and change nothing on the way. What
// comes out is the same as pixel by pixel.
#include "board/pixel/pipeline.h"

namespace board {

// True if every pixel of a fill or copy is written as it is.
bool MovesRowsWhole(const PipelineState& state);

// The functions below are for spans as their counterparts take them (block_fill.h, copy.h,
// packed_copy.h, local_update.h), under a state that moves rows whole. False, with nothing done:
// the span has to go pixel by pixel, because it leaves the memory, is patched, or reads what it has
// written.
bool FillRow(const PipelineState& state, const Span& span);
bool CopyRow(const PipelineState& state, const Span& span);
bool CopyPackedRow(const PipelineState& state, const Span& span);
// Whatever the state.
bool UpdateLocalRow(const LocalUpdate& update, const Span& span);

} // namespace board
