// Numeric conversions and the small colour and coordinate operations.
#include "driver/raster/d3dfix.h"
#include "driver/raster/flt2fix.h"
#include "driver/raster/reciprocal.h"
#include "tests/driver/raster/conversion_reference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct Named {
    const char* name;
    uint32_t (*convert)(float);
    uint32_t positive, negative;
};

const Named kWords[] = {
    {"flt_to_fix_16_16", flt_to_fix_16_16, 0x7FFFFFFF, 0x80000000},
    {"flt_to_fix_12_20", flt_to_fix_12_20, 0x7FFFFFFF, 0x80000000},
    {"flt_to_fix_2_22", flt_to_fix_2_22, 0x7FFFFF, 0xFF800000},
    {"flt_to_fix_10_22", flt_to_fix_10_22, 0x7FFFFF, 0xFF800000},
    {"flt_to_fix_9_15", flt_to_fix_9_15, 0x7F8000, 0xFF807FFF},
    {"D3Dflt_to_fix_9_15", D3Dflt_to_fix_9_15, 0x7FFFFF, 0xFF800000},
    {"D3Dflt_to_fix_2_22", D3Dflt_to_fix_2_22, 0x7FFFFF, 0xFF800000},
    {"toint", toint, 0x7FFFFFFF, 0x80000000},
    {"flt_to_fix_1_30", flt_to_fix_1_30, 0x7FFFFFFF, 0},
    {"tointCol", tointCol, 255, 0},
};

using reference::Pair;

Pair Pair32(float x) {
    uint32_t words[2];
    flt_to_fix_32_16(x, words);
    return {words[0], words[1]};
}
Pair Pair24(float x) {
    uint32_t words[2];
    flt_to_fix_24_16(x, words);
    return {words[0], words[1]};
}

TEST(Conversions, ZeroNegativeZeroAndDenormalsGiveZeroFromEveryFunction) {
    const uint32_t patterns[] = {0,          0x80000000, 1,          0x80000001, 0x00400000,
                                 0x80400000, 0x007FFFFF, 0x807FFFFF, 0x00012345, 0x80654321};
    for (const uint32_t pattern : patterns) {
        const float x = std::bit_cast<float>(pattern);
        for (const Named& word : kWords) {
            EXPECT_EQ(word.convert(x), 0u) << word.name << std::hex << pattern;
        }
        EXPECT_EQ(Pair32(x), (Pair{0, 0}));
        EXPECT_EQ(Pair24(x), (Pair{0, 0}));
        EXPECT_EQ(float_to_fix_2_30(x), 0u);
        EXPECT_EQ(float_to_fix_11_21(x), 0u);
    }
}

TEST(Conversions, InfinitySaturatesAndNaNTakesTheWordOfItsSign) {
    const float positive[] = {kInfinity, std::bit_cast<float>(0x7FC00000u),
                              std::bit_cast<float>(0x7FFFFFFFu)};
    const float negative[] = {-kInfinity, std::bit_cast<float>(0xFFC00000u),
                              std::bit_cast<float>(0xFFFFFFFFu)};
    for (const Named& word : kWords) {
        for (const float x : positive) {
            EXPECT_EQ(word.convert(x), word.positive) << word.name;
        }
        for (const float x : negative) {
            EXPECT_EQ(word.convert(x), word.negative) << word.name;
        }
    }
    for (const float x : positive) {
        EXPECT_EQ(Pair32(x), (Pair{0x7FFFFFFF, 0xFFFF0000}));
        EXPECT_EQ(Pair24(x), (Pair{0xFFFFFF, 0xFFFF0000}));
    }
    for (const float x : negative) {
        EXPECT_EQ(Pair32(x), (Pair{0x80000000, 0}));
        EXPECT_EQ(Pair24(x), (Pair{0xFF000000, 0}));
    }
    EXPECT_EQ(float_to_fix_2_30(kInfinity), 0x80000000u);
    EXPECT_EQ(float_to_fix_2_30(-kInfinity), 0x80000000u);
}

TEST(Conversions, SixteenSixteenOfSmallWholeNumbersAndItsSaturation) {
    EXPECT_EQ(flt_to_fix_16_16(1.0f), 0x10000u);
    EXPECT_EQ(flt_to_fix_16_16(-1.0f), 0xFFFF0000u);
    EXPECT_EQ(flt_to_fix_16_16(32768.0f), 0x7FFFFFFFu);
    EXPECT_EQ(flt_to_fix_16_16(-32768.0f), 0x80000000u);
    EXPECT_EQ(flt_to_fix_16_16(32767.5f), 0x7FFF8000u);
}

