// The quick form of the level of detail against the logarithm, where they could part most easily.
#include "board/texture/detail.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace board {

namespace {

int32_t Expected(double span) {
    return static_cast<int32_t>(std::floor(std::log2(span) * 256));
}

TEST(FixedDetail, IsTheLogarithmsAroundEveryStep) {
    for (int step = 0; step < 14 * 256; ++step) {
        double span = std::exp2(step / 256.0);
        for (int i = 0; i < 4; ++i) {
            span = std::nextafter(span, 0);
        }
        for (int i = 0; i < 8; ++i, span = std::nextafter(span, 1e9)) {
            if (span > 1) {
                ASSERT_EQ(FixedDetailOfSpan(span), Expected(span)) << std::hexfloat << span;
            }
        }
    }
}

TEST(FixedDetail, IsTheLogarithmsAnywhere) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> exponents(1e-6, 40);
    for (int i = 0; i < 100000; ++i) {
        const double span = std::exp2(exponents(random));
        ASSERT_EQ(FixedDetailOfSpan(span), Expected(span)) << std::hexfloat << span;
    }
    const double smallest = std::nextafter(1.0, 2.0);
    EXPECT_EQ(FixedDetailOfSpan(smallest), 0);
    EXPECT_GT(DetailOfSpan(smallest), 0);
}

} // namespace

} // namespace board
