#pragma once
// Pictures of memories, for people.
#include "host/picture.h"
#include "tools/korv/conform/subject.h"

namespace korv::conform {

// A picture of a case as it is in a memory, opaque, a pixel a pixel. Depths are grey by their own
// range: the smallest black, the largest white.
host::Picture PictureOf(const PictureArea& area, const Outcome& outcome);

// Expected, found and where they differ, side by side and enlarged.
host::Picture Comparison(const PictureArea& area, const Outcome& expected, const Outcome& found);

} // namespace korv::conform
