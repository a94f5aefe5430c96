#include "tools/korv/random/pixels.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace korv::random {

namespace {

template <class Unit>
void AppendRow(Pixels& pixels, const uint8_t* row, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x, row += sizeof(Unit)) {
        Unit pixel;
        std::memcpy(&pixel, row, sizeof pixel);
        pixels.push_back(pixel);
    }
}

} // namespace

Pixels PixelsOf(const host::Surface& surface) {
    Pixels pixels;
    const uint32_t width = surface.Width(), bits = surface.Bits();
    pixels.reserve(size_t{width} * surface.Height());
    for (uint32_t y = 0; y < surface.Height(); ++y) {
        if (bits == 8) {
            AppendRow<uint8_t>(pixels, surface.Row(y), width);
        } else if (bits == 16) {
            AppendRow<uint16_t>(pixels, surface.Row(y), width);
        } else if (bits == 32) {
            AppendRow<uint32_t>(pixels, surface.Row(y), width);
        } else {
            for (uint32_t x = 0; x < width; ++x) {
                pixels.push_back(surface.Pixel(x, y));
            }
        }
    }
    return pixels;
}

std::optional<size_t> FirstDifference(const Pixels& a, const Pixels& b) {
    const auto at = std::ranges::mismatch(a, b).in1;
    return at == a.end() ? std::nullopt : std::optional(static_cast<size_t>(at - a.begin()));
}

uint64_t Hash(const void* data, size_t bytes, uint64_t hash) {
    const auto* at = static_cast<const uint8_t*>(data);
    for (; bytes >= 4; bytes -= 4, at += 4) {
        uint32_t word = 0;
        std::memcpy(&word, at, 4);
        hash = (hash ^ word) * 0x100000001B3u;
        hash ^= hash >> 29;
    }
    for (; bytes != 0; --bytes, ++at) {
        hash = (hash ^ *at) * 0x100000001B3u;
    }
    return hash;
}

uint64_t HashMemory(std::span<const uint8_t> memory) {
    static constexpr std::array<uint8_t, 4096> kZeroes{};
    uint64_t hash = 0;
    for (size_t at = 0; at < memory.size(); at += kZeroes.size()) {
        const auto block = memory.subspan(at, std::min(kZeroes.size(), memory.size() - at));
        if (std::memcmp(block.data(), kZeroes.data(), block.size()) != 0) {
            hash = Hash(block.data(), block.size(), hash ^ at);
        }
    }
    return hash;
}

} // namespace korv::random
