#include "host/ddraw/video_memory.h"

#include <gtest/gtest.h>

namespace {

TEST(LinearMemory, BlocksAreFirstFitAndAligned) {
    host::LinearMemory memory;
    memory.Reset(0x1000, 0x1000);
    EXPECT_EQ(memory.Allocate(1), 0x1000u);
    EXPECT_EQ(memory.Allocate(0x100), 0x1100u);
    EXPECT_EQ(memory.Allocate(0x10), 0x1200u);
    EXPECT_TRUE(memory.Free(0x1100));
    EXPECT_EQ(memory.Allocate(0x101), 0x1300u);
    EXPECT_EQ(memory.Allocate(0x100), 0x1100u);
}

TEST(LinearMemory, AFullMemoryGivesZero) {
    host::LinearMemory memory;
    memory.Reset(0x1000, 0x1000);
    EXPECT_EQ(memory.Allocate(0x1001), 0u);
    EXPECT_EQ(memory.Allocate(0x1000), 0x1000u);
    EXPECT_EQ(memory.Allocate(1), 0u);
    EXPECT_FALSE(memory.Free(0x1004));
    EXPECT_TRUE(memory.Free(0x1000));
    EXPECT_EQ(memory.Allocate(1), 0x1000u);
}

TEST(RectangleMemory, RectanglesShareLinesUntilTheyAreFull) {
    host::RectangleMemory memory;
    memory.Reset(0x1000, 0x2000, 960, 100);
    const uint32_t first = memory.Allocate(480, 10);
    const uint32_t second = memory.Allocate(480, 20);
    const uint32_t third = memory.Allocate(480, 20);
    EXPECT_EQ(first, 0x2000u);
    EXPECT_EQ(second, 0x2000u + 480);
    EXPECT_EQ(third, 0x2000u + 10 * 960);
    EXPECT_EQ(memory.Allocate(961, 1), 0u);
    EXPECT_EQ(memory.Allocate(960, 71), 0u);
    EXPECT_EQ(memory.Allocate(960, 70), 0x2000u + 30 * 960);
}

TEST(RectangleMemory, AlignmentCountsFromTheBase) {
    host::RectangleMemory memory;
    memory.Reset(0x1000, 0x1000 + 640, 640, 1000);
    const uint32_t address = memory.Allocate(640, 4, 8192);
    ASSERT_NE(address, 0u);
    EXPECT_EQ((address - 0x1000) % 8192, 0u);
    EXPECT_EQ((address - 0x1000) % 640, 0u);
}

TEST(RectangleMemory, StretchesTakeWholeLinesAndGoBack) {
    host::RectangleMemory memory;
    memory.Reset(0, 0x1000, 1000, 3);
    EXPECT_EQ(memory.AllocateBytes(1001), 0x1000u);
    EXPECT_EQ(memory.AllocateBytes(1000), 0x1000u + 2000);
    EXPECT_EQ(memory.AllocateBytes(1), 0u);
    EXPECT_TRUE(memory.Free(0x1000));
    EXPECT_FALSE(memory.Free(0x1000));
    EXPECT_EQ(memory.AllocateBytes(2000), 0x1000u);
}

TEST(RectangleMemory, NoLinesMeansNoMemory) {
    host::RectangleMemory memory;
    memory.Reset(0, 0x1000, 1000, 0);
    EXPECT_EQ(memory.AllocateBytes(1), 0u);
    EXPECT_EQ(memory.Allocate(4, 1), 0u);
}

} // namespace
