#include "board/pixel/host_download.h"
#include "board/values/patch.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using rig::kPacked;

constexpr uint32_t kHostData = 0x1000;

// A hold burst of words to Color.
void Burst(rig::Rig& r, const std::vector<uint32_t>& words, uint32_t tagNumber = tag::Color) {
    std::vector<uint32_t> stream{HoldTag(tagNumber, static_cast<uint32_t>(words.size()))};
    stream.insert(stream.end(), words.begin(), words.end());
    r.Words(stream);
}

std::vector<uint32_t> RandomWords(size_t count, uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<uint32_t> words(count);
    for (uint32_t& word : words) {
        word = static_cast<uint32_t>(random());
    }
    return words;
}

TEST(HostDownload, ColourWordsFillATrapezoidPixelByPixel) {
    rig::Rig r;
    r.Rectangle(3, 2, 7, 5, kHostData);
    EXPECT_EQ(r.Pixel(3, 2), 0u) << "nothing is drawn before its word comes";
    const std::vector<uint32_t> words = RandomWords(12, 1);
    Burst(r, words);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 10; ++x) {
            const bool inside = x >= 3 && x < 7 && y >= 2 && y < 5;
            ASSERT_EQ(r.Pixel(x, y), inside ? words[static_cast<size_t>((y - 2) * 4 + x - 3)] : 0u);
        }
    }
    Burst(r, {1, 2, 3}); // too many words change the colour register, no pixel
    EXPECT_EQ(r.Pixel(7, 2), 0u);
    EXPECT_EQ(r.Register(tag::Color), 3u);
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(HostDownload, WordsComeForClippedPixelsToo) {
    rig::Rig r;
    r.Send({{tag::ScissorMode, 1},
            {tag::ScissorMinXY, 1 << 16 | 4},
            {tag::ScissorMaxXY, 2 << 16 | 6}});
    r.Rectangle(3, 0, 8, 3, kHostData);
    Burst(r, RandomWords(15, 2));
    const std::vector<uint32_t> words = RandomWords(15, 2);
    for (int y = 0; y < 3; ++y) {
        for (int x = 3; x < 8; ++x) {
            const bool kept = y == 1 && (x == 4 || x == 5);
            ASSERT_EQ(r.Pixel(x, y), kept ? words[static_cast<size_t>(y * 5 + x - 3)] : 0u);
        }
    }
}

TEST(HostDownload, EmptyRowsTakeNoWordsAndContinuationsGoOn) {
    rig::Rig r;
    // A triangle: rows of 0, 1 and 2 pixels, then three rows more.
    r.Send({{tag::StartXDom, 0},
            {tag::dXDom, 0},
            {tag::StartXSub, 0},
            {tag::dXSub, 0x10000},
            {tag::StartY, 0},
            {tag::dY, 0x10000},
            {tag::Count, 3},
            {tag::Render, rig::kTrapezoid | kHostData}});
    Burst(r, {11, 21, 22});
    r.Send(tag::Continue, 1);
    Burst(r, {31, 32, 33});
    EXPECT_EQ(r.Pixel(0, 0), 0u);
    EXPECT_EQ(r.Pixel(0, 1), 11u);
    EXPECT_EQ(r.Pixel(0, 2), 21u);
    EXPECT_EQ(r.Pixel(1, 2), 22u);
    EXPECT_EQ(r.Pixel(2, 3), 33u);
}

TEST(HostDownload, NextPrimitiveEndsOneThatWaits) {
    rig::Rig r;
    r.Rectangle(0, 0, 4, 1, kHostData);
    Burst(r, {5});
    r.Rectangle(10, 0, 11, 1);
    Burst(r, {6});
    EXPECT_EQ(r.Pixel(0, 0), 5u);
    EXPECT_EQ(r.Pixel(1, 0), 0u);
    EXPECT_EQ(r.Pixel(10, 0), 5u);
}

