#include "tools/korv/images/texels.h"

#include "tools/korv/images/texel_format.h"

#include <climits>

#include <algorithm>
#include <bit>
#include <set>

namespace korv {

namespace {

constexpr int kColourChannels = 3;

bool SameColour(const Rgba& a, const Rgba& b) {
    return std::equal(a.begin(), a.begin() + kColourChannels, b.begin());
}

host::Picture Halved(const host::Picture& image) {
    host::Picture half{image.width / 2, image.height / 2, {}};
    for (uint32_t y = 0; y < half.height; ++y) {
        for (uint32_t x = 0; x < half.width; ++x) {
            for (int channel = 0; channel < 4; ++channel) {
                int sum = 2; // rounds
                for (const auto& [dx, dy] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
                    sum += image.At(2 * x + dx, 2 * y + dy)[channel];
                }
                half.rgba.push_back(static_cast<uint8_t>(sum / 4));
            }
        }
    }
    return half;
}

// Colours of pixels, a range of which is one box.
struct Box {
    std::vector<Rgba>::iterator begin, end;

    int Range(int channel) const {
        const auto [least, most] = std::minmax_element(
            begin, end, [&](const Rgba& a, const Rgba& b) { return a[channel] < b[channel]; });
        return (*most)[channel] - (*least)[channel];
    }
    int LongestChannel() const {
        int longest = 0;
        for (int channel = 1; channel < kColourChannels; ++channel) {
            if (Range(channel) > Range(longest)) {
                longest = channel;
            }
        }
        return longest;
    }
    Rgba Mean() const {
        Rgba mean{0, 0, 0, 255};
        const auto count = static_cast<uint32_t>(end - begin);
        for (int channel = 0; channel < kColourChannels; ++channel) {
            uint32_t sum = count / 2;
            for (auto it = begin; it != end; ++it) {
                sum += (*it)[channel];
            }
            mean[channel] = static_cast<uint8_t>(sum / count);
        }
        return mean;
    }
};

int Distance(const Rgba& a, const Rgba& b) {
    int distance = 0;
    for (int channel = 0; channel < kColourChannels; ++channel) {
        distance += (a[channel] - b[channel]) * (a[channel] - b[channel]);
    }
    return distance;
}

uint32_t Field(uint8_t value, uint32_t mask) {
    if (mask == 0) {
        return 0;
    }
    const uint32_t most = (1u << std::popcount(mask)) - 1;
    return (value * most + 127) / 255 << std::countr_zero(mask);
}

// Bits of a texel that the format leaves open. Chips take one of 5:5:5 for alpha, so they are set.
uint32_t Unused(const DDPIXELFORMAT& format) {
    const uint32_t used =
        format.dwRBitMask | format.dwGBitMask | format.dwBBitMask | format.dwRGBAlphaBitMask;
    return ~used & (~0u >> (32 - format.dwRGBBitCount));
}

} // namespace

std::vector<host::Picture> MipLevels(const host::Picture& image, uint32_t smallest) {
    std::vector<host::Picture> levels{image};
    while (std::min(levels.back().width, levels.back().height) / 2 >= smallest) {
        levels.push_back(Halved(levels.back()));
    }
    return levels;
}

std::vector<Rgba> ChoosePalette(const host::Picture& image, size_t count,
                                std::optional<Rgba> without) {
    std::vector<Rgba> pixels;
    for (size_t i = 0; i < image.rgba.size(); i += 4) {
        const Rgba pixel{image.rgba[i], image.rgba[i + 1], image.rgba[i + 2], 255};
        if (!without || !SameColour(pixel, *without)) {
            pixels.push_back(pixel);
        }
    }
    const std::set<Rgba> distinct(pixels.begin(), pixels.end());
    if (distinct.size() <= count) {
        return {distinct.begin(), distinct.end()};
    }
    std::vector<Box> boxes{{pixels.begin(), pixels.end()}};
    while (boxes.size() < count) {
        const auto widest = std::ranges::max_element(
            boxes, {}, [](const Box& box) { return box.Range(box.LongestChannel()); });
        const int channel = widest->LongestChannel();
        const auto by = [&](const Rgba& a, const Rgba& b) { return a[channel] < b[channel]; };
        std::sort(widest->begin, widest->end, by);
        auto middle = widest->begin + (widest->end - widest->begin) / 2;
        // Equal values stay in one box.
        middle = std::lower_bound(widest->begin, widest->end, *middle, by);
        if (middle == widest->begin) {
            middle = std::upper_bound(widest->begin, widest->end, *middle, by);
        }
        if (middle == widest->end) {
            break;
        }
        const Box rest{middle, widest->end};
        widest->end = middle;
        boxes.push_back(rest);
    }
    std::vector<Rgba> palette;
    for (const Box& box : boxes) {
        palette.push_back(box.Mean());
    }
    return palette;
}

TexelEncoder::TexelEncoder(const DDPIXELFORMAT& format, const host::Picture& image,
                           std::optional<Rgba> key)
    : format_(format), key_(key) {
    if (!HasPalette(format)) {
        return;
    }
    const size_t entries = size_t{1} << format.dwRGBBitCount;
    if (key) {
        colours_.push_back(*key);
    }
    for (const Rgba& colour : ChoosePalette(image, entries - colours_.size(), key)) {
        colours_.push_back(colour);
    }
    for (const Rgba& c : colours_) {
        palette_.push_back({c[0], c[1], c[2], 0});
    }
    palette_.resize(entries);
}

uint32_t TexelEncoder::operator()(const Rgba& colour) const {
    if (!HasPalette(format_)) {
        return Unused(format_) | Field(colour[0], format_.dwRBitMask) |
               Field(colour[1], format_.dwGBitMask) | Field(colour[2], format_.dwBBitMask) |
               Field(colour[3], format_.dwRGBAlphaBitMask);
    }
    if (key_ && SameColour(colour, *key_)) {
        return 0;
    }
    uint32_t best = 0;
    int least = INT_MAX;
    for (uint32_t i = key_ ? 1 : 0; i < colours_.size(); ++i) {
        if (const int distance = Distance(colour, colours_[i]); distance < least) {
            least = distance;
            best = i;
        }
    }
    return best;
}

} // namespace korv
