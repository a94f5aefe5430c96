#include "board/texture/texture_filter.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

constexpr int kSize = 8;

std::vector<uint32_t> RandomMap(uint32_t pitch, uint32_t seed = 5) {
    std::mt19937 random(seed);
    std::vector<uint32_t> texels(pitch * kSize);
    for (uint32_t& texel : texels) {
        texel = static_cast<uint32_t>(random());
    }
    return texels;
}

int Wrapped(int texel, bool repeat) {
    return repeat ? ((texel % kSize) + kSize) % kSize : std::min(std::max(texel, 0), kSize - 1);
}

// One channel of the map at real coordinates, texel centres at .5.
double Bilinear(const std::vector<uint32_t>& texels, uint32_t pitch, double u, double v, int shift,
                bool repeat) {
    const double x = std::floor(u - 0.5), y = std::floor(v - 0.5);
    const double right = u - 0.5 - x, lower = v - 0.5 - y;
    const auto at = [&](int dx, int dy) {
        const int column = Wrapped(static_cast<int>(x) + dx, repeat);
        const int row = Wrapped(static_cast<int>(y) + dy, repeat);
        return static_cast<double>(
            texels[static_cast<size_t>(row) * pitch + static_cast<size_t>(column)] >> shift & 0xFF);
    };
    return (at(0, 0) * (1 - right) + at(1, 0) * right) * (1 - lower) +
           (at(0, 1) * (1 - right) + at(1, 1) * right) * lower;
}

class TextureFilter : public testing::TestWithParam<board::Chip> {};

INSTANTIATE_TEST_SUITE_P(EveryChip, TextureFilter,
                         testing::Values(board::Chip::Permedia, board::Chip::Permedia2,
                                         board::Chip::TX, board::Chip::MX));

TEST_P(TextureFilter, BilinearMixesTheFourTexelsAroundThePixelsCentre) {
    for (const bool repeat : {false, true}) {
        rig::TextureRig r(GetParam());
        r.Bind32(3, 3, repeat ? rig::kWrapRepeat : rig::kWrapClamp, true);
        const uint32_t pitch = r.IsPermedia() ? 32 : kSize;
        const std::vector<uint32_t> texels = RandomMap(pitch);
        r.SetTexels(texels);
        // 0.3125 texels a pixel, from outside the map to outside of it; the row's value is that of
        // its dominant edge.
        r.Coordinates(-2, 0.3125, -1, 0.25);
        r.Rectangle(0, 0, 40, 40, rig::kTexture | rig::kSubPixel);
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 40; ++x) {
                const double u = -2 + 0.3125 * (x + 0.5), v = -1 + 0.25 * y;
                for (const int shift : {0, 8, 16, 24}) {
                    const double channel = r.Pixel(x, y) >> shift & 0xFF;
                    ASSERT_NEAR(channel, Bilinear(texels, pitch, u, v, shift, repeat), 1.6)
                        << x << ',' << y;
                }
            }
        }
    }
}

TEST_P(TextureFilter, OneToOneIsExactWithAndWithoutFilter) {
    for (const bool linear : {false, true}) {
        for (const uint32_t subPixel : {0u, rig::kSubPixel}) {
            rig::TextureRig r(GetParam());
            r.Bind32(3, 3, rig::kWrapClamp, linear);
            const uint32_t pitch = r.IsPermedia() ? 32 : kSize;
            const std::vector<uint32_t> texels = RandomMap(pitch);
            r.SetTexels(texels);
            // With correction rows are given at their centres, too.
            r.Coordinates(0, 1, subPixel != 0 ? 0.5 : 0, 1);
            r.Rectangle(0, 0, kSize, kSize, rig::kTexture | subPixel);
            for (int y = 0; y < kSize; ++y) {
                for (int x = 0; x < kSize; ++x) {
                    ASSERT_EQ(r.Pixel(x, y),
                              texels[static_cast<size_t>(y) * pitch + static_cast<size_t>(x)])
                        << linear << subPixel;
                }
            }
        }
    }
}

// Stretches draw without sub-pixel correction: a coordinate is the texel that begins there.
TEST_P(TextureFilter, WithoutCorrectionATexelStandsAtItsWholeCoordinate) {
    rig::TextureRig r(GetParam());
    r.Bind32(3, 3, rig::kWrapClamp, true);
    const uint32_t pitch = r.IsPermedia() ? 32 : kSize;
    std::vector<uint32_t> texels(pitch * kSize);
    for (uint32_t i = 0; i < pitch * kSize; ++i) {
        texels[i] = 16 * (i % pitch);
    }
    r.SetTexels(texels);
    r.Coordinates(0, 0.25, 0, 1);
    r.Rectangle(0, 0, 29, 1, rig::kTexture);
    for (int x = 0; x < 29; ++x) {
        EXPECT_EQ(r.Pixel(x, 0), static_cast<uint32_t>(4 * x));
    }
}

