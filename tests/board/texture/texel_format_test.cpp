#include "board/texture/texel_format.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

// Widths in bits; alpha is topmost, then red with `redHigh`, else blue.
struct Widths {
    int alpha, red, green, blue;
};

// A field's bits written again and again until a byte is full.
uint32_t Repeated(uint32_t field, int width) {
    std::string bits;
    while (bits.size() < 8) {
        for (int bit = width - 1; bit >= 0; --bit) {
            bits += static_cast<char>('0' + (field >> bit & 1));
        }
    }
    return static_cast<uint32_t>(std::stoul(bits.substr(0, 8), nullptr, 2));
}

uint32_t Take(uint32_t& texel, int width) {
    const uint32_t field = texel & ((1u << width) - 1);
    texel >>= width;
    return field;
}

uint32_t Expected(uint32_t texel, const Widths& widths, bool redHigh, bool opaque) {
    uint32_t rest = texel;
    const uint32_t low = Take(rest, redHigh ? widths.blue : widths.red);
    const uint32_t green = Take(rest, widths.green);
    const uint32_t high = Take(rest, redHigh ? widths.red : widths.blue);
    const uint32_t red = redHigh ? high : low;
    const uint32_t blue = redHigh ? low : high;
    return rig::Rgba(Repeated(red, widths.red), Repeated(green, widths.green),
                     Repeated(blue, widths.blue),
                     opaque || widths.alpha == 0 ? 255 : Repeated(rest, widths.alpha));
}

struct Format {
    const char* name;
    uint32_t bits;
    Widths widths;
    uint32_t code, extension, size; // Permedia
    uint32_t components, order;     // TX, MX
};

constexpr Format kTexelFormats[] = {
    {"8888", 32, {8, 8, 8, 8}, 0, 0, rig::kTexel32, 3, 0},
    {"565", 16, {0, 5, 6, 5}, 0, 1, rig::kTexel16, 2, 0},
    {"1555", 16, {1, 5, 5, 5}, 1, 0, rig::kTexel16, 3, 1},
    {"4444", 16, {4, 4, 4, 4}, 2, 0, rig::kTexel16, 3, 0},
    {"332", 8, {0, 3, 3, 2}, 5, 0, rig::kTexel8, 2, 0},
    {"1232", 8, {1, 2, 3, 2}, 9, 0, rig::kTexel8, 3, 0},
    {"888", 24, {0, 8, 8, 8}, 4, 1, rig::kTexel24, 0, 0},
};

void PutTexel(rig::TextureRig& r, size_t index, uint32_t bits, uint32_t texel) {
    std::memcpy(r.Map() + index * bits / 8, &texel, bits / 8);
}

std::vector<uint32_t> RandomTexels(uint32_t bits) {
    std::mt19937 random(bits);
    std::vector<uint32_t> texels(256);
    for (size_t i = 0; i < texels.size(); ++i) {
        texels[i] = bits == 8 ? static_cast<uint32_t>(i)
                              : static_cast<uint32_t>(random() & ((uint64_t{1} << bits) - 1));
    }
    return texels;
}

TEST(TexelFormat, PermediaFormatsInBothOrdersWithAndWithoutAlpha) {
    for (const Format& format : kTexelFormats) {
        const std::vector<uint32_t> texels = RandomTexels(format.bits);
        for (const bool redHigh : {false, true}) {
            for (const bool opaque : {false, true}) {
                rig::TextureRig r;
                r.Bind32(5, 3, rig::kWrapClamp, false);
                r.Send(
                    {{tag::TextureBaseAddress, rig::kMapPlace * 8 / format.bits},
                     {tag::TextureMapFormat, format.size << 19 | 1},
                     {tag::TextureDataFormat, format.code | (opaque ? 0x10 : 0) |
                                                  (redHigh ? 0x20 : 0) | format.extension << 6}});
                // 24-bit texels do not divide the map's place: theirs begins a little earlier.
                uint8_t* map = r.Map() - rig::kMapPlace * 8 % format.bits / 8;
                for (size_t i = 0; i < texels.size(); ++i) {
                    std::memcpy(map + i * format.bits / 8, &texels[i], format.bits / 8);
                }
                r.DrawMap(32, 8);
                for (size_t i = 0; i < texels.size(); ++i) {
                    ASSERT_EQ(r.Pixel(static_cast<int>(i % 32), static_cast<int>(i / 32)),
                              Expected(texels[i], format.widths, redHigh, opaque))
                        << format.name << ' ' << redHigh << opaque << std::hex << ' ' << texels[i];
                }
                EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
            }
        }
    }
}