TEST(Conversions, SixteenSixteenKeepsTheLastFractionBitAndNothingBelow) {
    EXPECT_EQ(flt_to_fix_16_16(std::ldexp(1.0f, -16)), 1u);
    EXPECT_EQ(flt_to_fix_16_16(-std::ldexp(1.0f, -16)), 0xFFFFFFFFu);
    EXPECT_EQ(flt_to_fix_16_16(std::nextafter(std::ldexp(1.0f, -16), 0.0f)), 0u);
    EXPECT_EQ(flt_to_fix_16_16(std::ldexp(-1.0f, -17)), 0u);
}

TEST(Conversions, NineFifteenOfUnitScaleClampsAt255) {
    EXPECT_EQ(flt_to_fix_9_15(0.5f), 0x400000u);
    EXPECT_EQ(flt_to_fix_9_15(0.999f), 0x7F8000u);
    EXPECT_EQ(flt_to_fix_9_15(1.0f), 0x7F8000u);
}

TEST(Conversions, NineFifteenNegativeClampIsOneAboveItsSaturation) {
    EXPECT_EQ(flt_to_fix_9_15(-0.999f), 0xFF808000u);
    EXPECT_EQ(flt_to_fix_9_15(-1.0f), 0xFF807FFFu);
}

TEST(Conversions, ByteScaleNineFifteenGrowsUpTo65536AndThenDrops) {
    EXPECT_EQ(D3Dflt_to_fix_9_15(255.0f), 0x7F8000u);
    EXPECT_EQ(D3Dflt_to_fix_9_15(256.0f), 0x800000u);
    EXPECT_EQ(D3Dflt_to_fix_9_15(1000.5f), 0x1F44000u);
    EXPECT_EQ(D3Dflt_to_fix_9_15(std::nextafter(65536.0f, 0.0f)), 0x7FFFFF80u);
    EXPECT_EQ(D3Dflt_to_fix_9_15(65536.0f), 0x7FFFFFu);
    EXPECT_EQ(D3Dflt_to_fix_9_15(-65536.0f), 0xFF800000u);
}

TEST(Conversions, FogScaleTwoTwentyTwo) {
    EXPECT_EQ(D3Dflt_to_fix_2_22(255.0f), 0x3FC000u);
    EXPECT_EQ(D3Dflt_to_fix_2_22(-1.0f), 0xFFFFC000u);
    EXPECT_EQ(D3Dflt_to_fix_2_22(std::nextafter(512.0f, 0.0f)), 0x7FFFFFu);
    EXPECT_EQ(D3Dflt_to_fix_2_22(512.0f), 0x7FFFFFu);
}

TEST(Conversions, TenTwentyTwoDropsToATwentyFourBitWordAt512) {
    EXPECT_EQ(flt_to_fix_10_22(std::nextafter(512.0f, 0.0f)), 0x7FFFFF80u);
    EXPECT_EQ(flt_to_fix_10_22(512.0f), 0x7FFFFFu);
}

TEST(Conversions, ThirtyTwoSixteenOfMinusOneAndAHalf) {
    EXPECT_EQ(Pair32(-1.5f), (Pair{0xFFFFFFFE, 0x80000000}));
}

TEST(Conversions, PairFormatsSaturateAtTheirOwnLimits) {
    EXPECT_EQ(Pair32(65535.0f), (Pair{0xFFFF, 0}));
    EXPECT_EQ(Pair32(16777216.0f), (Pair{0x1000000, 0}));
    EXPECT_EQ(Pair24(16777216.0f), (Pair{0xFFFFFF, 0xFFFF0000}));
    EXPECT_EQ(Pair24(-16777216.0f), (Pair{0xFF000000, 0}));
    EXPECT_EQ(Pair24(16777215.0f), (Pair{0xFFFFFF, 0}));
    EXPECT_EQ(Pair32(-2147483648.0f), (Pair{0x80000000, 0}));
}

