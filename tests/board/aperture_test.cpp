#include "tests/board/rig.h"

#include <gtest/gtest.h>

namespace {

TEST(Aperture, MappedReadGivesThePresentValue) {
    rig::Rig r;
    r.Send(tag::FogColor, 0xABCDEF);
    EXPECT_EQ(r.board.Read(0x8000 + 0x0D3 * 8), 0xABCDEFu);
}

TEST(Aperture, RegistersWithoutAUnitAreStored) {
    rig::Rig r;
    r.Send(tag::YUVMode, 0x15);
    r.board.Write(MappedOffset(tag::V1Float + 9), 0x3F800000);
    r.board.Write(reg::ScreenBasePermedia, 0x1234);
    r.board.Write(reg::ScreenBaseGlint, 0x55);
    r.board.Write(reg::ScreenBank, 0xFE);
    EXPECT_EQ(r.Register(tag::YUVMode), 0x15u);
    EXPECT_EQ(r.Register(tag::V1Float + 9), 0x3F800000u);
    EXPECT_EQ(r.board.Read(reg::ScreenBasePermedia), 0x1234u);
    EXPECT_EQ(r.board.Read(reg::ScreenBaseGlint), 0x55u);
    EXPECT_EQ(r.board.Read(reg::ScreenBank), 0xFEu);
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(Aperture, UnknownRegistersAreCounted) {
    rig::Rig r;
    r.Send(0x3AB, 1);
    r.Send(0x3AB, 1);
    r.board.Write(0x8000 + 0x3AC * 8, 1);
    r.board.Write(0x5700, 1);
    r.board.Write(0xA000, 1);
    r.board.Write(0x8004, 1);
    const board::Faults faults = r.board.FaultReport();
    const std::map<uint32_t, uint64_t> expected = {
        {0x3AB, 2}, {0x5700, 1}, {0x8004, 1}, {0x8000 + 0x3AC * 8, 1}, {0xA000, 1}};
    EXPECT_EQ(faults.unknownRegisters, expected);
    EXPECT_TRUE(faults.Any());
}

TEST(Aperture, FaultsDescribeThemselves) {
    board::Faults faults;
    EXPECT_FALSE(faults.Any());
    EXPECT_EQ(faults.Describe(), "");
    faults.fifoOverflows = 3;
    faults.unknownRegisters[0x3AB] = 2;
    faults.unknownRegisters[0x5700] = 1;
    faults.unmodelled["setup unit"] = 7;
    EXPECT_EQ(faults.Describe(), "3 register writes lost in a full input FIFO\n"
                                 "2 writes to unknown tag 3AB\n"
                                 "1 writes to unknown offset 5700\n"
                                 "7 uses of setup unit, which is not modelled\n");
}

TEST(Aperture, UnitsThatAreNotModelledAreCountedWhenAskedFor) {
    rig::Rig r;
    r.Send({{tag::DrawTriangle, 0x40}, {tag::DrawLine01, 0}, {tag::Render, 0xC0}});
    r.Send({{tag::LineStippleMode, 1}, {tag::Render, 0x00}, {tag::LineStippleMode, 0}});
    r.Send({{tag::Render, 0x840}, {tag::Render, 0x1000}});
    r.Send({{tag::FBReadMode, 0x202}, {tag::Render, 0x1040}});
    const std::map<std::string, uint64_t> expected = {{"setup unit", 2},
                                                      {"primitive 3", 1},
                                                      {"line stipple", 1},
                                                      {"copy with host data", 1},
                                                      {"bit masks from the host", 1},
                                                      {"host data for lines and points", 1}};
    EXPECT_EQ(r.board.FaultReport().unmodelled, expected);
}

} // namespace
