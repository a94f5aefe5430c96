#include "board/texture/texture_application.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

board::Colour RandomColour(std::mt19937& random) {
    std::uniform_int_distribution<int> channel(0, 255);
    return {channel(random), channel(random), channel(random), channel(random)};
}

TEST(TextureApplication, ModesAgainstRealNumbers) {
    std::mt19937 random(8);
    for (int round = 0; round < 3000; ++round) {
        const board::Colour f = RandomColour(random), t = RandomColour(random);
        const board::Colour product = ApplyTexture(board::TextureApplication::Modulate, f, t);
        ASSERT_LE(std::fabs(product.red - f.red * t.red / 255.0), 0.5);
        ASSERT_LE(std::fabs(product.green - f.green * t.green / 255.0), 0.5);
        ASSERT_LE(std::fabs(product.blue - f.blue * t.blue / 255.0), 0.5);
        ASSERT_LE(std::fabs(product.alpha - f.alpha * t.alpha / 255.0), 0.5);
        const board::Colour decal = ApplyTexture(board::TextureApplication::Decal, f, t);
        const double a = t.alpha / 255.0;
        ASSERT_LE(std::fabs(decal.red - (f.red * (1 - a) + t.red * a)), 0.5 + 1e-9);
        ASSERT_LE(std::fabs(decal.green - (f.green * (1 - a) + t.green * a)), 0.5 + 1e-9);
        ASSERT_LE(std::fabs(decal.blue - (f.blue * (1 - a) + t.blue * a)), 0.5 + 1e-9);
        ASSERT_EQ(decal.alpha, f.alpha);
        ASSERT_EQ(ApplyTexture(board::TextureApplication::Copy, f, t), t);
    }
}

TEST(TextureApplication, HighlightIsAddedToTheColoursAndHeldAtWhite) {
    for (int strength = -64; strength < 400; ++strength) {
        const double ks = strength / 256.0;
        const board::Colour out =
            board::AddHighlight({10, 100, 250, 77}, static_cast<int64_t>(strength) << 14);
        const double added = 255 * std::fmin(1, std::fmax(0, ks));
        ASSERT_LE(std::fabs(out.red - std::fmin(255, 10 + added)), 0.5);
        ASSERT_LE(std::fabs(out.green - std::fmin(255, 100 + added)), 0.5);
        ASSERT_LE(std::fabs(out.blue - std::fmin(255, 250 + added)), 0.5);
        ASSERT_EQ(out.alpha, 77);
    }
}

// One texel, one fragment colour, drawn once.
class OnePixel : public rig::TextureRig {
  public:
    explicit OnePixel(board::Chip which = board::Chip::Permedia2) : TextureRig(which) {
        Bind32(3, 3, rig::kWrapRepeat, false);
        Send({{tag::Color, rig::Rgba(200, 100, 50, 128)}});
        SetTexels(std::vector<uint32_t>{rig::Rgba(51, 255, 102, 51)});
        Coordinates(0, 0, 0, 0);
    }
    uint32_t Draw(uint32_t renderBits = 0) {
        Rectangle(0, 0, 1, 1, rig::kTexture | renderBits);
        return Pixel(0, 0);
    }
};

// 200 * 51 / 255 = 40, 100, 50 * 102 / 255 = 20, 128 * 51 / 255 = 25.6.
constexpr uint32_t kProduct = rig::Rgba(40, 100, 20, 26);
// A fifth of the texel: 160 + 10.2, 80 + 51, 40 + 20.4.
constexpr uint32_t kOver = rig::Rgba(170, 131, 60, 128);
constexpr uint32_t kTexel = rig::Rgba(51, 255, 102, 51);

TEST(TextureApplication, FieldOfTheModeWordChoosesTheMode) {
    for (const board::Chip chip :
         {board::Chip::Permedia, board::Chip::Permedia2, board::Chip::TX, board::Chip::MX}) {
        OnePixel r(chip);
        r.Send(tag::TextureColorMode, 1 | rig::kModulate << 1);
        EXPECT_EQ(r.Draw(), kProduct);
        r.Send(tag::TextureColorMode, 1 | rig::kDecal << 1);
        EXPECT_EQ(r.Draw(), kOver);
        r.Send(tag::TextureColorMode, 1 | rig::kCopy << 1);
        EXPECT_EQ(r.Draw(), kTexel);
        EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
        r.Send(tag::TextureColorMode, 1 | 2 << 1);
        r.Draw();
        EXPECT_EQ(r.board.FaultReport().unmodelled.at("texture application 2"), 1u);
    }
}

