#pragma once
// Pictures of surfaces.
#include "host/ddraw/surface.h"

#include <array>
#include <cstdint>
#include <vector>

namespace host {

class Display;

struct Picture {
    uint32_t width = 0, height = 0;
    std::vector<uint8_t> rgba; // four bytes a pixel, top row first

    std::array<uint8_t, 4> At(uint32_t x, uint32_t y) const {
        const uint8_t* p = &rgba[(y * width + x) * 4];
        return {p[0], p[1], p[2], p[3]};
    }
};

// Reads a surface by its format; channels are widened by repeating their top bits. Alpha is 255
// where the format has none. Indexed pixels go through the surface's palette; without one, 8-bit
// pixels are read as 3:3:2. Depth surfaces come out grey, near black and far white. The surface
// must be in linear layout. Throws std::invalid_argument for formats that are no picture.
Picture ReadPicture(const Surface& surface);

// Reads `width` by `height` pixels at `bytes` by a format, `pitch` bytes a line.
Picture ReadPicture(const uint8_t* bytes, int32_t pitch, uint32_t width, uint32_t height,
                    const DDPIXELFORMAT& format, const PALETTEENTRY* palette = nullptr);

// What the monitor shows: the display's pixels from where the chip's screen base registers point.
// 8-bit modes go through `palette`, 256 entries, or are read as 3:3:2 without one. Throws
// std::out_of_range when the screen would end behind the frame buffer.
Picture ReadScreen(Display& display, const PALETTEENTRY* palette = nullptr);

// Raw depth values of a Z buffer, row by row.
std::vector<uint32_t> ReadDepth(const Surface& surface);

} // namespace host
