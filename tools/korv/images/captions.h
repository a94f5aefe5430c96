#pragma once
// Names of the parts of a picture, set between them.
#include "host/picture.h"

#include <cstdint>
#include <string>
#include <vector>

namespace korv {

// Cells of equal size, row by row from the upper left. A name may have several lines.
struct CellNames {
    uint32_t columns = 1;
    std::vector<std::string> names;
};

// The picture with a strip of names above each row of its cells, in the larger of two sizes if
// every name fits above its cell. All pixels of the picture are kept. Where a name is too wide for
// both sizes the picture stays as it is.
host::Picture Captioned(const host::Picture& picture, const CellNames& cells);

} // namespace korv
