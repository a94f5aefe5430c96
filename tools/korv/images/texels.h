#pragma once
// Images as texels: reduced sizes, palettes, raw values.
#include "driver/platform/ddraw.h"
#include "host/picture.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace korv {

using Rgba = std::array<uint8_t, 4>;

// `image` and its mip levels: each half as wide and as high as the one before, by means of four
// pixels, down to the last one whose sides are both at least `smallest` pixels.
std::vector<host::Picture> MipLevels(const host::Picture& image, uint32_t smallest);

// At most `count` colours that serve `image`: its own if they are so few, else the means of boxes
// that split its colours evenly. Pixels of the colour `without` are left out.
std::vector<Rgba> ChoosePalette(const host::Picture& image, size_t count,
                                std::optional<Rgba> without = {});

// Turns colours into the raw values of one texture format.
class TexelEncoder {
  public:
    // An indexed format gets a palette for `image`. Its first entry is `key`, if there is one, and
    // no other colour is given that entry.
    TexelEncoder(const DDPIXELFORMAT& format, const host::Picture& image, std::optional<Rgba> key);

    uint32_t operator()(const Rgba& colour) const;
    // 16 or 256 entries for an indexed format, else none.
    const std::vector<PALETTEENTRY>& Palette() const { return palette_; }

  private:
    DDPIXELFORMAT format_;
    std::optional<Rgba> key_;
    std::vector<Rgba> colours_; // of the palette's entries that are in use
    std::vector<PALETTEENTRY> palette_;
};

} // namespace korv