TEST(Conversions, PairFormatsCutTowardsZeroAtTheLastFractionBit) {
    EXPECT_EQ(Pair32(std::ldexp(-1.0f, -17)), (Pair{0, 0}));
    EXPECT_EQ(Pair32(std::ldexp(-1.0f, -16)), (Pair{0xFFFFFFFF, 0xFFFF0000}));
    EXPECT_EQ(Pair32(std::ldexp(-1.5f, -16)), (Pair{0xFFFFFFFF, 0xFFFF0000}));
}

TEST(Conversions, RoundedConversionsTieToEven) {
    EXPECT_EQ(float_to_fix_2_30(1.0f), 0x40000000u);
    EXPECT_EQ(float_to_fix_2_30(std::ldexp(1.5f, -30)), 2u);
    EXPECT_EQ(float_to_fix_2_30(std::ldexp(2.5f, -30)), 2u);
    EXPECT_EQ(float_to_fix_2_30(2.0f), 0x80000000u);
    EXPECT_EQ(float_to_fix_11_21(-1.0f), 0xFFE00000u);
    EXPECT_EQ(float_to_fix_11_21(1024.0f), 0x80000000u);
}

TEST(Conversions, FloatToIntGivesZeroBelowOne) {
    EXPECT_EQ(float_to_int(0.75f), 0);
    EXPECT_EQ(float_to_int(0.01f), 0);
    EXPECT_EQ(float_to_int(1.0f), 1);
    EXPECT_EQ(float_to_int(16777215.0f), 16777215);
}

TEST(Conversions, ColourPacksPutRedInTheLowByte) {
    EXPECT_EQ(fastRGBAPack(0.25f, 0.5f, 1.0f, 0.75f), 0xC0FF8040u);
    EXPECT_EQ(fastRGBAPack(-1.0f, 0.0f, 2.0f, 0.001f), 0x00FF0000u);
    EXPECT_EQ(fastRGBNoAlphaPack(0.25f, 0.5f, 1.0f, 0.75f), 0xFFFF8040u);
}

TEST(Conversions, EveryExponentAgreesWithArithmetic) {
    const uint32_t mantissas[] = {0,        1,        0x400000, 0x7FFFFF, 0x7FFFFE, 0x3FFFFF,
                                  0x123456, 0x555555, 0x2AAAAA, 0x7F8000, 0x7F7FFF, 0x000100};
    for (uint32_t high = 0; high < 512; ++high) {
        for (const uint32_t mantissa : mantissas) {
            ASSERT_TRUE(reference::Agrees((high << 23) | mantissa));
        }
    }
}

TEST(Conversions, AStrideThroughAllPatternsAgreesWithArithmetic) {
    constexpr uint64_t kStride = 1021; // prime
    for (uint64_t bits = 0; bits < (uint64_t{1} << 32); bits += kStride) {
        ASSERT_TRUE(reference::Agrees(static_cast<uint32_t>(bits)));
    }
}

TEST(SnapY, TiesGoToTheEvenRowAndTheVertexIsRewritten) {
    float sy = 10.5f;
    EXPECT_EQ(SnapY(sy), 10u);
    EXPECT_EQ(sy, 10.0f);
    sy = 11.5f;
    EXPECT_EQ(SnapY(sy), 12u);
    EXPECT_EQ(sy, 12.0f);
}

TEST(SnapY, IsIdempotent) {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> place(0.0f, 2048.0f);
    for (int i = 0; i < 10000; ++i) {
        const float original = place(random);
        float sy = original;
        const uint32_t row = SnapY(sy);
        EXPECT_EQ(static_cast<double>(row), std::nearbyint(static_cast<double>(original)));
        const float snapped = sy;
        EXPECT_EQ(SnapY(sy), row);
        EXPECT_EQ(sy, snapped);
    }
}

TEST(EncodeX, HasTenFractionBits) {
    EXPECT_EQ(EncodeX(100.0f), 0x640000u);
    EXPECT_EQ(EncodeX(0.0f), 0u);
    EXPECT_EQ(EncodeX(0.5f), 0x8000u);
    EXPECT_EQ(EncodeX(1.0f / 1024.0f), 0x40u);
    EXPECT_EQ(EncodeX(0.5f / 1024.0f), 0u);
    EXPECT_EQ(EncodeX(8191.0f), 0x1FFF0000u);
    EXPECT_EQ(EncodeX(8191.99f), (8191u << 16) + 1014 * 64);
}

