// Rounding without the library against the library.
#include "board/values/rounding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace board {

namespace {

void ExpectFloorAndCeil(double value) {
    ASSERT_EQ(FloorInteger(value), static_cast<int64_t>(std::floor(value))) << value;
    ASSERT_EQ(CeilInteger(value), static_cast<int64_t>(std::ceil(value))) << value;
    if (std::fabs(value) < 2251799813685248.0) {
        ASSERT_EQ(FloorWord(value), static_cast<uint32_t>(static_cast<int64_t>(std::floor(value))))
            << value;
    }
}

TEST(Rounding, IsTheLibrarysAroundIntegers) {
    for (int exponent = 0; exponent < 62; ++exponent) {
        for (const double sign : {1.0, -1.0}) {
            for (const double offset : {-1.0, -0.5, 0.0, 0.5, 1.0}) {
                const double value = sign * (std::ldexp(1.0, exponent) + offset);
                ExpectFloorAndCeil(value);
                ExpectFloorAndCeil(std::nextafter(value, -1e300));
                ExpectFloorAndCeil(std::nextafter(value, 1e300));
            }
        }
    }
    for (const double value : {0.0, -0.0, 1e-300, -1e-300}) {
        ExpectFloorAndCeil(value);
    }
}

TEST(Rounding, IsTheLibrarysAnywhere) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> mantissas(-1, 1);
    for (int i = 0; i < 100000; ++i) {
        ExpectFloorAndCeil(std::ldexp(mantissas(random), static_cast<int>(random() % 62)));
    }
}

} // namespace

} // namespace board
