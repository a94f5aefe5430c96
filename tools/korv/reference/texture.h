#pragma once
// Textures for whole-machine tests: raw texels for the driver, and the same as colours for the
// reference.
#include "driver/platform/ddraw.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace korv::reference {

using Texel = std::array<double, 4>; // red, green, blue, alpha, 0 to 255

struct Texture {
    uint32_t width, height; // texels, powers of two
    DDPIXELFORMAT format;
    std::vector<uint32_t> raw;         // row by row
    std::vector<uint32_t> palette;     // of an indexed format: D3DCOLOR
    std::optional<uint32_t> sourceKey; // raw value of texels that are not drawn
    uint32_t keyBits = ~0u;            // of a raw value, those that the key is compared in
    std::vector<std::shared_ptr<const Texture>> smaller; // levels from 1 up

    // The texel's colour: a channel of n bits counts in steps of 255 / (2^n - 1); opaque without
    // alpha.
    Texel At(uint32_t x, uint32_t y) const;
    bool KeyedAt(uint32_t x, uint32_t y) const {
        return sourceKey && ((*sourceKey ^ raw[y * width + x]) & keyBits) == 0;
    }
};

// `colour(x, y)` is cut to what the format can hold. An indexed format gets a palette of the
// colours met, which must be few enough.
std::shared_ptr<Texture> MakeTexture(uint32_t width, uint32_t height, const DDPIXELFORMAT& format,
                                     const std::function<uint32_t(uint32_t, uint32_t)>& colour);

// Raw value of a D3DCOLOR in a format that is not indexed.
uint32_t RawTexel(uint32_t colour, const DDPIXELFORMAT& format);

// Rounded down. The C library's floor takes the greater part of a textured picture's time here.
inline int Floor(double value) {
    const int whole = static_cast<int>(value);
    return whole - (value < whole);
}

// Where a texture coordinate of `position` texels, rounded down, falls by D3DTADDRESS.
uint32_t Addressed(int position, uint32_t size, uint32_t address);

// The colour at (u, v), by D3DFILTER_NEAREST or D3DFILTER_LINEAR. Texel centres lie half a texel
// from their edges.
Texel SampleNearest(const Texture& texture, double u, double v, uint32_t address);
Texel SampleLinear(const Texture& texture, double u, double v, uint32_t address);

} // namespace korv::reference
