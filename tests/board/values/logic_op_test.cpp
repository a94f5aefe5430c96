#include "board/values/logic_op.h"
#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

// Truth tables: results for (source, dest) = (0,0), (0,1), (1,0), (1,1).
constexpr const char* kTruth[16] = {
    "0000", // clear
    "0001", // and
    "0010", // and reverse
    "0011", // copy
    "0100", // and inverted
    "0101", // no operation
    "0110", // exclusive or
    "0111", // or
    "1000", // nor
    "1001", // equivalent
    "1010", // invert
    "1011", // or reverse
    "1100", // copy inverted
    "1101", // or inverted
    "1110", // nand
    "1111", // set
};

uint32_t ByTable(uint32_t code, uint32_t source, uint32_t dest) {
    uint32_t result = 0;
    for (uint32_t bit = 0; bit < 32; ++bit) {
        const uint32_t row = (source >> bit & 1) * 2 + (dest >> bit & 1);
        result |= static_cast<uint32_t>(kTruth[code][row] - '0') << bit;
    }
    return result;
}

TEST(LogicOp, SixteenCodesFollowTheirTruthTables) {
    for (uint32_t code = 0; code < 16; ++code) {
        EXPECT_EQ(board::LogicOp(code, 0x33335555, 0x0F0F3C5A),
                  ByTable(code, 0x33335555, 0x0F0F3C5A));
    }
}

TEST(LogicOp, WorksOnTheRawPixelWithTheDestinationRead) {
    for (uint32_t code = 0; code < 16; ++code) {
        rig::Rig r;
        r.Send({{tag::FBReadPixel, rig::k16Bits},
                {tag::FBReadMode, rig::kPitch64 | 0x400},
                {tag::LogicalOpMode, 1 | code << 1},
                {tag::Color, 0x12345A5A}});
        r.SetElement<uint32_t>(0, 0xABCD3C5Au);
        r.Rectangle(0, 0, 1, 1);
        EXPECT_EQ(r.Element<uint16_t>(0), ByTable(code, 0x5A5A, 0x3C5A) & 0xFFFF);
        EXPECT_EQ(r.Element<uint16_t>(1), 0xABCD);
    }
}

TEST(LogicOp, DestinationThatIsNotReadCountsAsZero) {
    rig::Rig r;
    r.Send({{tag::LogicalOpMode, 1 | 6 << 1}, {tag::Color, 0x12345678}}); // exclusive or
    r.SetPixel(0, 0, 0xFFFFFFFF);
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0x12345678u);
}

TEST(LogicOp, ConstantWriteDataReplacesTheColour) {
    rig::Rig r;
    r.Send({{tag::LogicalOpMode, 0x20}, {tag::FBWriteData, 0xCAFE1234}, {tag::Color, 1}});
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0xCAFE1234u);
}

} // namespace
