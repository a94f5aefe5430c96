// Texture coordinates of the setup unit, taken where they leave it.
#include "board/setup/setup_unit.h"
#include "tests/board/setup_rig.h"
#include "tests/board/texture_rig.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using board::Interpolants;
using rig::Corners;
using rig::Point;

class Unit {
  public:
    explicit Unit(uint32_t deltaMode) { registers.Set(tag::DeltaMode, deltaMode); }
    void Float(uint32_t slot, uint32_t word, double value) {
        unit.Write(
            {tag::V0Float + slot * 16 + word, std::bit_cast<uint32_t>(static_cast<float>(value))},
            registers, faults);
    }
    void Triangle(const Corners& corners) {
        for (uint32_t slot = 0; slot < 3; ++slot) {
            Float(slot, rig::X, corners[slot].x);
            Float(slot, rig::Y, corners[slot].y);
        }
        triangle = unit.Triangle(registers, interpolants, faults).value();
    }
    // Value of a channel at a pixel of the triangle, by its own steps.
    double At(Interpolants::Channel channel, int x, int y) const {
        const board::Interpolant& v = interpolants.channels[channel];
        const auto rows = static_cast<double>(y - triangle.firstRow);
        const double edge = (static_cast<double>(triangle.dominant.position) +
                             rows * static_cast<double>(triangle.dominant.step)) /
                            4294967296.0;
        return static_cast<double>(v.value) + rows * static_cast<double>(v.dyDom) +
               std::fabs(x + 0.5 - edge) * static_cast<double>(v.dx);
    }

    board::SetupUnit unit;
    board::RegisterFile registers;
    board::Faults faults;
    Interpolants interpolants{};
    board::SetupTriangle triangle{};
};

// u and v are the map's own coordinates, 1.0 its whole width; w the reciprocal of depth.
struct TextureCorner {
    double u, v, w;
};

TEST(SetupTexture, PerspectiveFollowsTheReciprocalOfDepth) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> coordinate(-3, 3);
    std::uniform_real_distribution<double> exponent(-12, 2);
    std::uniform_int_distribution<int> place(0, 60 * 16);
    constexpr double kWidth = 256, kHeight = 64;
    int pixels = 0;
    for (int round = 0; round < 300; ++round) {
        const bool permedia = round % 2 == 0;
        Unit unit((permedia ? rig::kDeltaPermedia : rig::kDeltaGlint) | rig::kDeltaTexture |
                  rig::kDeltaPerspective);
        Corners corners{};
        std::array<TextureCorner, 3> texture{};
        const double base = std::exp2(exponent(random));
        std::uniform_real_distribution<double> ratio(0.2, 1.0);
        for (uint32_t slot = 0; slot < 3; ++slot) {
            corners[slot] = {place(random) / 16.0, place(random) / 16.0};
            texture[slot] = {coordinate(random), coordinate(random),
                             static_cast<float>(base * ratio(random))};
            const TextureCorner& t = texture[slot];
            unit.Float(slot, rig::S, t.u * t.w * (permedia ? kWidth / 2048 : 1));
            unit.Float(slot, rig::T, t.v * t.w * (permedia ? kHeight / 2048 : 1));
            unit.Float(slot, rig::Q, t.w);
        }
        if (std::fabs(rig::Area2(corners[0], corners[1], corners[2])) < 100) {
            continue;
        }
        unit.Triangle(corners);
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                const Point centre{x + 0.5, y + 0.5};
                if (!rig::InsideHalfOpen(corners, centre)) {
                    continue;
                }
                ++pixels;
                const auto weights = rig::Weights(corners, centre);
                double u = 0, v = 0, w = 0;
                for (int i = 0; i < 3; ++i) {
                    u += weights[i] * texture[i].u * texture[i].w;
                    v += weights[i] * texture[i].v * texture[i].w;
                    w += weights[i] * texture[i].w;
                }
                const double q = unit.At(Interpolants::Q, x, y) / 1073741824.0;
                ASSERT_GT(q, 0.15) << "Q stays near 1.0 however far the triangle is";
                ASSERT_LT(q, 1.0 + 1e-6);
                const double s = unit.At(Interpolants::S, x, y) / q;
                const double t = unit.At(Interpolants::T, x, y) / q;
                // Texels with 20 fraction bits, or the map's own coordinates with 30.
                const double texelS = permedia ? s / 1048576.0 : s / 1073741824.0 * kWidth;
                const double texelT = permedia ? t / 1048576.0 : t / 1073741824.0 * kHeight;
                ASSERT_NEAR(texelS, u / w * kWidth, 0.01) << round;
                ASSERT_NEAR(texelT, v / w * kHeight, 0.01) << round;
            }
        }
    }
    EXPECT_GT(pixels, 10000);
}

