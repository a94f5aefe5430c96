#include "board/texture/texture_address.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// The texel that a coordinate means, by the definition of the wrap modes on real numbers.
int Texel(uint32_t wrap, double coordinate, int size) {
    if (wrap == rig::kWrapClamp) {
        return static_cast<int>(std::floor(std::fmin(std::fmax(coordinate, 0), size - 0.5)));
    }
    double turns = coordinate / size;
    turns -= std::floor(turns);
    if (wrap == rig::kWrapMirror) {
        double pairs = coordinate / size / 2;
        pairs -= std::floor(pairs);
        turns = pairs < 0.5 ? 2 * pairs : 2 - 2 * pairs;
    }
    return static_cast<int>(std::floor(turns * size));
}

TEST(TextureAddress, WrapModesOnBothSidesOfTheMap) {
    for (const uint32_t wrap : {rig::kWrapClamp, rig::kWrapRepeat, rig::kWrapMirror}) {
        for (uint32_t logSize = 0; logSize < 12; ++logSize) {
            const int size = 1 << logSize;
            for (int texel = -3 * size - 2; texel < 3 * size + 2; ++texel) {
                ASSERT_EQ(board::WrapTexel(static_cast<board::Wrap>(wrap), texel, logSize),
                          Texel(wrap, texel + 0.5, size))
                    << wrap << ' ' << size << ' ' << texel;
            }
        }
    }
}

TEST(TextureAddress, LinearMapsAreRowsOfThePitch) {
    const board::TextureLevel level{77, 96, 6, 6};
    for (const uint32_t bits : {4u, 8u, 16u, 24u, 32u}) {
        EXPECT_EQ(board::TexelIndex(level, false, bits, 5, 3), 77 + 3 * 96 + 5);
    }
}

class EveryChip : public testing::TestWithParam<board::Chip> {};

INSTANTIATE_TEST_SUITE_P(TextureAddress, EveryChip,
                         testing::Values(board::Chip::Permedia, board::Chip::Permedia2,
                                         board::Chip::TX, board::Chip::MX));

TEST_P(EveryChip, EachAxisWrapsByItsOwnCode) {
    for (uint32_t wrapS = 0; wrapS < 3; ++wrapS) {
        for (uint32_t wrapT = 0; wrapT < 3; ++wrapT) {
            rig::TextureRig r(GetParam());
            r.Bind32(3, 3, 0, false);
            const uint32_t pitch = r.IsPermedia() ? 32 : 8;
            std::vector<uint32_t> texels(pitch * 8);
            for (uint32_t y = 0; y < 8; ++y) {
                for (uint32_t x = 0; x < 8; ++x) {
                    texels[y * pitch + x] = 0x100 * y + x;
                }
            }
            r.SetTexels(texels);
            if (r.IsPermedia()) {
                r.Send(tag::TextureReadMode, 1 | wrapS << 1 | wrapT << 3 | 3 << 9 | 3 << 13);
            } else {
                r.Send(tag::GlintTextureReadMode,
                       1 | 3 << 1 | 3 << 5 | 5 << 9 | wrapS << 18 | wrapT << 20);
            }
            // From -10 to 12 texels in steps of 0.5: more than a map on either side.
            r.Coordinates(-10, 0.5, -10, 0.5);
            r.Rectangle(0, 0, 44, 44, rig::kTexture);
            for (int y = 0; y < 44; ++y) {
                for (int x = 0; x < 44; ++x) {
                    const auto expected = 0x100 * Texel(wrapT, -10 + 0.5 * y + 0.25, 8) +
                                          Texel(wrapS, -10 + 0.5 * x + 0.25, 8);
                    ASSERT_EQ(r.Pixel(x, y), static_cast<uint32_t>(expected));
                }
            }
            EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
        }
    }
}

TEST_P(EveryChip, WidthAndHeightAreTheirOwn) {
    rig::TextureRig r(GetParam());
    r.Bind32(4, 2, rig::kWrapRepeat, false); // 16 x 4
    const uint32_t pitch = r.IsPermedia() ? 32 : 16;
    std::vector<uint32_t> texels(pitch * 4);
    for (uint32_t i = 0; i < texels.size(); ++i) {
        texels[i] = i + 1;
    }
    r.SetTexels(texels);
    r.Coordinates(0, 1, 0, 1);
    if (!r.IsPermedia()) { // in maps, not texels
        r.Send({{tag::TStart, 0}, {tag::dTdyDom, rig::Fixed(0.25, 30)}});
    }
    r.Rectangle(0, 0, 20, 6, rig::kTexture);
    for (uint32_t y = 0; y < 6; ++y) {
        for (uint32_t x = 0; x < 20; ++x) {
            ASSERT_EQ(r.Pixel(static_cast<int>(x), static_cast<int>(y)),
                      (y & 3) * pitch + (x & 15) + 1);
        }
    }
}

