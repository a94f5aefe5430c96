#pragma once
// Copies of whole 32-bit words on the Permedia family: a span counts columns of words.
#include "board/pixel/pipeline.h"

namespace board {

// Copies the words of a span in a row inside the clip; its columns are unclipped. A row's source
// words are fetched one a column and kept while the words that need them are made, so a shift
// inside the words never reads what the same pass has written; a source further back in the walk
// does. Of the pixel units scissor, logic op and hardware mask hold. `watch` as in watch.h.
template <class Watch>
void CopyPackedSpan(const PipelineState& state, const Span& span, FaultCounts& faults,
                    Watch& watch);

} // namespace board