// What a driver sends for the texel formats: fields at the tops of their bytes, low byte lowest.
TEST(HostDownload, ColourWordsAreConvertedByTheFormatWithoutDither) {
    struct Case {
        uint32_t code, extension;
        int bits[4]; // low channel, middle, high, alpha
    };
    for (const Case& c :
         {Case{1, 0, {5, 5, 5, 1}}, Case{2, 0, {4, 4, 4, 4}}, Case{0, 1, {5, 6, 5, 0}}}) {
        rig::Rig r;
        r.Send({{tag::FBReadPixel, rig::k16Bits},
                {tag::FBReadMode, rig::kPitch64},
                {tag::DitherMode, (c.extension << 14 | c.code) << 2 | 1}});
        r.Rectangle(0, 0, 64, 4, kHostData);
        std::vector<uint32_t> words;
        std::vector<uint16_t> pixels;
        std::mt19937 random(c.code);
        for (int i = 0; i < 256; ++i) {
            const auto pixel = static_cast<uint16_t>(random());
            uint32_t word = 0;
            int shift = 0;
            for (int channel = 0; channel < 4; ++channel) {
                const uint32_t field = pixel >> shift & ((1u << c.bits[channel]) - 1);
                word |= field << (8 - c.bits[channel]) << (8 * channel);
                shift += c.bits[channel];
            }
            words.push_back(word);
            pixels.push_back(pixel);
        }
        Burst(r, words);
        for (size_t i = 0; i < 256; ++i) {
            ASSERT_EQ(r.Element<uint16_t>(i), pixels[i]) << c.code;
        }
    }
}

TEST(HostDownload, PatchedLoadsScatterTheWords) {
    rig::Rig r;
    // Bytes through the pipeline, as 4-bit and 8-bit maps are loaded.
    for (const uint32_t patch : {0x2040000u, 0x4040000u}) {
        r.Send({{tag::FBReadPixel, rig::k8Bits}, {tag::FBReadMode, patch | rig::kPitch32}});
        r.Rectangle(0, 0, 32, 64, kHostData);
        for (uint32_t y = 0; y < 64; ++y) {
            std::vector<uint32_t> words;
            for (uint32_t x = 0; x < 32; ++x) {
                words.push_back(x ^ y << 3 ^ patch >> 25);
            }
            Burst(r, words);
        }
        for (uint32_t y = 0; y < 64; ++y) {
            for (uint32_t x = 0; x < 32; ++x) {
                const auto place = static_cast<size_t>(board::PatchedOffset(x, y, 32));
                ASSERT_EQ(r.board.FrameBuffer()[place],
                          static_cast<uint8_t>(x ^ y << 3 ^ patch >> 25));
            }
        }
    }
}

// A packed load of `width` x `height` pixels between any two positions in their words, with the
// registers of the packed download.
template <typename Pixel>
void PackedLoad(uint32_t code, int destLeft, int sourceLeft, int width, int height) {
    rig::Rig r;
    constexpr int kPerWord = 4 / sizeof(Pixel);
    constexpr int kMask = kPerWord - 1;
    constexpr int kPitch = 128, kTop = 3;
    const int destRight = destLeft + width;
    const auto relative = static_cast<uint32_t>((destLeft & kMask) - (sourceLeft & kMask)) & 7;
    const int first = destLeft / kPerWord;
    const int last = code == 2   ? destRight
                     : code == 0 ? (destRight + 7) >> 2
                                 : (destRight + 3) >> 1;
    std::vector<Pixel> source(static_cast<size_t>(256 * height));
    std::mt19937 random(static_cast<uint32_t>(destLeft * 100 + sourceLeft * 10 + width));
    for (Pixel& pixel : source) {
        pixel = static_cast<Pixel>(random());
    }
    for (size_t i = 0; i < kPitch * 16; ++i) {
        r.SetElement<Pixel>(i, 0x11);
    }
    r.Send({{tag::FBReadMode, rig::kPitch128 | relative << 20 | kPacked},
            {tag::FBReadPixel, code},
            {tag::PackedDataLimits, (relative << 13 | static_cast<uint32_t>(destLeft)) << 16 |
                                        static_cast<uint32_t>(destRight)}});
    r.Rectangle(first, kTop, last, kTop + height, kHostData);
    for (int y = 0; y < height; ++y) {
        std::vector<uint32_t> words(static_cast<size_t>(last - first));
        std::memcpy(words.data(), &source[static_cast<size_t>(256 * y + (sourceLeft & ~kMask))],
                    words.size() * 4);
        Burst(r, words);
    }
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < kPitch; ++x) {
            const bool inside = x >= destLeft && x < destRight && y >= kTop && y < kTop + height;
            const Pixel expected =
                inside ? source[static_cast<size_t>(256 * (y - kTop) + x - destLeft + sourceLeft)]
                       : Pixel{0x11};
            ASSERT_EQ(r.Element<Pixel>(static_cast<size_t>(y * kPitch + x)), expected)
                << destLeft << ' ' << sourceLeft << ' ' << width << ": " << x << ',' << y;
        }
    }
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

