#pragma once
// What raw words draw into. They have no marks that tell of surfaces; the registers do.
#include "stream/surfaces.h"

#include <vector>

namespace board {
class Board;
}

namespace stream {

// By the registers that the board holds now: "target", where colours go, and "depth", where depths
// do, if the words have set either up. `screen` is the one that people name; it gives their size,
// as far as rows and memory have room for it.
std::vector<SurfaceLayout> RawTargets(board::Board& board, const SurfaceLayout& screen);

} // namespace stream
