#include "host/picture.h"

#include "host/ddraw/format.h"
#include "host/display/display.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <stdexcept>

namespace host {

namespace {

// A channel by its mask.
class Channel {
  public:
    // `none` is its value without a mask.
    Channel(uint32_t mask, uint8_t none)
        : mask_(mask), none_(none), low_(static_cast<uint32_t>(std::countr_zero(mask))),
          width_(static_cast<uint32_t>(std::popcount(mask))) {}

    // The pixel's value, widened to 8 bits by repeating its bits.
    uint8_t Of(uint32_t pixel) const {
        if (mask_ == 0) {
            return none_;
        }
        const uint32_t value = (pixel & mask_) >> low_;
        if (width_ >= 8) {
            return static_cast<uint8_t>(value >> (width_ - 8));
        }
        uint32_t wide = value << (8 - width_);
        for (uint32_t have = width_; have < 8; have *= 2) {
            wide |= wide >> have;
        }
        return static_cast<uint8_t>(wide);
    }

  private:
    uint32_t mask_;
    uint8_t none_;
    uint32_t low_, width_; // bits
};

uint32_t RawPixel(const uint8_t* row, uint32_t x, uint32_t bits) {
    if (bits == 4) {
        return (row[x / 2] >> (x % 2 * 4)) & 15;
    }
    uint32_t value = 0;
    std::memcpy(&value, row + x * (bits / 8), bits / 8);
    return value;
}

using Colour = std::array<uint8_t, 4>;

// From the pixels of a format to colours.
class ColourReader {
  public:
    ColourReader(const DDPIXELFORMAT& format, const PALETTEENTRY* palette)
        : flags_(format.dwFlags), palette_(palette), masks_(IsIndexed() ? Format332() : format),
          red_(masks_.dwRBitMask, 0), green_(masks_.dwGBitMask, 0), blue_(masks_.dwBBitMask, 0),
          alpha_(masks_.dwRGBAlphaBitMask, 255), depth_(format.dwZBitMask, 0) {}

    Colour Of(uint32_t pixel) const {
        if ((flags_ & DDPF_ZBUFFER) != 0) {
            const uint8_t grey = depth_.Of(pixel);
            return {grey, grey, grey, 255};
        }
        if (IsIndexed() && palette_ != nullptr) {
            const PALETTEENTRY& entry = palette_[pixel];
            return {entry.peRed, entry.peGreen, entry.peBlue, 255};
        }
        if ((flags_ & DDPF_PALETTEINDEXED4) != 0) {
            const auto grey = static_cast<uint8_t>(pixel * 17);
            return {grey, grey, grey, 255};
        }
        return {red_.Of(pixel), green_.Of(pixel), blue_.Of(pixel), alpha_.Of(pixel)};
    }

  private:
    bool IsIndexed() const { return (flags_ & (DDPF_PALETTEINDEXED8 | DDPF_PALETTEINDEXED4)) != 0; }

    uint32_t flags_;
    const PALETTEENTRY* palette_;
    DDPIXELFORMAT masks_; // of direct colours; indices without a palette are taken for 3:3:2
    Channel red_, green_, blue_, alpha_, depth_;
};

} // namespace

Picture ReadPicture(const uint8_t* bytes, int32_t pitch, uint32_t width, uint32_t height,
                    const DDPIXELFORMAT& format, const PALETTEENTRY* palette) {
    const uint32_t bits = BitsOf(format);
    const bool known = bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    if (!known || (format.dwFlags & (DDPF_RGB | DDPF_ZBUFFER)) == 0) {
        throw std::invalid_argument("this pixel format is no picture");
    }
    Picture picture{width, height, {}};
    picture.rgba.resize(size_t{width} * height * 4);
    const ColourReader reader(format, palette);
    uint8_t* next = picture.rgba.data();
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* row = bytes + static_cast<ptrdiff_t>(y) * pitch;
        for (uint32_t x = 0; x < width; ++x) {
            const Colour colour = reader.Of(RawPixel(row, x, bits));
            next = std::copy(colour.begin(), colour.end(), next);
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
