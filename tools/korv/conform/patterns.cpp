#include "tools/korv/conform/patterns.h"

#include "tools/korv/conform/pixel_form.h"

#include <fmt/format.h>

#include <charconv>

namespace korv::conform {

namespace {

constexpr uint32_t kMostBytes = 1u << 20;

uint32_t Amount(const std::string& text) {
    const uint32_t bytes = NumberOf(text);
    if (bytes == 0 || bytes > kMostBytes) {
        throw PatternError(fmt::format("'{}' is no count of bytes up to {}", text, kMostBytes));
    }
    return bytes;
}

PixelForm ColourForm(const std::string& text) {
    const auto form = FormByName(text);
    if (!form || *form >= PixelForm::Depth16) {
        throw PatternError(
            fmt::format("'{}' is no form of colours: expected one of {}", text, FormNames()));
    }
    return *form;
}

// "#RRGGBBAA" or "#RRGGBB"
Channels ColourOf(const std::string& text) {
    uint32_t value = 0;
    const char* end = text.data() + text.size();
    if (!text.starts_with('#') || (text.size() != 7 && text.size() != 9) ||
        std::from_chars(text.data() + 1, end, value, 16).ptr != end) {
        throw PatternError(fmt::format("'{}' is no colour: expected #RRGGBB or #RRGGBBAA", text));
    }
    if (text.size() == 7) {
        value = value << 8 | 0xFF;
    }
    return {value >> 24, value >> 16 & 0xFF, value >> 8 & 0xFF, value & 0xFF};
}

void Append(std::vector<uint8_t>& bytes, uint32_t value, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
}

template <typename ColourAt>
std::vector<uint8_t> Image(const std::string& size, PixelForm form, ColourAt at) {
    const SizeOf extent = ParseExtent(size);
    std::vector<uint8_t> bytes;
    for (uint32_t y = 0; y < extent.height; ++y) {
        for (uint32_t x = 0; x < extent.width; ++x) {
            Append(bytes, Encode(form, at(x, y, extent)), BytesOf(form));
        }
    }
    return bytes;
}

// Every channel takes many values, and no two of them run alike.
Channels GradientAt(uint32_t x, uint32_t y, const SizeOf& size) {
    const uint32_t red = x * 255 / std::max(size.width - 1, 1u);
    const uint32_t green = y * 255 / std::max(size.height - 1, 1u);
    return {red, green, 255 - (red + green) / 2, ((x + 3 * y) & 15) * 17};
}

std::vector<uint8_t> Noise(uint32_t count, uint32_t seed) {
    std::vector<uint8_t> bytes;
    uint32_t state = seed;
    for (uint32_t i = 0; i < count; ++i) {
        state = state * 1664525 + 1013904223;
        bytes.push_back(static_cast<uint8_t>(state >> 24));
    }
    return bytes;
}

std::vector<uint8_t> Hex(std::span<const std::string> words) {
    std::vector<uint8_t> bytes;
    for (const std::string& word : words) {
        if (word.size() % 2 != 0) {
            throw PatternError(fmt::format("'{}' is no whole number of bytes", word));
        }
        for (size_t i = 0; i < word.size(); i += 2) {
            uint8_t byte = 0;
            const char* end = word.data() + i + 2;
            if (std::from_chars(word.data() + i, end, byte, 16).ptr != end) {
                throw PatternError(fmt::format("'{}' is not hexadecimal", word));
            }
            bytes.push_back(byte);
        }
    }
    return bytes;
}

} // namespace

uint32_t NumberOf(const std::string& text) {
    const bool hex = text.starts_with("0x");
    const char* begin = text.data() + (hex ? 2 : 0);
    const char* end = text.data() + text.size();
    uint32_t value = 0;
    const auto [stop, error] = std::from_chars(begin, end, value, hex ? 16 : 10);
    if (begin == end || stop != end || error != std::errc()) {
        throw PatternError(fmt::format("'{}' is no number", text));
    }
    return value;
}

SizeOf ParseExtent(const std::string& text) {
    const size_t by = text.find('x');
    if (by == text.npos || by == 0) {
        throw PatternError(fmt::format("'{}' is no size: expected WIDTHxHEIGHT", text));
    }
    const SizeOf size{NumberOf(text.substr(0, by)), NumberOf(text.substr(by + 1))};
    constexpr uint32_t kMost = 512;
    if (size.width == 0 || size.height == 0 || size.width > kMost || size.height > kMost) {
        throw PatternError(fmt::format("'{}' is no size up to {}x{}", text, kMost, kMost));
    }
    return size;
}

std::vector<uint8_t> PatternBytes(std::span<const std::string> words) {
    const auto is = [words](const char* name, size_t count) {
        return words.size() == count && words[0] == name;
    };
    if (is("noise", 3)) {
        return Noise(Amount(words[1]), NumberOf(words[2]));
    }
    if (is("word", 3)) {
        std::vector<uint8_t> bytes;
        for (uint32_t left = Amount(words[1]) / 4; left != 0; --left) {
            Append(bytes, NumberOf(words[2]), 4);
        }
        return bytes;
    }
    if (is("ramp", 2)) {
        std::vector<uint8_t> bytes(Amount(words[1]));
        for (size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<uint8_t>(i);
        }
        return bytes;
    }
    if (is("gradient", 3)) {
        return Image(words[1], ColourForm(words[2]), GradientAt);
    }
    if (is("checker", 5)) {
        const Channels colours[] = {ColourOf(words[3]), ColourOf(words[4])};
        return Image(words[1], ColourForm(words[2]),
                     [&](uint32_t x, uint32_t y, const SizeOf&) { return colours[(x ^ y) & 1]; });
    }
    if (words.size() > 1 && words[0] == "bytes") {
        return Hex(words.subspan(1));
    }
    throw PatternError("no such pattern: expected noise BYTES SEED, word BYTES VALUE, ramp BYTES, "
                       "gradient SIZE FORM, checker SIZE FORM COLOUR COLOUR or bytes HEX");
}

} // namespace korv::conform
