#pragma once
// Fragments of a row at once: the same as pixel by pixel, where the state allows it and the row is
// a plain one. What depends on the mode words alone is chosen beforehand.
#include "board/pixel/blend_rows.h"
#include "board/pixel/pipeline.h"
#include "board/texture/texel_rows.h"
#include "board/values/format_rows.h"

#include <cstdint>

namespace board {

// Derived from a PipelineState, for which alone it holds.
struct RowPlan {
    bool raw;        // fills and copies move whole rows
    bool possible;   // of fragments; else every one goes by itself
    bool depthFirst; // no later test can drop a fragment: those behind others are not shaded
    bool dropping;   // tests may leave pixels out
    bool readsUnder; // the pixels under the fragments are needed
    TexelPlan texels;
    ConvertRow expand; // pixels under the fragments
    FactorRow sourceFactor, destFactor;
    ConvertRow encode;
    DitherRow dither;
};

RowPlan PlanRows(const PipelineState& state);

// Draws the pixels of a span that lies inside clip rectangle and memories, in no certain order.
// False, with nothing drawn: they have to be drawn one by one, because steps leave the range of
// this way, or because the row reads what it writes.
bool DrawFragmentRow(const RowPlan& plan, const PipelineState& state, const Span& span,
                     const Interpolants& row, PickUnit& pick);

} // namespace board
