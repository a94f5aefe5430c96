#pragma once
// Where two pictures differ.
#include "host/picture.h"

#include <cstddef>

namespace korv {

struct Difference {
    size_t pixels = 0; // that differ
    int largest = 0;   // of all channels, 0 to 255
    // Dark grey after the first picture where both are equal, else yellow for a difference of 1 to
    // red for one of 255.
    host::Picture map;
};

// Both are of one size. Alpha is left out.
Difference Compare(const host::Picture& first, const host::Picture& second);

} // namespace korv
