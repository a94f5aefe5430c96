#pragma once
// What a break does to what a primitive is drawn by, once that has been worked out.
#include "board/breaks.h"
#include "board/pixel/pipeline.h"
#include "board/setup/setup_line.h"
#include "board/texture/lookup_table.h"

namespace board {

void BreakState(Break what, const RegisterFile& registers, PipelineState& state);
void BreakInterpolants(Break what, Interpolants& row);
void BreakTable(Break what, LookupTable& table);
// The row of a primitive as it is walked.
Span BrokenSpan(Break what, const PipelineState& state, Span span);

} // namespace board
