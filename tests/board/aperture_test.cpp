#include "tests/board/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

namespace {

TEST(Aperture, MappedReadGivesThePresentValue) {
    rig::Rig r;
    r.Send(t::FogColor, 0xABCDEF);
    EXPECT_EQ(r.board.Read(t::Mapped(t::FogColor)), 0xABCDEFu);
}

TEST(Aperture, ARegisterIsLookedAtWithoutAnAccess) {
    rig::Rig r;
    r.Send(t::FogColor, 0xABCDEF);
    r.board.Write(t::ScreenBasePermedia, 0x1234);
    const uint64_t before = r.board.Microseconds();
    EXPECT_EQ(r.board.RegisterAt(t::Mapped(t::FogColor)), 0xABCDEFu);
    EXPECT_EQ(r.board.RegisterAt(t::ScreenBasePermedia), 0x1234u);
    EXPECT_EQ(r.board.Microseconds(), before);
}

TEST(Aperture, RegistersWithoutAUnitAreStored) {
    rig::Rig r;
    r.Send(t::YUVMode, 0x15);
    r.board.Write(t::Mapped(t::V1Float + 9), 0x3F800000);
    r.board.Write(t::ScreenBasePermedia, 0x1234);
    r.board.Write(t::ScreenBaseGlint, 0x55);
    r.board.Write(t::ScreenBank, 0xFE);
    EXPECT_EQ(r.Register(t::YUVMode), 0x15u);
    EXPECT_EQ(r.Register(t::V1Float + 9), 0x3F800000u);
    EXPECT_EQ(r.board.Read(t::ScreenBasePermedia), 0x1234u);
    EXPECT_EQ(r.board.Read(t::ScreenBaseGlint), 0x55u);
    EXPECT_EQ(r.board.Read(t::ScreenBank), 0xFEu);
    EXPECT_FALSE(r.board.FaultReport().Any());
}

TEST(Aperture, UnknownRegistersAreCounted) {
    rig::Rig r;
    constexpr uint32_t kNoTag = 0x3AB, kMappedNoTag = t::Mapped(0x3AC), kNoPort = 0x5700,
                       kBehindTheAperture = 0xA000, kBetweenRegisters = t::Mapped(0) + 4;
    r.Send(kNoTag, 1);
    r.Send(kNoTag, 1);
    for (const uint32_t offset : {kMappedNoTag, kNoPort, kBehindTheAperture, kBetweenRegisters}) {
        r.board.Write(offset, 1);
    }
    const board::Faults faults = r.board.FaultReport();
    const std::map<uint32_t, uint64_t> expected = {{kNoTag, 2},
                                                   {kNoPort, 1},
                                                   {kBetweenRegisters, 1},
                                                   {kMappedNoTag, 1},
                                                   {kBehindTheAperture, 1}};
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
    r.Send({{t::DrawTriangle, 0x40}, {t::DrawLine01, 0}, {t::Render, 0xC0}});
    r.Send({{t::LineStippleMode, 1}, {t::Render, 0x00}, {t::LineStippleMode, 0}});
    r.Send({{t::Render, 0x840}, {t::Render, 0x1000}});
    r.Send({{t::FBReadMode, 0x202}, {t::Render, 0x1040}});
    const std::map<std::string, uint64_t> expected = {{"setup unit", 2},
                                                      {"primitive 3", 1},
                                                      {"line stipple", 1},
                                                      {"copy with host data", 1},
                                                      {"bit masks from the host", 1},
                                                      {"host data for lines and points", 1}};
    EXPECT_EQ(r.board.FaultReport().unmodelled, expected);
}

} // namespace