// The add channel by channel: low bits dropped, a carry makes 0xFE of its channel and sets the low
// bit of the next.
D3DCOLOR AddByChannel(D3DCOLOR diffuse, D3DCOLOR specular) {
    uint32_t result = 0;
    uint32_t carry = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        const uint32_t sum = (((diffuse >> shift) & 0xFE) | carry) + ((specular >> shift) & 0xFE);
        carry = sum >> 8;
        result |= (carry != 0 ? (sum & 0xFF) | 0xFE : sum) << shift;
    }
    return result | ((((diffuse >> 24) & 0xFE) | carry) << 24);
}

TEST(SpecularAdd, ChannelsAddWithoutLowBits) {
    EXPECT_EQ(SpecularAdd(0x80102030, 0xFF010203), 0x80102232u);
}

TEST(SpecularAdd, AnOverflowOfRedSetsAlphasLowBit) {
    EXPECT_EQ(SpecularAdd(0x80FF0000, 0x00FF0000), 0x81FE0000u);
}

TEST(SpecularAdd, AnOverflowMakesTheChannelFEAndSetsTheNextLowBit) {
    EXPECT_EQ(SpecularAdd(0x000000C0, 0x000000C0), 0x000001FEu);
    EXPECT_EQ(SpecularAdd(0x0000C000, 0x0000C000), 0x0001FE00u);
}

TEST(SpecularAdd, AgreesWithAddingChannelByChannel) {
    std::mt19937 random(6);
    for (int i = 0; i < 100000; ++i) {
        const uint32_t diffuse = random();
        const uint32_t specular = random();
        ASSERT_EQ(SpecularAdd(diffuse, specular), AddByChannel(diffuse, specular))
            << std::hex << diffuse << ' ' << specular;
    }
}

TEST(FlatPack, GivesTwoPixelsAt16BitsAndThePlainColourElsewhere) {
    EXPECT_EQ(FlatPack(0xFFF80000, 2), 0x7C007C00u);
    EXPECT_EQ(FlatPack(0x0000F800, 2), 0x03E003E0u);
    EXPECT_EQ(FlatPack(0x000000F8, 2), 0x001F001Fu);
    EXPECT_EQ(FlatPack(0xFF070707, 2), 0u);
    EXPECT_EQ(FlatPack(0x81234567, 4), 0x234567u);
    EXPECT_EQ(FlatPack(0x81234567, 1), 0x234567u);
}

TEST(ExchangeRedBlue, KeepsGreenAndAlpha) {
    EXPECT_EQ(ExchangeRedBlue(0x11223344), 0x11443322u);
}

// By decimal text and the C library's correctly rounding reader.
TEST(ReciprocalTable, IsTheTenDecimalReciprocalAsTheNearestSingle) {
    ASSERT_EQ(sizeof(reciprocalTable), 4096 * sizeof(float));
    EXPECT_EQ(std::bit_cast<uint32_t>(reciprocalTable[0]), 0u);
    for (unsigned n = 1; n <= 4095; ++n) {
        // Long division, eleven decimals, then the last one rounds.
        unsigned long long quotient = 0;
        unsigned rest = 1;
        for (int digit = 0; digit < 11; ++digit) {
            quotient = quotient * 10 + rest * 10 / n;
            rest = rest * 10 % n;
        }
        quotient = quotient / 10 + (quotient % 10 >= 5 ? 1 : 0);
        char text[32];
        std::snprintf(text, sizeof text, "-%llu.%010llu", quotient / 10000000000ull,
                      quotient % 10000000000ull);
        EXPECT_EQ(std::bit_cast<uint32_t>(reciprocalTable[n]),
                  std::bit_cast<uint32_t>(std::strtof(text, nullptr)))
            << n << ' ' << text;
    }
}

TEST(ReciprocalTable, DiffersFromTheNearestSingleWhereTenDecimalsDo) {
    EXPECT_EQ(reciprocalTable[82], -0.0121951220f);
    EXPECT_NE(reciprocalTable[82], -1.0f / 82.0f);
    EXPECT_EQ(reciprocalTable[2048], -0.0004882813f);
    EXPECT_NE(reciprocalTable[2048], -1.0f / 2048.0f);
    EXPECT_EQ(reciprocalTable[1], -1.0f);
}

} // namespace
