// Texture coordinates, the gamma table and specular strength.
#include "driver/raster/gamma.h"
#include "driver/raster/strength.h"
#include "driver/raster/texcoord.h"
#include "tests/driver/raster/colour_reference.h"
#include "tests/driver/raster/texcoord_reference.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using Coordinates = std::vector<float>;

Coordinates Reduced(float a, float b, float c, float limit, uint32_t range) {
    float t[] = {a, b, c};
    ReduceRange(t, limit, range);
    return {t[0], t[1], t[2]};
}

struct Wrapped {
    Coordinates t;
    bool moved;
    bool operator==(const Wrapped&) const = default;
};

Wrapped WrapOf(float a, float b, float c) {
    float t[] = {a, b, c};
    const bool moved = WrapTriangle(t);
    return {{t[0], t[1], t[2]}, moved};
}

TEST(TextureCoordinates, ACoordinateOfTheLimitSlidesTheTriangleByWholeRepeats) {
    // 256 texels wide: limit 8, range 7.
    EXPECT_EQ(Reduced(9.3f, 0.25f, 5.0f, 8.0f, 7), (Coordinates{9.3f - 2.0f, -1.75f, 3.0f}));
    EXPECT_EQ(Reduced(0.25f, 8.0f, 5.0f, 8.0f, 7), (Coordinates{-0.75f, 7.0f, 4.0f}));
    EXPECT_EQ(Reduced(7.75f, 7.75f, 7.75f, 8.0f, 7), (Coordinates{7.75f, 7.75f, 7.75f}));
}

TEST(TextureCoordinates, ANegativeOneSlidesItTheOtherWay) {
    EXPECT_EQ(Reduced(-9.3f, 0.25f, -1.0f, 8.0f, 7), (Coordinates{-9.3f + 2.0f, 2.25f, 1.0f}));
    EXPECT_EQ(Reduced(-8.0f, -1.0f, -2.0f, 8.0f, 7), (Coordinates{-7.0f, 0.0f, -1.0f}));
    EXPECT_EQ(Reduced(-7.75f, -1.0f, 7.5f, 8.0f, 7), (Coordinates{-7.75f, -1.0f, 7.5f}));
}

TEST(TextureCoordinates, ThePositiveOneDecidesWhenBothAreOut) {
    EXPECT_EQ(Reduced(-20.0f, 12.0f, 0.0f, 8.0f, 7), (Coordinates{-25.0f, 7.0f, -5.0f}));
}

TEST(TextureCoordinates, TheFarthestIsRoundedTiesToEven) {
    EXPECT_EQ(Reduced(10.5f, 0.0f, 0.0f, 8.0f, 7), (Coordinates{7.5f, -3.0f, -3.0f}));
    EXPECT_EQ(Reduced(11.5f, 0.0f, 0.0f, 8.0f, 7), (Coordinates{6.5f, -5.0f, -5.0f}));
}

TEST(TextureCoordinates, AVertexAloneAboveTheOthersRaisesThem) {
    EXPECT_EQ(WrapOf(0.9f, 0.1f, 0.2f), (Wrapped{{0.9f, 1.1f, 1.2f}, true}));
    EXPECT_EQ(WrapOf(0.1f, 0.9f, 0.2f), (Wrapped{{1.1f, 0.9f, 1.2f}, true}));
    EXPECT_EQ(WrapOf(0.1f, 0.2f, 0.9f), (Wrapped{{1.1f, 1.2f, 0.9f}, true}));
}

TEST(TextureCoordinates, AVertexAloneBelowTheOthersIsRaised) {
    EXPECT_EQ(WrapOf(0.1f, 0.9f, 0.9f), (Wrapped{{1.1f, 0.9f, 0.9f}, true}));
    EXPECT_EQ(WrapOf(0.9f, 0.1f, 0.9f), (Wrapped{{0.9f, 1.1f, 0.9f}, true}));
    EXPECT_EQ(WrapOf(0.9f, 0.9f, 0.1f), (Wrapped{{0.9f, 0.9f, 1.1f}, true}));
}

