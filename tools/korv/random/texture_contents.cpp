#include "tools/korv/random/texture_contents.h"

#include "chip/devices.h"

#include <bit>

namespace korv::random {

namespace {

using reference::Texture;

// Of a channel's mask, what the driver's keys look at: five bits.
uint32_t KeptBits(uint32_t mask) {
    constexpr int kBits = 5;
    const int spare = std::popcount(mask) - kBits;
    return spare > 0 ? mask & mask << spare : mask;
}

// The top bit of 5:5:5 is an alpha to the Permedias, claimed or not
// (driver/heap/surface_format.cpp, kFormatRows).
DDPIXELFORMAT FormatOn(uint32_t deviceId, DDPIXELFORMAT format) {
    constexpr uint32_t kRed5 = 0x7C00, kTopBit = 0x8000;
    const bool permedia = deviceId != DeviceTX && deviceId != DeviceMX;
    if (permedia && format.dwRGBBitCount == 16 && format.dwRBitMask == kRed5) {
        format.dwRGBAlphaBitMask = kTopBit;
    }
    return format;
}

std::shared_ptr<Texture> ReadLevel(const host::Surface& surface) {
    auto texture = std::make_shared<Texture>();
    texture->width = surface.Width();
    texture->height = surface.Height();
    for (uint32_t y = 0; y < texture->height; ++y) {
        for (uint32_t x = 0; x < texture->width; ++x) {
            texture->raw.push_back(surface.Pixel(x, y));
        }
    }
    return texture;
}

} // namespace

std::shared_ptr<const Texture> ReadTexture(const host::Surface& surface, uint32_t deviceId) {
    const auto complete = [&](const host::Surface& level) {
        const std::shared_ptr<Texture> texture = ReadLevel(level);
        texture->format = FormatOn(deviceId, surface.Format());
        // The first one's are those of all levels.
        if (const PALETTEENTRY* entries = surface.Palette()) {
            for (uint32_t i = 0; i < 1u << surface.Bits(); ++i) {
                texture->palette.push_back(uint32_t{entries[i].peRed} << 16 |
                                           uint32_t{entries[i].peGreen} << 8 | entries[i].peBlue);
            }
        }
        // TX has no colour key.
        if (deviceId != DeviceTX && (surface.Local()->dwFlags & DDRAWISURF_HASCKEYSRCBLT) != 0) {
            texture->sourceKey = surface.Local()->ddckCKSrcBlt.dwColorSpaceLowValue;
            const DDPIXELFORMAT& format = surface.Format();
            if (surface.Palette() == nullptr) {
                texture->keyBits = KeptBits(format.dwRBitMask) | KeptBits(format.dwGBitMask) |
                                   KeptBits(format.dwBBitMask) | KeptBits(format.dwRGBAlphaBitMask);
            }
        }
        return texture;
    };
    const std::shared_ptr<Texture> texture = complete(surface);
    for (const host::Surface* level : surface.Chain()) {
        texture->smaller.push_back(complete(*level));
    }
    return texture;
}

} // namespace korv::random
