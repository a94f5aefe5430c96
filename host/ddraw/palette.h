#pragma once
#include "host/ddraw/ddraw.h"

#include <vector>

namespace host {

// The runtime's records of a palette.
struct DirectDraw::PaletteObject {
    DDRAWI_DDRAWPALETTE_INT interface {};
    DDRAWI_DDRAWPALETTE_LCL local{};
    DDRAWI_DDRAWPALETTE_GBL global{};
    std::vector<PALETTEENTRY> entries;
};

} // namespace host