// From vertices to texels on the screen. A texel tells its column in red and its row in green.
TEST(SetupTexture, PicturesShowTheTexelUnderEachPixelsCentre) {
    std::mt19937 random(9);
    std::uniform_real_distribution<double> coordinate(-1.5, 1.5);
    std::uniform_real_distribution<double> depth(0.2, 1.0);
    std::uniform_int_distribution<int> place(0, 64 * 16);
    constexpr int kWidth = 64, kHeight = 32;
    std::vector<uint32_t> texels;
    for (uint32_t i = 0; i < kWidth * kHeight; ++i) {
        texels.push_back(rig::Rgba(i % kWidth, i / kWidth, 0, 255));
    }
    for (const board::Chip chip :
         {board::Chip::Permedia, board::Chip::Permedia2, board::Chip::TX, board::Chip::MX}) {
        int compared = 0;
        for (int round = 0; round < 20; ++round) {
            rig::TextureRig r(rig::SetupConfig(chip));
            const bool permedia = r.IsPermedia();
            const bool perspective = !permedia || round % 2 == 0;
            r.SetTexels(texels);
            r.Bind32(6, 5, rig::kWrapRepeat, false);
            r.Send({{tag::TextureAddressMode, perspective ? 3 : 1},
                    {tag::ColorDDAMode, 0},
                    {tag::ScissorMode, 2},
                    {tag::ScreenSize, 64u << 16 | 64},
                    {tag::DeltaMode,
                     (permedia ? rig::kDeltaPermedia : rig::kDeltaGlint) | rig::kDeltaTexture |
                         (perspective ? rig::kDeltaPerspective : rig::kDeltaAffine)}});
            Corners corners{};
            std::array<TextureCorner, 3> texture{};
            for (uint32_t slot = 0; slot < 3; ++slot) {
                corners[slot] = {place(random) / 16.0, place(random) / 16.0};
                TextureCorner& t = texture[slot];
                t = {coordinate(random), coordinate(random),
                     perspective ? static_cast<float>(depth(random)) : 1.0};
                const double words[] = {t.u * t.w * (permedia ? kWidth / 2048.0 : 1),
                                        t.v * t.w * (permedia ? kHeight / 2048.0 : 1), t.w};
                const uint32_t group = tag::V0Float + slot * 16;
                for (uint32_t i = 0; i < 3; ++i) {
                    r.Send(group + i, std::bit_cast<uint32_t>(static_cast<float>(words[i])));
                }
                r.Send(group + rig::X,
                       std::bit_cast<uint32_t>(static_cast<float>(corners[slot].x)));
                r.Send(group + rig::Y,
                       std::bit_cast<uint32_t>(static_cast<float>(corners[slot].y)));
            }
            if (std::fabs(rig::Area2(corners[0], corners[1], corners[2])) < 100) {
                continue;
            }
            r.Send(tag::DrawTriangle, rig::kTriangle | rig::kTexture);
            for (int i = 0; i < 64 * 64; ++i) {
                const int x = i % 64, y = i / 64;
                if (!rig::InsideHalfOpen(corners, {x + 0.5, y + 0.5})) {
                    continue;
                }
                const auto weights = rig::Weights(corners, {x + 0.5, y + 0.5});
                double u = 0, v = 0, w = 0;
                for (int k = 0; k < 3; ++k) {
                    u += weights[k] * texture[k].u * texture[k].w;
                    v += weights[k] * texture[k].v * texture[k].w;
                    w += weights[k] * texture[k].w;
                }
                const double column = u / w * kWidth, line = v / w * kHeight;
                if (std::fabs(column - std::round(column)) < 0.01 ||
                    std::fabs(line - std::round(line)) < 0.01) {
                    continue; // between two texels
                }
                ++compared;
                const auto wrapped = [](double value, int size) {
                    return static_cast<uint32_t>(static_cast<int>(std::floor(value)) & (size - 1));
                };
                ASSERT_EQ(r.Pixel(x, y),
                          rig::Rgba(wrapped(column, kWidth), wrapped(line, kHeight), 0, 255))
                    << round << ' ' << x << ' ' << y;
            }
            ASSERT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
        }
        EXPECT_GT(compared, 3000);
    }
}

TEST(SetupTexture, WithoutPerspectiveCoordinatesStayAsTheyAre) {
    Unit unit(rig::kDeltaPermedia | rig::kDeltaTexture | rig::kDeltaAffine);
    for (uint32_t slot = 0; slot < 3; ++slot) {
        unit.Float(slot, rig::S, slot == 1 ? 64.0 / 2048 : 0);
        unit.Float(slot, rig::T, slot == 2 ? 32.0 / 2048 : 0);
        unit.Float(slot, rig::Q, 1.0);
    }
    unit.Triangle({Point{0, 0}, Point{32, 0}, Point{0, 32}});
    // Two texels a pixel across, one down.
    EXPECT_EQ(unit.At(Interpolants::S, 5, 7), 11.0 * 1048576);
    EXPECT_EQ(unit.At(Interpolants::T, 5, 7), 7.5 * 1048576);
    EXPECT_EQ(unit.At(Interpolants::Q, 5, 7), 1073741824.0);
}

TEST(SetupTexture, SpecularStrengthFollowsThePlaneWhenItIsOn) {
    Unit unit(rig::kDeltaPermedia | rig::kDeltaSpecular);
    for (uint32_t slot = 0; slot < 3; ++slot) {
        unit.Float(slot, rig::Ks, slot == 1 ? 0.5 : 0.25);
        unit.Float(slot, rig::S, 1);
    }
    unit.Triangle({Point{0, 0}, Point{32, 0}, Point{0, 32}});
    EXPECT_EQ(unit.At(Interpolants::Ks, 7, 3), (0.25 + 0.25 * 7.5 / 32) * 4194304);
    EXPECT_EQ(unit.At(Interpolants::S, 7, 3), 0) << "textures are off";
    unit.registers.Set(tag::DeltaMode, rig::kDeltaPermedia);
    unit.interpolants = {};
    unit.Triangle({Point{0, 0}, Point{32, 0}, Point{0, 32}});
    EXPECT_EQ(unit.At(Interpolants::Ks, 7, 3), 0);
}

TEST(SetupTexture, UnknownModeBitsAndDepthFormatsAreCounted) {
    Unit unit(0x20000 | rig::kDeltaDepth | 2 << 2);
    unit.Triangle({Point{0, 0}, Point{32, 0}, Point{0, 32}});
    const std::map<std::string, uint64_t> expected = {{"DeltaMode bits 20000", 1},
                                                      {"setup depth format 2", 1}};
    EXPECT_EQ(unit.faults.unmodelled, expected);
}

} // namespace