TEST(TextureApplication, TXCopiesByItsFormatWord) {
    OnePixel r(board::Chip::TX);
    r.Send({{tag::TextureFormat, 3 << 3 | 1 << 5}, {tag::TextureColorMode, 0}});
    EXPECT_EQ(r.Draw(), kTexel);
    OnePixel mx(board::Chip::MX);
    mx.Send({{tag::TextureFormat, 3 << 3 | 1 << 5}, {tag::TextureColorMode, 0}});
    EXPECT_EQ(mx.Draw(), rig::Rgba(200, 100, 50, 128));
}

TEST(TextureApplication, BaseFormatOnMXTellsWhetherTheTexelsAlphaCounts) {
    OnePixel r(board::Chip::MX);
    r.Send(tag::TextureColorMode, 1 | 1 << 9 | 1 << 7);
    EXPECT_EQ(r.Draw(), kProduct);
    r.Send(tag::TextureColorMode, 1 | 1 << 9);
    EXPECT_EQ(r.Draw(), (kProduct & 0xFFFFFF) | 128u << 24);
    r.Send(tag::TextureColorMode, 1 | 1 << 9 | rig::kDecal << 1);
    EXPECT_EQ(r.Draw(), (kTexel & 0xFFFFFF) | 128u << 24);
}

TEST(TextureApplication, HighlightNeedsBothSpecularBits) {
    OnePixel r;
    // A quarter of white: 63.75.
    r.Send({{tag::KsStart, 0x100000}, {tag::dKsdx, 0}, {tag::dKsdyDom, 0}});
    r.Send(tag::TextureColorMode, 1 | 0x48);
    EXPECT_EQ(r.Draw(), rig::Rgba(104, 164, 84, 26));
    r.Send(tag::TextureColorMode, 1 | rig::kCopy << 1 | 0x48);
    EXPECT_EQ(r.Draw(), rig::Rgba(115, 255, 166, 51));
    r.Send(tag::TextureColorMode, 1 | 0x40);
    EXPECT_EQ(r.Draw(), kProduct);
    r.Send(tag::TextureColorMode, 1 | 0x08);
    EXPECT_EQ(r.Draw(), kProduct);
}

TEST(TextureApplication, HighlightIsInterpolated) {
    OnePixel r;
    r.SetTexels(std::vector<uint32_t>{0});
    r.Send({{tag::TextureColorMode, 1 | rig::kCopy << 1 | 0x48},
            {tag::KsStart, 0},
            {tag::dKsdx, 0x400000 / 16},
            {tag::dKsdyDom, 0x400000 / 8}});
    r.Rectangle(0, 0, 8, 4, rig::kTexture);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 8; ++x) {
            const double expected = 255 * (x / 16.0 + y / 8.0);
            EXPECT_NEAR(r.Pixel(x, y) & 0xFF, expected, 0.5);
        }
    }
}

// Fog comes behind the texture: half of each channel and half of the fog colour.
TEST(TextureApplication, FogAlphaTestAndBlendFollowTheTexture) {
    OnePixel r;
    r.Send({{tag::FogMode, 1}, {tag::FogColor, 0}, {tag::FStart, 0x200000}});
    EXPECT_EQ(r.Draw(rig::kFog), rig::Rgba(26, 128, 51, 51));
    // Alpha 51 of the texel, not 128 of the fragment.
    r.SetPixel(0, 0, 5);
    r.Send({{tag::FogMode, 0}, {tag::AlphaTestMode, 1 | 4 << 1 | 51 << 4}}); // above 51
    EXPECT_EQ(r.Draw(), 5u);
    r.Send(tag::AlphaTestMode, 1 | 6 << 1 | 51 << 4); // 51 or above
    EXPECT_EQ(r.Draw(), kTexel);
    r.Send({{tag::AlphaTestMode, 0},
            {tag::FBReadMode, rig::kPitch64 | 1u << 10},
            {tag::AlphaBlendMode, 1 | 4 << 1 | 5 << 5}});
    r.SetPixel(0, 0, rig::Rgba(251, 5, 2, 255));
    // A fifth of the texel, four fifths of the pixel.
    EXPECT_EQ(r.Draw() & 0xFFFFFF, rig::Rgba(211, 55, 22, 0));
}

TEST(TextureApplication, GouraudColoursAreModulated) {
    OnePixel r;
    r.Send({{tag::TextureColorMode, 1},
            {tag::ColorDDAMode, 3},
            {tag::RStart, 100 << 15},
            {tag::dRdx, 10 << 15},
            {tag::AStart, 255 << 15}});
    r.Rectangle(0, 0, 4, 1, rig::kTexture);
    for (int x = 0; x < 4; ++x) {
        EXPECT_EQ(r.Pixel(x, 0) & 0xFF, static_cast<uint32_t>((100 + 10 * x) / 5));
    }
}

} // namespace