// S, T and Q as planes over the screen; the texel is the one at their quotients.
TEST_P(TextureFilter, PerspectiveDividesAtEveryPixel) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> at(0, 1);
    for (int round = 0; round < 20; ++round) {
        for (const bool leftward : {false, true}) {
            rig::TextureRig r(GetParam());
            r.Bind32(3, 3, rig::kWrapRepeat, false);
            r.Send(tag::TextureAddressMode, 3);
            const uint32_t pitch = r.IsPermedia() ? 32 : kSize;
            const std::vector<uint32_t> texels = RandomMap(pitch);
            r.SetTexels(texels);
            // Q from 0.2 to 0.9 over the picture, u and v over some eight texels times Q.
            const double q0 = 0.2 + 0.1 * at(random), qx = 0.008 * at(random),
                         qy = 0.008 * at(random);
            const double s0 = 2 * at(random), sx = 0.1 * at(random), sy = 0.05 * at(random);
            const double t0 = 2 * at(random), tx = -0.02 * at(random), ty = 0.1 * at(random);
            const double x0 = leftward ? 40.25 : 3.75, slant = 0.375, way = leftward ? -1 : 1;
            const uint32_t bits = r.IsPermedia() ? 20 : 30;
            const double unit = r.IsPermedia() ? 1 : kSize;
            const auto plane = [&](uint32_t startTag, double p0, double px, double py, double scale,
                                   uint32_t fraction) {
                r.Send({{startTag, rig::Fixed((p0 + px * x0) / scale, fraction)},
                        {startTag + 1, rig::Fixed(px * way / scale, fraction)},
                        {startTag + 2, rig::Fixed((py + px * slant) / scale, fraction)}});
            };
            plane(tag::SStart, s0, sx, sy, unit, bits);
            plane(tag::TStart, t0, tx, ty, unit, bits);
            plane(tag::QStart, q0, qx, qy, 1, 30);
            r.Send({{tag::StartXDom, rig::Fixed(x0, 16)},
                    {tag::dXDom, rig::Fixed(slant, 16)},
                    {tag::StartXSub, rig::Fixed(x0 + way * 20, 16)},
                    {tag::dXSub, rig::Fixed(slant, 16)},
                    {tag::StartY, 0},
                    {tag::dY, 0x10000},
                    {tag::Count, 20},
                    {tag::Render, rig::kTrapezoid | rig::kTexture | rig::kSubPixel}});
            int compared = 0;
            for (int y = 0; y < 20; ++y) {
                for (int x = 0; x < 64; ++x) {
                    const double edge = x0 + slant * y;
                    const double from = std::min(edge, edge + way * 20), to = from + 20;
                    if (x + 0.5 < from || x + 0.5 >= to) {
                        ASSERT_EQ(r.Pixel(x, y), 0u);
                        continue;
                    }
                    const double q = q0 + qx * (x + 0.5) + qy * y;
                    const double u = (s0 + sx * (x + 0.5) + sy * y) / q;
                    const double v = (t0 + tx * (x + 0.5) + ty * y) / q;
                    if (std::fabs(u - std::round(u)) < 2e-3 ||
                        std::fabs(v - std::round(v)) < 2e-3) {
                        continue; // too near to the next texel
                    }
                    const int column = Wrapped(static_cast<int>(std::floor(u)), true);
                    const int row = Wrapped(static_cast<int>(std::floor(v)), true);
                    ASSERT_EQ(
                        r.Pixel(x, y),
                        texels[static_cast<size_t>(row) * pitch + static_cast<size_t>(column)])
                        << x << ',' << y;
                    ++compared;
                }
            }
            EXPECT_GT(compared, 350);
        }
    }
}

TEST(FetchTexel, MemoryBeginsAtItsFirstTexelAndEndsBehindItsLastOne) {
    const std::vector<uint8_t> memory{0x11, 0x12, 0x13, 0x14, 0x21, 0x22, 0x23, 0x24};
    board::TextureState state{};
    state.memory = memory.data();
    state.bytes = 8;
    state.format.texelBits = 32;
    const board::TextureLevel level{.base = 0, .pitch = 1, .logWidth = 0, .logHeight = 1};
    uint64_t badReads = 0;
    EXPECT_EQ(board::FetchTexel(state, level, 0, 0, badReads), 0x14131211u);
    EXPECT_EQ(board::FetchTexel(state, level, 0, 1, badReads), 0x24232221u);
    EXPECT_EQ(badReads, 0u);
    EXPECT_EQ(board::FetchTexel(state, level, 0, -1, badReads), 0u);
    EXPECT_EQ(badReads, 1u);
    EXPECT_EQ(board::FetchTexel(state, level, 0, 2, badReads), 0u);
    EXPECT_EQ(badReads, 2u);
}

TEST(TextureFilterPerspective, QOfZeroOrLessDrawsWithoutHarm) {
    rig::TextureRig r;
    r.Bind32(3, 3, rig::kWrapRepeat, false);
    r.Coordinates(1, 1, 1, 1);
    r.Send({{tag::TextureAddressMode, 3}, {tag::QStart, 0x80000000}, {tag::dQdx, 0x10000000}});
    r.Rectangle(0, 0, 20, 20, rig::kTexture);
    EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
}

TEST(TextureFilterPerspective, QCountsOnlyWithThePerspectiveBit) {
    rig::TextureRig r;
    r.Bind32(3, 3, rig::kWrapClamp, false);
    r.SetTexels(std::vector<uint32_t>{10, 11, 12, 13});
    r.Coordinates(2, 0, 0, 0);
    r.Send(tag::QStart, 1u << 31 >> 2); // 0.5
    r.Rectangle(0, 0, 1, 1, rig::kTexture);
    EXPECT_EQ(r.Pixel(0, 0), 12u);
    r.Send(tag::QStart, 1u << 30 | 1u << 29); // 1.5
    r.Send(tag::TextureAddressMode, 3);
    r.Rectangle(1, 0, 2, 1, rig::kTexture);
    EXPECT_EQ(r.Pixel(1, 0), 11u);
}

} // namespace
