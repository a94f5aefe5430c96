#pragma once
// Numbers of a picture's pixels as colours, on a scale that is the same for all pictures.
#include "host/picture.h"

#include <cstdint>
#include <vector>

// For help texts, two lines of them.
#define KORV_HEAT_LEGEND                                                                           \
    "black 0, dark blue 1, blue 2, teal 3, green 4, yellow 5 to 6, orange 7 to 9, red 10 to 15,\n" \
    "white 16 and more"

namespace korv {

// `counts`: width * height numbers, row by row.
host::Picture HeatPicture(const std::vector<uint16_t>& counts, uint32_t width, uint32_t height);

struct HeatNumbers {
    uint64_t pixels = 0, written = 0; // of them: not 0
    uint64_t writes = 0;              // all numbers added
    uint32_t most = 0;
    uint64_t mostPlace = 0; // of the first such pixel
    uint32_t width = 1;
};
HeatNumbers NumbersOf(const std::vector<uint16_t>& counts, uint32_t width);

} // namespace korv
