#include "host/picture.h"

#include "host/ddraw/format.h"
#include "host/display/display.h"

#include <bit>
#include <cstring>
#include <stdexcept>

namespace host {

namespace {

// The value of a channel, widened to 8 bits by repeating its bits; `none` without a mask.
uint8_t Channel(uint32_t pixel, uint32_t mask, uint8_t none) {
    if (mask == 0) {
        return none;
    }
    const auto width = static_cast<uint32_t>(std::popcount(mask));
    const uint32_t value = (pixel & mask) >> std::countr_zero(mask);
    if (width >= 8) {
        return static_cast<uint8_t>(value >> (width - 8));
    }
    uint32_t wide = value << (8 - width);
    for (uint32_t have = width; have < 8; have *= 2) {
        wide |= wide >> have;
    }
    return static_cast<uint8_t>(wide);
}

uint32_t RawPixel(const uint8_t* row, uint32_t x, uint32_t bits) {
    if (bits == 4) {
        return (row[x / 2] >> (x % 2 * 4)) & 15;
    }
    uint32_t value = 0;
    std::memcpy(&value, row + x * (bits / 8), bits / 8);
    return value;
}

using Colour = std::array<uint8_t, 4>;

Colour ByMasks(uint32_t pixel, const DDPIXELFORMAT& format) {
    return {Channel(pixel, format.dwRBitMask, 0), Channel(pixel, format.dwGBitMask, 0),
            Channel(pixel, format.dwBBitMask, 0), Channel(pixel, format.dwRGBAlphaBitMask, 255)};
}

Colour ReadColour(uint32_t pixel, const DDPIXELFORMAT& format, const PALETTEENTRY* palette) {
    if ((format.dwFlags & DDPF_ZBUFFER) != 0) {
        const uint8_t grey = Channel(pixel, format.dwZBitMask, 0);
        return {grey, grey, grey, 255};
    }
    if ((format.dwFlags & (DDPF_PALETTEINDEXED8 | DDPF_PALETTEINDEXED4)) != 0) {
        if (palette != nullptr) {
            const PALETTEENTRY& entry = palette[pixel];
            return {entry.peRed, entry.peGreen, entry.peBlue, 255};
        }
        if ((format.dwFlags & DDPF_PALETTEINDEXED4) != 0) {
            const auto grey = static_cast<uint8_t>(pixel * 17);
            return {grey, grey, grey, 255};
        }
        return ByMasks(pixel, Format332());
    }
    return ByMasks(pixel, format);
}

} // namespace

Picture ReadPicture(const uint8_t* bytes, int32_t pitch, uint32_t width, uint32_t height,
                    const DDPIXELFORMAT& format, const PALETTEENTRY* palette) {
    const uint32_t bits = BitsOf(format);
    const bool known = bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    if (!known || (format.dwFlags & (DDPF_RGB | DDPF_ZBUFFER)) == 0) {
        throw std::invalid_argument("this pixel format is no picture");
    }
    Picture picture{width, height, {}};
    picture.rgba.reserve(size_t{width} * height * 4);
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = bytes + static_cast<ptrdiff_t>(y) * pitch;
        for (uint32_t x = 0; x < width; ++x) {
            const Colour colour = ReadColour(RawPixel(row, x, bits), format, palette);
            picture.rgba.insert(picture.rgba.end(), colour.begin(), colour.end());
        }
    }
    return picture;
}

Picture ReadPicture(const Surface& surface) {
    return ReadPicture(surface.Bytes(), surface.Pitch(), surface.Width(), surface.Height(),
                       surface.Format(), surface.Palette());
}

Picture ReadScreen(Display& display, const PALETTEENTRY* palette) {
    const uint32_t offset = display.VisibleOffset();
    const uint32_t bytes = display.Config().frameBufferBytes;
    if (offset > bytes || display.ScreenBytes() > bytes - offset) {
        throw std::out_of_range("the screen ends behind the frame buffer");
    }
    return ReadPicture(display.FrameBuffer() + offset, static_cast<int32_t>(display.Pitch()),
                       display.Config().width, display.Config().height,
                       DisplayFormat(display.Config().bits), palette);
}

std::vector<uint32_t> ReadDepth(const Surface& surface) {
    std::vector<uint32_t> depths;
    depths.reserve(size_t{surface.Width()} * surface.Height());
    for (uint32_t y = 0; y < surface.Height(); ++y) {
        for (uint32_t x = 0; x < surface.Width(); ++x) {
            depths.push_back(surface.Pixel(x, y));
        }
    }
    return depths;
}

} // namespace host
