// Rows of pixels against the conversion of single ones.
#include "board/values/format_rows.h"
#include "board/values/row.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace board {

namespace {

// Every layout that a code names, in both orders.
std::vector<PixelFormat> AllFormats() {
    std::vector<PixelFormat> formats;
    for (uint32_t code = 0; code < 16; ++code) {
        for (const uint32_t extension : {0u, 1u}) {
            for (const bool redHigh : {false, true}) {
                if (const auto format = FormatOfCode(code, extension, redHigh)) {
                    formats.push_back(*format);
                }
            }
        }
    }
    return formats;
}

std::vector<uint32_t> RandomWords(size_t count, uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<uint32_t> words(count);
    std::generate(words.begin(), words.end(), [&] { return static_cast<uint32_t>(random()); });
    return words;
}

constexpr int32_t kWords = 4096;

TEST(FormatRows, ExpandAsSinglePixels) {
    std::vector<uint32_t> to(kWords);
    for (const PixelFormat& format : AllFormats()) {
        const std::vector<uint32_t> from = RandomWords(kWords, 1);
        ExpandRowOf(format)(format, kWords, from.data(), to.data());
        for (size_t i = 0; i < to.size(); ++i) {
            ASSERT_EQ(to[i], WordOfColour(ExpandPixel(format, from[i])));
        }
    }
}

TEST(FormatRows, EncodeAsSinglePixels) {
    std::vector<uint32_t> to(kWords);
    for (const PixelFormat& format : AllFormats()) {
        const std::vector<uint32_t> from = RandomWords(kWords, 2);
        EncodeRowOf(format)(format, kWords, from.data(), to.data());
        for (size_t i = 0; i < to.size(); ++i) {
            ASSERT_EQ(to[i], EncodePixel(format, ColourOfWord(from[i])));
        }
    }
}

TEST(FormatRows, DitherAsSinglePixels) {
    std::vector<uint32_t> from(256);
    for (uint32_t i = 0; i < 256; ++i) {
        from[i] = OnAllChannels(i);
    }
    std::vector<uint32_t> to(from.size());
    for (const PixelFormat& format : AllFormats()) {
        for (uint32_t y = 0; y < 4; ++y) {
            for (uint32_t x = 0; x < 4; ++x) {
                DitherRowOf(format)(format, 256, from.data(), x, y, to.data());
                for (uint32_t i = 0; i < 256; ++i) {
                    ASSERT_EQ(to[i], EncodeDithered(format, ColourOfWord(from[i]), x + i, y));
                }
            }
        }
    }
}

TEST(Rows, DivideBy255IsExactBelow65535) {
    for (uint32_t n = 0; n < 65535; ++n) {
        ASSERT_EQ(DivideBy255(n), n / 255);
    }
}

TEST(Rows, LoadAndStoreTouchNothingBehind) {
    for (const uint32_t bytes : {1u, 2u, 3u, 4u}) {
        for (int32_t pixels = 1; pixels < 20; ++pixels) {
            std::vector<uint8_t> memory(200);
            for (size_t i = 0; i < memory.size(); ++i) {
                memory[i] = static_cast<uint8_t>(i * 7 + 3);
            }
            const std::vector<uint8_t> before = memory;
            uint32_t words[kRowPixels];
            LoadRow(bytes, memory.data() + 5, pixels, words);
            for (int32_t i = 0; i < pixels; ++i) {
                uint32_t expected = 0;
                for (uint32_t byte = 0; byte < bytes; ++byte) {
                    expected |= uint32_t{before[5 + static_cast<uint32_t>(i) * bytes + byte]}
                                << (8 * byte);
                }
                ASSERT_EQ(words[i], expected);
                words[i] = ~words[i];
            }
            StoreRow(bytes, memory.data() + 5, pixels, words);
            const size_t end = 5 + static_cast<size_t>(pixels) * bytes;
            for (size_t i = 0; i < memory.size(); ++i) {
                const bool inside = i >= 5 && i < end;
                ASSERT_EQ(memory[i], inside ? static_cast<uint8_t>(~before[i]) : before[i]) << i;
            }
        }
    }
}

} // namespace

} // namespace board
