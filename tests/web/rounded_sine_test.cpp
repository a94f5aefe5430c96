// Beside the processor's own sine, which has eleven more bits.
#include "web/module/rounded_sine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

namespace {

// Whether `value` is the double nearest to `exact`, a result with an error of its own of a few
// units in its last place. Too close to the middle of two doubles, either is right.
bool IsNearest(double value, long double exact) {
    const long double half =
        (std::nextafter(value, INFINITY) - static_cast<long double>(value)) / 2;
    const long double doubt = std::fabs(exact) * 0x1p-61L;
    return std::fabs(exact - value) <= std::fabs(half) + doubt;
}

TEST(RoundedSine, IsTheNearestDouble) {
    std::mt19937_64 dice(7);
    for (const double most : {1e-6, 1.0, 7.0, 1000.0, rounded::kMostRadians}) {
        for (int i = 0; i < 40000; ++i) {
            const double x = (static_cast<double>(dice() >> 11) * 0x1p-52 - 1) * most;
            ASSERT_TRUE(IsNearest(rounded::Sine(x), sinl(x))) << x;
            ASSERT_TRUE(IsNearest(rounded::Cosine(x), cosl(x))) << x;
        }
    }
}

TEST(RoundedSine, KnowsTheEasyOnes) {
    EXPECT_EQ(rounded::Sine(0), 0);
    EXPECT_TRUE(std::signbit(rounded::Sine(-0.0)));
    EXPECT_EQ(rounded::Cosine(0), 1);
    // The nearest double to pi is short of it by what its sine is.
    EXPECT_EQ(rounded::Sine(std::numbers::pi), 1.2246467991473532e-16);
    EXPECT_EQ(rounded::Cosine(std::numbers::pi), -1);
    EXPECT_EQ(rounded::Cosine(std::numbers::pi / 2), 6.123233995736766e-17);
    EXPECT_TRUE(std::isnan(rounded::Sine(1e7)));
    EXPECT_TRUE(std::isnan(rounded::Cosine(INFINITY)));
    EXPECT_TRUE(std::isnan(rounded::Sine(NAN)));
}

} // namespace