TEST(TextureCoordinates, HalfATextureIsNotFar) {
    EXPECT_EQ(WrapOf(0.0f, 0.5f, 0.0f), (Wrapped{{0.0f, 0.5f, 0.0f}, false}));
    EXPECT_EQ(WrapOf(0.0f, 0.4f, 0.8f), (Wrapped{{0.0f, 0.4f, 0.8f}, false}));
}

TEST(TextureCoordinates, RandomOnesAgreeWithTheWrittenRules) {
    std::mt19937 random(11);
    std::uniform_real_distribution<float> wide(-24.0f, 24.0f), narrow(-1.2f, 1.2f);
    int wraps = 0;
    for (int i = 0; i < 200000; ++i) {
        auto& span = i % 2 == 0 ? wide : narrow;
        const Coordinates start = {span(random), span(random), span(random)};
        const int repeats = 1 << random() % 8;

        Coordinates reduced = start;
        reference::Reduce(reduced, static_cast<float>(repeats), repeats - 1);
        ASSERT_EQ(Reduced(start[0], start[1], start[2], static_cast<float>(repeats),
                          static_cast<uint32_t>(repeats - 1)),
                  reduced);

        Coordinates wrapped = start;
        const bool moved = reference::Wrap(wrapped);
        wraps += moved;
        ASSERT_EQ(WrapOf(start[0], start[1], start[2]), (Wrapped{wrapped, moved}));
    }
    EXPECT_GT(wraps, 50000);
}

TEST(TextureCoordinates, OfALineTheSmallerIsRaised) {
    const auto line = [](float t0, float t1) {
        WrapLine(t0, t1);
        return Coordinates{t0, t1};
    };
    EXPECT_EQ(line(0.1f, 0.9f), (Coordinates{1.1f, 0.9f}));
    EXPECT_EQ(line(0.9f, 0.1f), (Coordinates{0.9f, 1.1f}));
    EXPECT_EQ(line(0.25f, 0.75f), (Coordinates{0.25f, 0.75f}));
}

TEST(GammaTable, ChannelsGoThroughColumnsThatDifferByOne) {
    EXPECT_EQ(GammaCorrect(0x00000000), 0x00000000u);
    EXPECT_EQ(GammaCorrect(0x7F010101), 0x7F100E0Fu); // 16, 14, 15
    EXPECT_EQ(GammaCorrect(0x00FFFFFF), 0x00FFFEFFu); // 255, 254, 255
    EXPECT_EQ(GammaCorrect(0xFF808080), 0xFFB5B3B4u); // 181, 179, 180
}

TEST(GammaTable, EveryEntryIsTheSquareRoot) {
    for (uint32_t i = 0; i < 256; ++i) {
        ASSERT_EQ(GammaCorrect(i * 0x010101), reference::Gamma(i * 0x010101)) << i;
    }
}

TEST(SpecularStrength, WeighsTheChannels) {
    EXPECT_EQ(SpecularStrength(0xFF000000), 0.0f);
    EXPECT_NEAR(SpecularStrength(0x00FF0000), 0.299f, 1e-6f);
    EXPECT_NEAR(SpecularStrength(0x0000FF00), 0.114f, 1e-6f);
    EXPECT_NEAR(SpecularStrength(0x000000FF), 0.587f, 1e-6f);
    EXPECT_NEAR(SpecularStrength(0x00FFFFFF), 1.0f, 1e-6f);
}

TEST(SpecularStrength, EveryStepIsASingle) {
    std::mt19937 random(12);
    for (int i = 0; i < 20000; ++i) {
        const auto specular = static_cast<uint32_t>(random());
        ASSERT_EQ(SpecularStrength(specular), reference::Strength(specular));
    }
}

} // namespace
