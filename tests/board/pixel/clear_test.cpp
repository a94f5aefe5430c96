// Fills with the words that a driver sends for clears.
#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

constexpr uint32_t kConstant = 0x20; // LogicalOpMode

TEST(Clear, ConstantColourIsWrittenRawAtEveryDepth) {
    struct Case {
        uint32_t code;
        size_t bytes;
    };
    for (const Case& c : {Case{rig::k8Bits, 1}, Case{rig::k16Bits, 2}, Case{rig::k24Bits, 3},
                          Case{rig::k32Bits, 4}}) {
        rig::Rig r;
        r.Send({{tag::FBReadPixel, c.code},
                {tag::FBWriteData, 0x44332211},
                {tag::Color, 0xFFFFFFFF},
                {tag::FBReadMode, rig::kPitch64},
                {tag::LogicalOpMode, kConstant},
                {tag::FBWindowBase, 100}});
        r.Rectangle(3, 2, 9, 5);
        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 64; ++x) {
                const bool inside = x >= 3 && x < 9 && y >= 2 && y < 5;
                uint32_t pixel = 0;
                std::memcpy(&pixel,
                            r.board.FrameBuffer().data() +
                                static_cast<size_t>(100 + y * 64 + x) * c.bytes,
                            c.bytes);
                const uint32_t mask = c.bytes == 4 ? 0xFFFFFFFF : (1u << (8 * c.bytes)) - 1;
                ASSERT_EQ(pixel, inside ? 0x44332211 & mask : 0) << c.bytes;
            }
        }
        EXPECT_FALSE(r.board.FaultReport().Any()) << r.board.FaultReport().Describe();
    }
}

TEST(Clear, DepthFillSwitchesThePixelSizeForItself) {
    rig::Rig r;
    r.Send({{tag::FBBlockColor, 0xABCDABCD},
            {tag::FBReadMode, rig::kPitch64},
            {tag::FBReadPixel, rig::k16Bits},
            {tag::LogicalOpMode, kConstant},
            {tag::FBWindowBase, 2048}});
    r.Words({burst::Rectangle, 1u << 16, 8u << 16, 1u << 16, 0x10000, 2,
             rig::kTrapezoid | rig::kFastFill});
    r.Send({{tag::FBReadPixel, rig::k32Bits}, {tag::LogicalOpMode, 0}});
    for (size_t y = 0; y < 4; ++y) {
        for (size_t x = 0; x < 64; ++x) {
            const bool inside = x >= 1 && x < 8 && y >= 1 && y < 3;
            ASSERT_EQ(r.Element<uint16_t>(2048 + y * 64 + x), inside ? 0xABCD : 0);
        }
    }
    r.Send({{tag::FBWindowBase, 0}, {tag::Color, 0x12345678}});
    r.Rectangle(0, 0, 1, 1);
    EXPECT_EQ(r.Pixel(0, 0), 0x12345678u);
}

TEST(Clear, FillDrawsWhereACopyLeftItsSourceOn) {
    rig::Rig r;
    r.Send({{tag::FBReadMode, rig::kPitch64 | 0x200},
            {tag::FBSourceOffset, 64},
            {tag::FBWriteData, 7},
            {tag::LogicalOpMode, kConstant}});
    r.Rectangle(0, 0, 2, 1);
    EXPECT_EQ(r.Pixel(1, 0), 7u);
}

} // namespace
