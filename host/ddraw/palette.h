#pragma once
#include "driver/platform/ddhal.h"

#include <vector>

namespace host {

// The runtime's records of a palette.
struct PaletteObject {
    DDRAWI_DDRAWPALETTE_INT interface {};
    DDRAWI_DDRAWPALETTE_LCL local{};
    DDRAWI_DDRAWPALETTE_GBL global{};
    std::vector<PALETTEENTRY> entries;
};

} // namespace host