TEST(TextureAddress, GlintTexelsWithoutPerspectiveHaveTwentyOneFractionBits) {
    rig::TextureRig r(board::Chip::MX);
    r.Bind32(11, 1, rig::kWrapClamp, false);
    r.Send(tag::TextureAddressMode, 1);
    std::vector<uint32_t> texels(2048 * 2);
    for (uint32_t i = 0; i < texels.size(); ++i) {
        texels[i] = i + 1;
    }
    r.SetTexels(texels);
    r.Send({{tag::SStart, 2000u << 21}, // in the upper half: no sign
            {tag::dSdx, 1u << 20},
            {tag::dSdyDom, 0},
            {tag::TStart, 0},
            {tag::dTdx, 0},
            {tag::dTdyDom, 1u << 21}});
    r.Rectangle(0, 0, 40, 2, rig::kTexture);
    for (uint32_t x = 0; x < 40; ++x) {
        ASSERT_EQ(r.Pixel(static_cast<int>(x), 0), 2000 + x / 2 + 1);
        ASSERT_EQ(r.Pixel(static_cast<int>(x), 1), 2048 + 2000 + x / 2 + 1);
    }
}

TEST(TextureAddress, TexelsOutsideTheMemoryReadAsZeroAndAreCounted) {
    rig::TextureRig r;
    r.Bind32(3, 3, rig::kWrapClamp, false);
    r.Send(tag::TextureBaseAddress, (1u << 18) - 32);
    r.SetElement<uint32_t>((1u << 18) - 32, 0x55);
    r.DrawMap(1, 2);
    EXPECT_EQ(r.Pixel(0, 0), 0x55u);
    EXPECT_EQ(r.Pixel(0, 1), 0u);
    EXPECT_EQ(r.board.FaultReport().badMemoryAccesses, 1u);
}

TEST(TextureAddress, UnknownWrapCodeIsCounted) {
    rig::TextureRig r;
    r.Bind32(3, 3, 3, false);
    r.DrawMap(1, 1);
    EXPECT_EQ(r.board.FaultReport().unmodelled.at("texture wrap code 3"), 2u);
}

// AGP maps: offsets count from the base that the aperture holds.
TEST(TextureAddress, AgpMapsAreReadFromHostMemory) {
    rig::TextureRig r;
    std::vector<uint32_t> host(4096);
    for (uint32_t i = 0; i < host.size(); ++i) {
        host[i] = 0xA0000000 + i;
    }
    r.board.MapMemory(0x70000000, host.data(), host.size() * 4);
    r.board.Write(reg::AGPTextureBase, 0x70000000);
    r.Bind32(5, 5, rig::kWrapClamp, false);
    r.Send(tag::TextureBaseAddress, 0x40000000 | 256);
    r.DrawMap(32, 32);
    for (uint32_t y = 0; y < 32; ++y) {
        for (uint32_t x = 0; x < 32; ++x) {
            ASSERT_EQ(r.Pixel(static_cast<int>(x), static_cast<int>(y)),
                      0xA0000000 + 256 + y * 32 + x);
        }
    }
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(TextureAddress, NothingIsTexturedUnlessAllUnitsAndTheRenderBitSaySo) {
    for (int off = 0; off < 4; ++off) {
        rig::TextureRig r;
        r.Bind32(5, 5, rig::kWrapClamp, false);
        r.SetTexels(std::vector<uint32_t>(32 * 32, 0x123456));
        if (off == 1) {
            r.Send(tag::TextureAddressMode, 0);
        } else if (off == 2) {
            r.Send(tag::TextureReadMode, 5 << 9 | 5 << 13);
        } else if (off == 3) {
            r.Send(tag::TextureColorMode, 0);
        }
        r.Rectangle(0, 0, 1, 1, rig::kTexture);
        r.Rectangle(1, 0, 2, 1);
        EXPECT_EQ(r.Pixel(0, 0), off == 0 ? 0x123456u : 0xFFFFFFFFu);
        EXPECT_EQ(r.Pixel(1, 0), 0xFFFFFFFFu);
    }
}

TEST(TextureAddress, SXHasNoTextureUnit) {
    rig::TextureRig r(board::Chip::SX);
    r.Bind32(3, 3, 0, false);
    r.DrawMap(2, 2);
    EXPECT_EQ(r.Pixel(1, 1), 0xFFFFFFFFu);
    EXPECT_EQ(r.board.FaultReport().unmodelled.at("texture unit"), 1u);
}

TEST(TextureAddress, AMapMayBeginWithTheMemory) {
    rig::TextureRig r(board::Chip::Permedia2);
    r.Bind32(5, 0, rig::kWrapClamp, true); // filtered, texel by texel
    r.SetPixel(0, 0, 0x11223344);
    r.Send(tag::TextureBaseAddress, 0);
    r.Coordinates(0, 0, 0, 0);
    r.Rectangle(7, 3, 8, 4, rig::kTexture);
    EXPECT_EQ(r.Pixel(7, 3), 0x11223344u);
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

} // namespace
