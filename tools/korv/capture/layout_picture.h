#pragma once
// Pictures of what lies in a board's memories.
#include "host/picture.h"
#include "stream/surfaces.h"

namespace board {
class Board;
}

namespace korv {

// UserError for a surface that is no picture, or that is not in the board's memories. `palette`:
// red, green and blue of an entry each; without one, pixels of 8 bits are read as 3:3:2.
host::Picture PictureOf(board::Board& board, const stream::SurfaceLayout& surface,
                        const std::vector<uint8_t>& palette = {});

} // namespace korv
