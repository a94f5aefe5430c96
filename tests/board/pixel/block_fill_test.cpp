#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

TEST(BlockFill, WritesTheMemoryWordByTheLaneOfEachPixel) {
    rig::Rig r;
    r.Send({{tag::FBBlockColor, 0x44332211}, {tag::FBReadPixel, rig::k8Bits}});
    r.Rectangle(1, 0, 7, 1, rig::kFastFill);
    EXPECT_EQ(r.Element<uint64_t>(0), 0x0033221144332200u);
    r.Send(tag::FBReadPixel, rig::k16Bits);
    r.Rectangle(5, 0, 8, 1, rig::kFastFill);
    EXPECT_EQ(r.Element<uint64_t>(1), 0x4433221144330000u);
    r.Send(tag::FBReadPixel, rig::k32Bits);
    r.Rectangle(4, 0, 5, 1, rig::kFastFill);
    EXPECT_EQ(r.Element<uint64_t>(2), 0x0000000044332211u);
}

TEST(BlockFill, LanesCountFromTheAddressAndNotFromX) {
    rig::Rig r;
    r.Send(
        {{tag::FBBlockColor, 0x44332211}, {tag::FBReadPixel, rig::k8Bits}, {tag::FBWindowBase, 3}});
    r.Rectangle(0, 0, 2, 1, rig::kFastFill);
    EXPECT_EQ(r.Element<uint64_t>(0), 0x0000001144000000u);
}

TEST(BlockFill, PackedPixelsTakeThreeBytesOfTheWord) {
    rig::Rig r;
    r.Send({{tag::FBBlockColor, 0x77777777}, {tag::FBReadPixel, rig::k24Bits}});
    r.Rectangle(1, 0, 3, 1, rig::kFastFill);
    EXPECT_EQ(r.Element<uint64_t>(0), 0x7777777777000000u);
    EXPECT_EQ(r.Element<uint64_t>(1), 0x0000000000000077u);
}

TEST(BlockFill, BypassesTheFragmentUnits) {
    rig::Rig r;
    r.Send({{tag::FBBlockColor, 0x12345678},
            {tag::DepthMode, 3}, // compare: never
            {tag::FogMode, 1},
            {tag::FogColor, 0xFFFFFF},
            {tag::AlphaTestMode, 1}, // never
            {tag::AlphaBlendMode, 1},
            {tag::DitherMode, 3},
            {tag::LogicalOpMode, 1}, // clear
            {tag::FBSoftwareWriteMask, 0}});
    r.Rectangle(0, 0, 1, 1, rig::kFastFill | rig::kFog);
    EXPECT_EQ(r.Pixel(0, 0), 0x12345678u);
}

TEST(BlockFill, ScissorStippleAndHardwareMaskHold) {
    rig::Rig r;
    r.Send({{tag::FBBlockColor, 0xFFFFFFFF},
            {tag::ScissorMode, 1},
            {tag::ScissorMinXY, 2},
            {tag::ScissorMaxXY, 4u << 16 | 10},
            {tag::AreaStippleMode, 1},
            {tag::FBHardwareWriteMask, 0x00FF00FF}});
    for (uint32_t row = 0; row < 8; ++row) {
        r.Send(tag::AreaStipplePattern0 + row, 0x55);
    }
    r.Rectangle(0, 0, 16, 8, rig::kFastFill | rig::kAreaStipple);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 16; ++x) {
            const bool drawn = x >= 2 && x < 10 && y < 4 && x % 2 == 0;
            ASSERT_EQ(r.Pixel(x, y), drawn ? 0x00FF00FFu : 0u);
        }
    }
}

TEST(BlockFill, SlantedShapesCoverTheSamePixelsAsOrdinaryDrawing) {
    rig::Rig fill;
    rig::Rig draw;
    fill.Send(tag::FBBlockColor, 9);
    draw.Send(tag::Color, 9);
    for (const auto& [r, bits] : {std::pair{&fill, rig::kFastFill}, {&draw, 0u}}) {
        r->Words({burst::Trapezoid, 0x001E8000, 0xFFFFC000, 0x001E8000, 0x00012345, 0x00140000,
                  0xFFFF0000, 10, rig::kTrapezoid | bits});
        r->Words({burst::NextSubEdge, 0x00250000, 0xFFFE8000, 9});
    }
    int drawn = 0;
    for (int y = 0; y < 24; ++y) {
        for (int x = 0; x < 64; ++x) {
            ASSERT_EQ(fill.Pixel(x, y), draw.Pixel(x, y));
            drawn += draw.Pixel(x, y) == 9;
        }
    }
    EXPECT_GT(drawn, 50);
}

} // namespace