TEST(TexelFormat, GlintFormatsByWidthComponentsAndOrder) {
    for (const board::Chip chip : {board::Chip::TX, board::Chip::MX}) {
        for (const Format& format : kTexelFormats) {
            if (format.bits == 24) {
                continue;
            }
            const std::vector<uint32_t> texels = RandomTexels(format.bits);
            for (const bool redHigh : {false, true}) {
                // 1:5:5:5 without alpha has three components.
                for (const uint32_t components : {2u, 3u}) {
                    if (components != format.components && format.code != 1) {
                        continue;
                    }
                    rig::TextureRig r(chip);
                    r.Bind32(5, 3, rig::kWrapClamp, false);
                    const uint32_t logBits = format.bits == 32 ? 5 : format.bits == 16 ? 4 : 3;
                    r.Send({{tag::TextureFormat,
                             format.order << 1 | (redHigh ? 4 : 0) | components << 3},
                            {tag::GlintTextureReadMode, 1 | 5 << 1 | 3 << 5 | logBits << 9}});
                    for (size_t i = 0; i < texels.size(); ++i) {
                        PutTexel(r, i, format.bits, texels[i]);
                    }
                    r.DrawMap(32, 2);
                    for (size_t i = 0; i < 32; ++i) {
                        ASSERT_EQ(r.Pixel(static_cast<int>(i), 0),
                                  Expected(texels[i], format.widths, redHigh, components == 2))
                            << format.name << ' ' << redHigh << std::hex << ' ' << texels[i];
                    }
                    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
                }
            }
        }
    }
}

TEST(TexelFormat, FourBitTexelsGoThroughTheSmallTable) {
    for (const board::Chip chip :
         {board::Chip::Permedia, board::Chip::Permedia2, board::Chip::TX, board::Chip::MX}) {
        rig::TextureRig r(chip);
        r.Bind32(5, 2, rig::kWrapClamp, false);
        if (r.IsPermedia()) {
            r.Send({{tag::TextureBaseAddress, rig::kMapPlace * 2},
                    {tag::TextureMapFormat, rig::kTexel4 << 19 | 1},
                    {tag::TextureDataFormat, 15 | 0x30},
                    {tag::TexelLUTMode, 1}});
        } else {
            r.Send({{tag::TextureFormat, 3 << 3},
                    {tag::GlintTextureReadMode, 1 | 5 << 1 | 2 << 5 | 2 << 9}});
        }
        for (uint32_t i = 0; i < 16; ++i) {
            r.Send(tag::TexelLUT0 + i, 0xFF000000 | i * 0x10408);
        }
        for (uint32_t i = 0; i < 16; ++i) {
            r.Map()[i] = static_cast<uint8_t>(i | (15 - i) << 4); // the left texel is the low half
        }
        r.DrawMap(32, 1);
        for (uint32_t i = 0; i < 32; ++i) {
            const uint32_t entry = i % 2 == 0 ? i / 2 : 15 - i / 2;
            ASSERT_EQ(r.Pixel(static_cast<int>(i), 0), 0xFF000000 | entry * 0x10408);
        }
        EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
    }
}

TEST(TexelFormat, IndicesStayIndicesWithoutTheTable) {
    rig::TextureRig r;
    r.Bind32(5, 3, rig::kWrapClamp, false);
    r.Send({{tag::TextureBaseAddress, rig::kMapPlace},
            {tag::TextureMapFormat, rig::kTexel8 << 19 | 1},
            {tag::TextureDataFormat, 14 | 0x20},
            {tag::TexelLUTMode, 0}});
    r.SetTexels(RandomTexels(8)); // words: every fourth byte counts up
    r.DrawMap(32, 1);
    for (int x = 0; x < 32; ++x) {
        const uint32_t index = x % 4 == 0 ? static_cast<uint32_t>(x / 4) : 0;
        EXPECT_EQ(r.Pixel(x, 0), rig::Rgba(index, index, index, 255));
    }
}

TEST(TexelFormat, TexelSizesThatAreNoneAreCounted) {
    rig::TextureRig r;
    r.Bind32(5, 3, rig::kWrapClamp, false);
    r.Send(tag::TextureMapFormat, 7 << 19 | 1);
    r.DrawMap(1, 1);
    EXPECT_EQ(r.board.FaultReport().unmodelled["texel size code 7"], 1u);
}

TEST(TexelFormat, FormatsThatAreNotModelledAreCounted) {
    rig::TextureRig r;
    r.Bind32(5, 3, rig::kWrapClamp, false);
    r.Send(tag::TextureDataFormat, 7);
    r.DrawMap(1, 1);
    const std::map<std::string, uint64_t> expected = {{"texel format 7/0", 1}};
    EXPECT_EQ(r.board.FaultReport().unmodelled, expected);
}

TEST(TexelFormat, GlintFormatsThatAreNotModelledAreCountedAndDrawnAsBytes) {
    for (const board::Chip chip : {board::Chip::TX, board::Chip::MX}) {
        rig::TextureRig r(chip);
        r.Bind32(5, 3, rig::kWrapClamp, false);
        constexpr uint32_t kTwoBits = 1;
        r.Send({{tag::TextureFormat, 2 << 3},
                {tag::GlintTextureReadMode, 1 | 5 << 1 | 3 << 5 | kTwoBits << 9}});
        for (uint32_t i = 0; i < 32; ++i) {
            PutTexel(r, i, 8, 3 * i + 1);
        }
        r.DrawMap(32, 1);
        for (uint32_t i = 0; i < 32; ++i) {
            const uint32_t index = 3 * i + 1;
            ASSERT_EQ(r.Pixel(static_cast<int>(i), 0), rig::Rgba(index, index, index, 255));
        }
        const std::map<std::string, uint64_t> expected = {{"texel format 1/2", 1}};
        EXPECT_EQ(r.board.FaultReport().unmodelled, expected);
    }
}

} // namespace
