#include "board/pixel/blend.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

namespace {

using Float4 = std::array<double, 4>; // red, green, blue, alpha, 0 to 1

Float4 FloatFactor(bool source, uint32_t code, const Float4& s, const Float4& d) {
    const Float4& other = source ? d : s;
    const auto each = [](double v) { return Float4{v, v, v, v}; };
    const auto inverse = [](const Float4& v) {
        return Float4{1 - v[0], 1 - v[1], 1 - v[2], 1 - v[3]};
    };
    switch (code) {
    case 0:
        return each(0);
    case 1:
        return each(1);
    case 2:
        return other;
    case 3:
        return inverse(other);
    case 4:
        return each(s[3]);
    case 5:
        return each(1 - s[3]);
    case 6:
        return each(d[3]);
    case 7:
        return each(1 - d[3]);
    default: {
        const double least = std::min(s[3], 1 - d[3]);
        return {least, least, least, 1};
    }
    }
}

Float4 ToFloat(const board::Colour& c) {
    return {c.red / 255.0, c.green / 255.0, c.blue / 255.0, c.alpha / 255.0};
}

TEST(Blend, EveryPairOfFactorsMatchesFloatArithmetic) {
    std::mt19937 random(5);
    std::uniform_int_distribution<int> channel(0, 255);
    for (uint32_t source = 0; source <= 8; ++source) {
        for (uint32_t dest = 0; dest <= 7; ++dest) {
            for (int round = 0; round < 200; ++round) {
                const board::Colour s{channel(random), channel(random), channel(random),
                                      channel(random)};
                const board::Colour d{channel(random), channel(random), channel(random),
                                      channel(random)};
                const board::Colour out =
                    board::Blend(s, d, static_cast<board::SourceFactor>(source),
                                 static_cast<board::DestFactor>(dest));
                const Float4 fs = ToFloat(s), fd = ToFloat(d), got = ToFloat(out);
                const Float4 sf = FloatFactor(true, source, fs, fd);
                const Float4 df = FloatFactor(false, dest, fs, fd);
                for (int i = 0; i < 4; ++i) {
                    const double expected = std::min(1.0, fs[i] * sf[i] + fd[i] * df[i]);
                    ASSERT_LE(std::fabs(got[i] - expected), 0.51 / 255)
                        << source << '/' << dest << " channel " << i;
                }
            }
        }
    }
}

// Blend mode with destination reads on an 8:8:8:8 target, red in the low byte.
uint32_t Blended(uint32_t source, uint32_t dest, uint32_t mode, uint32_t readBits = 0x400) {
    rig::Rig r;
    r.Send({{tag::FBReadMode, rig::kPitch64 | readBits},
            {tag::AlphaBlendMode, mode},
            {tag::Color, source}});
    r.SetPixel(0, 0, dest);
    r.Rectangle(0, 0, 1, 1);
    return r.Pixel(0, 0);
}

TEST(Blend, ModeWordSelectsTheFactors) {
    // source alpha, inverse source alpha
    EXPECT_EQ(Blended(0x33FFFFFF, 0xFF000000, 1 | 4 << 1 | 5 << 5), 0xD6333333u);
    // one, inverse source alpha; bit 14 changes nothing
    EXPECT_EQ(Blended(0x00101010, 0x20304050, 1 | 1 << 1 | 5 << 5), 0x20405060u);
    EXPECT_EQ(Blended(0x00101010, 0x20304050, 0x4001 | 1 << 1 | 5 << 5), 0x20405060u);
    // off
    EXPECT_EQ(Blended(0x33123456, 0xFF000000, 4 << 1 | 5 << 5), 0x33123456u);
}

TEST(Blend, DestinationThatIsNotReadIsOpaqueBlack) {
    EXPECT_EQ(Blended(0x40102030, 0xFFFFFFFF, 1 | 1 << 1 | 1 << 5, 0), 0xFF102030u);
    EXPECT_EQ(Blended(0x40102030, 0x00FFFFFF, 1 | 6 << 1, 0), 0x40102030u); // dest alpha 255
}

TEST(Blend, DestinationIsExpandedByTheBlendFormat) {
    // 5:6:5 with red high, read under 16-bit pixels: code 0, extension, colour order bit 13.
    rig::Rig r;
    r.Send({{tag::FBReadPixel, rig::k16Bits},
            {tag::FBReadMode, rig::kPitch64 | 0x400},
            {tag::AlphaBlendMode, 1 | 0 << 1 | 1 << 5 | 1 << 13 | 1 << 16},
            {tag::Color, 0}});
    r.SetElement<uint16_t>(0, 0xF81F); // red and blue full
    r.Rectangle(0, 0, 1, 1);
    // The raw colour word has red in its low byte and green above: 255 and 0.
    EXPECT_EQ(r.Element<uint16_t>(0), 0x00FF);
    // Without the order bit the high bits are blue.
    r.SetElement<uint16_t>(0, 0x001F);
    r.Send(tag::AlphaBlendMode, 1 | 0 << 1 | 1 << 5 | 1 << 16);
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Element<uint16_t>(0), 0x00FF);
}

TEST(Blend, FormatWithoutAlphaReadsAsOpaque) {
    // Source factor dest alpha on a 5:6:5 pixel: the source comes through whole.
    rig::Rig r;
    r.Send({{tag::FBReadPixel, rig::k16Bits},
            {tag::FBReadMode, rig::kPitch64 | 0x400},
            {tag::AlphaBlendMode, 1 | 6 << 1 | 0 << 5 | 1 << 16},
            {tag::Color, 0x5678}});
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Element<uint16_t>(0), 0x5678);
    // 1:5:5:5 with its alpha bit clear: nothing comes through.
    r.Send(tag::AlphaBlendMode, 1 | 6 << 1 | 0 << 5 | 1 << 8);
    r.SetElement<uint16_t>(0, 0x7FFF);
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Element<uint16_t>(0), 0);
}

} // namespace
