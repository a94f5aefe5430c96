// What the driver asks of the processor is the same by x86's instructions and in plain C++.
#include "driver/platform/processor.h"
#include "driver/raster/gl_slopes.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>

namespace {

TEST(Processor, RoundsAlike) {
    const auto expectAlike = [](float x) {
        ASSERT_EQ(processor::plain::RoundByUnit(x), processor::x86::RoundByUnit(x)) << x;
    };
    for (const float x : {0.0f,       -0.0f,         0.5f,          1.5f,           2.5f,
                          -0.5f,      -1.5f,         -2.5f,         0.49999997f,    8388607.5f,
                          8388608.5f, 2147483520.0f, 2147483648.0f, -2147483648.0f, -2147483904.0f,
                          1e30f,      -1e30f,        INFINITY,      -INFINITY,      NAN,
                          1e-45f}) {
        expectAlike(x);
    }
    std::mt19937 dice(3);
    for (int i = 0; i < 1000000; ++i) {
        expectAlike(std::bit_cast<float>(static_cast<uint32_t>(dice())));
    }
}

TEST(Processor, ComparesAlike) {
    // As constants the rows are compared without the instruction.
    constexpr uint32_t kBelow = glint::AppendBelow(5, 1, 2), kEqual = glint::AppendBelow(5, 2, 2),
                       kAbove = glint::AppendBelow(5, 3, 2),
                       kFar = glint::AppendBelow(0, 1, 0xFFFFFFFF);
    volatile uint32_t two = 2, one = 1, three = 3, five = 5, zero = 0, most = 0xFFFFFFFF;
    EXPECT_EQ(glint::AppendBelow(five, one, two), kBelow);
    EXPECT_EQ(glint::AppendBelow(five, two, two), kEqual);
    EXPECT_EQ(glint::AppendBelow(five, three, two), kAbove);
    EXPECT_EQ(glint::AppendBelow(zero, one, most), kFar);
    EXPECT_EQ(kBelow, 11u);
    EXPECT_EQ(kEqual, 10u);
    EXPECT_EQ(kAbove, 10u);
    EXPECT_EQ(kFar, 1u);
}

TEST(Processor, APlainOneIsOfAFamilyThatPasses) {
    EXPECT_EQ(processor::plain::Identify().signature & 0x600, 0x600u);
    EXPECT_NE(processor::plain::Identify().features & 1u << 23, 0u);
    processor::plain::ForceWritesOut();
    processor::x86::ForceWritesOut();
}

} // namespace
