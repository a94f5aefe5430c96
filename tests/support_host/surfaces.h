#pragma once
#include "host/ddraw/ddraw.h"

#include <cstdint>

namespace test {

// Gives every pixel of `surface` this raw value, as the processor does.
inline void Fill(host::Surface& surface, uint32_t value) {
    for (uint32_t y = 0; y < surface.Height(); ++y) {
        for (uint32_t x = 0; x < surface.Width(); ++x) {
            surface.SetPixel(x, y, value);
        }
    }
}

} // namespace test