TEST(HostDownload, PackedWordsLandBetweenTheLimitsFromAnyPositionToAnyOther) {
    for (int dest = 4; dest < 8; ++dest) {
        for (int source = 8; source < 12; ++source) {
            for (int width = 1; width < 11; ++width) {
                PackedLoad<uint8_t>(0, dest, source, width, 2);
                PackedLoad<uint16_t>(1, dest, source, width, 2);
            }
            PackedLoad<uint32_t>(2, dest, source, 5, 2);
        }
    }
}

TEST(HostDownload, PackedWordsOfFourBitPixelsHoldEight) {
    rig::Rig r;
    r.Send({{tag::FBReadMode, rig::kPitch32 | kPacked},
            {tag::FBReadPixel, 3},
            {tag::PackedDataLimits, 3u << 16 | 13}});
    r.Rectangle(0, 1, 2, 2, kHostData);
    Burst(r, {0x87654321, 0x0FEDCBA9});
    // Row 1 begins at pixel 32, byte 16; the left pixel is in the low half.
    const std::vector<uint8_t> expected = {0x00, 0x40, 0x65, 0x87, 0xA9, 0xCB, 0x0D, 0x00};
    const auto memory = r.board.FrameBuffer().subspan(16, 8);
    EXPECT_EQ(std::vector<uint8_t>(memory.begin(), memory.end()), expected);
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

// Glint's raw words: pixels from the span's beginning on, cut by the scissor.
template <typename Pixel>
void RawLoad(uint32_t code, int first, int left, int right) {
    rig::Rig r(rig::SmallConfig(board::Chip::TX));
    constexpr int kPerWord = 4 / sizeof(Pixel);
    r.Send({{tag::PixelSize, code},
            {tag::FBWriteMode, 1},
            {tag::FBReadMode, rig::kPitch64},
            {tag::ScreenSize, 0x01000100},
            {tag::ScissorMaxXY, 0x01000100},
            {tag::ScissorMinXY, static_cast<uint32_t>(left)},
            {tag::ScissorMode, 3}});
    r.Rectangle(first, 0, right, 3, 0x41008);
    const int words = (right - first + kPerWord - 1) / kPerWord;
    for (uint32_t y = 0; y < 3; ++y) {
        Burst(r, RandomWords(static_cast<size_t>(words), y + 5));
    }
    for (uint32_t y = 0; y < 3; ++y) {
        std::vector<Pixel> pixels(static_cast<size_t>(words * kPerWord));
        std::memcpy(pixels.data(), RandomWords(static_cast<size_t>(words), y + 5).data(),
                    pixels.size() * sizeof(Pixel));
        for (int x = 0; x < 64; ++x) {
            ASSERT_EQ(r.Element<Pixel>(y * 64 + static_cast<uint32_t>(x)),
                      x >= left && x < right ? pixels[static_cast<size_t>(x - first)] : Pixel{0});
        }
    }
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

TEST(HostDownload, GlintTakesRawWordsAndTheScissorCutsThem) {
    for (int first = 0; first < 4; ++first) {
        for (int extra = 0; extra < 4; ++extra) {
            for (int right = 12; right < 17; ++right) {
                RawLoad<uint8_t>(2, first, first + extra, right);
                RawLoad<uint16_t>(1, first, first + extra, right);
                RawLoad<uint32_t>(0, first, first + extra, right);
            }
        }
    }
}

} // namespace
