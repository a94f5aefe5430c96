#include "tools/korv/reference/texture.h"

#include "driver/platform/d3dhal.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <stdexcept>

namespace korv::reference {

namespace {

double Widened(uint32_t raw, uint32_t mask) {
    const uint32_t most = mask >> std::countr_zero(mask);
    return 255.0 * ((raw & mask) >> std::countr_zero(mask)) / most;
}

uint32_t Cut(uint32_t byte, uint32_t mask) {
    return mask == 0 ? 0 : byte >> (8 - std::popcount(mask)) << std::countr_zero(mask);
}

bool Indexed(const DDPIXELFORMAT& format) {
    return (format.dwFlags & (DDPF_PALETTEINDEXED4 | DDPF_PALETTEINDEXED8)) != 0;
}

} // namespace

uint32_t RawTexel(uint32_t colour, const DDPIXELFORMAT& format) {
    return Cut(colour >> 16 & 0xFF, format.dwRBitMask) |
           Cut(colour >> 8 & 0xFF, format.dwGBitMask) | Cut(colour & 0xFF, format.dwBBitMask) |
           Cut(colour >> 24, format.dwRGBAlphaBitMask);
}

Texel Texture::At(uint32_t x, uint32_t y) const {
    const uint32_t value = raw[y * width + x];
    if (Indexed(format)) {
        const uint32_t entry = palette[value];
        return {double(entry >> 16 & 0xFF), double(entry >> 8 & 0xFF), double(entry & 0xFF), 255};
    }
    const bool alpha = format.dwRGBAlphaBitMask != 0;
    return {Widened(value, format.dwRBitMask), Widened(value, format.dwGBitMask),
            Widened(value, format.dwBBitMask),
            alpha ? Widened(value, format.dwRGBAlphaBitMask) : 255.0};
}

std::shared_ptr<Texture> MakeTexture(uint32_t width, uint32_t height, const DDPIXELFORMAT& format,
                                     const std::function<uint32_t(uint32_t, uint32_t)>& colour) {
    auto texture = std::make_shared<Texture>();
    texture->width = width;
    texture->height = height;
    texture->format = format;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            if (!Indexed(format)) {
                texture->raw.push_back(RawTexel(colour(x, y), format));
                continue;
            }
            auto& palette = texture->palette;
            const uint32_t entry = colour(x, y) & 0xFFFFFF;
            const auto found = std::find(palette.begin(), palette.end(), entry);
            texture->raw.push_back(static_cast<uint32_t>(found - palette.begin()));
            if (found == palette.end()) {
                palette.push_back(entry);
            }
        }
    }
    if (Indexed(format)) {
        const size_t entries = size_t{1} << format.dwRGBBitCount;
        if (texture->palette.size() > entries) {
            throw std::invalid_argument("more colours than the palette has entries");
        }
        texture->palette.resize(entries);
    }
    return texture;
}

uint32_t Addressed(int position, uint32_t size, uint32_t address) {
    const int whole = static_cast<int>(size);
    const auto modulo = [](int value, int by) { return ((value % by) + by) % by; };
    switch (address) {
    case D3DTADDRESS_CLAMP:
        return static_cast<uint32_t>(std::clamp(position, 0, whole - 1));
    case D3DTADDRESS_MIRROR: {
        const int there = modulo(position, 2 * whole);
        return static_cast<uint32_t>(there < whole ? there : 2 * whole - 1 - there);
    }
    default:
        return static_cast<uint32_t>(modulo(position, whole));
    }
}

Texel SampleNearest(const Texture& texture, double u, double v, uint32_t address) {
    return texture.At(Addressed(Floor(u * texture.width), texture.width, address),
                      Addressed(Floor(v * texture.height), texture.height, address));
}

Texel SampleLinear(const Texture& texture, double u, double v, uint32_t address) {
    const double s = u * texture.width - 0.5, t = v * texture.height - 0.5;
    const int s0 = Floor(s), t0 = Floor(t);
    const double fs = s - s0, ft = t - t0;
    Texel mixed{};
    for (int dt = 0; dt < 2; ++dt) {
        for (int ds = 0; ds < 2; ++ds) {
            const Texel one = texture.At(Addressed(s0 + ds, texture.width, address),
                                         Addressed(t0 + dt, texture.height, address));
            const double weight = (ds == 0 ? 1 - fs : fs) * (dt == 0 ? 1 - ft : ft);
            for (int i = 0; i < 4; ++i) {
                mixed[i] += weight * one[i];
            }
        }
    }
    return mixed;
}

} // namespace korv::reference
