#include "driver/video/video.h"
#include "tests/driver/blit/primitive_rig.h"
#include "tests/support/tag_names.h"

namespace {

using namespace test;

struct YuvRig : PrimitiveRig {
    explicit YuvRig(uint32_t deviceId = DevicePermedia2)
        : PrimitiveRig({.deviceId = deviceId, .bits = 16}) {
        dest.priv.PPCode = 0x11B;
        dest.priv.Format = 0; // 5:6:5
        dest.priv.FormatExtension = 1;
        source.priv.PPCode = 0x0A5;
        source.priv.Format = 3; // YUY2
        source.priv.FormatExtension = 1;
    }
    ~YuvRig() override { DXGlobals.FilterVideo = 0; }

    Words Run() {
        YUVtoRGB(driver, nullptr, &dest.priv, &source.priv, &to, &from, 0x9000, 0x18000);
        return Take();
    }

    RigSurface& dest = MakeSurface(640, 480, DDSCAPS_PRIMARYSURFACE, 1, 0x120000);
    RigSurface& source = MakeSurface(320, 240, DDSCAPS_OFFSCREENPLAIN, 1, 0x300000);
    RECTL to = {100, 200, 132, 216}; // 32 by 16
    RECTL from = {8, 4, 24, 68};     // 16 by 64
};

TEST(YUVtoRGB, DrawsTheSourceAsATextureWithTheConversionOn) {
    YuvRig rig;
    // Steps of a half and of four texels.
    EXPECT_EQ(rig.Run(), (Words{W(16)} +
                          Pairs({{t::DitherMode, 0x10403},
                                 {t::FBWindowBase, 0x9000},
                                 {t::FBReadMode, 0x11B},
                                 {t::LogicalOpMode, 0},
                                 {t::TextureBaseAddress, 0x18000},
                                 {t::TextureAddressMode, 1},
                                 {t::TextureColorMode, 7},
                                 {t::TextureReadMode, 0x17601},
                                 {t::TextureDataFormat, 0x43},
                                 {t::TextureMapFormat, 0x800A5},
                                 {t::YUVMode, 1},
                                 {t::LogicalOpMode, 0},
                                 {t::SStart, 0x800000},
                                 {t::TStart, 0x400000},
                                 {t::dSdx, 0x80000},
                                 {t::dSdyDom, 0}}) +
                          Words{W(12)} +
                          Pairs({{t::dTdx, 0},
                                 {t::dTdyDom, 0x400000},
                                 {t::StartXDom, 0x640000},
                                 {t::StartXSub, 0x840000},
                                 {t::StartY, 0xC80000},
                                 {t::dY, 0x10000},
                                 {t::Count, 16},
                                 {t::Render, 0x2040},
                                 {t::DitherMode, 0},
                                 {t::YUVMode, 0},
                                 {t::TextureAddressMode, 0},
                                 {t::TextureColorMode, 0}})));
}

TEST(YUVtoRGB, LeavesTheDitherUnitAloneForASourceOfEightBits) {
    YuvRig rig;
    rig.source.priv.PixelSize = 0;
    const Words words = rig.Run();
    EXPECT_FALSE(Has(words, t::DitherMode));
    EXPECT_EQ(WordOf(words, t::TextureMapFormat), 0xA5u);
    EXPECT_EQ(words.size(), 2u + 2 * 26);
}

TEST(YUVtoRGB, FiltersOnPermedia2WhenVideoIsToBeFiltered) {
    for (const uint32_t device : {7u, 0x3D07u}) {
        YuvRig rig(device);
        EXPECT_EQ(WordOf(rig.Run(), t::TextureReadMode), 0x17601u);
        DXGlobals.FilterVideo = 1;
        EXPECT_EQ(WordOf(rig.Run(), t::TextureReadMode), 0x37601u);
    }
    YuvRig first(DevicePermedia);
    DXGlobals.FilterVideo = 1;
    EXPECT_EQ(WordOf(first.Run(), t::TextureReadMode), 0x17601u);
}

TEST(YUVtoRGB, BringsTheChipToTheDisplaysDepthFirst) {
    YuvRig rig;
    rig.driver->FBDepth = 2;
    rig.Run();
    EXPECT_EQ(rig.driver->FBDepth, 1u);
}

// 50 words are reserved and 56 written, so a blit may end past the window of 1000 words.
TEST(YUVtoRGB, ReservesLessThanItWrites) {
    for (const auto& [start, end] : {std::pair{900u, 956u}, {949u, 1005u}, {950u, 56u}}) {
        YuvRig rig;
        rig.driver->Stream.WritePointer += start;
        rig.Run();
        EXPECT_EQ(rig.driver->Stream.WordsWritten(), end);
    }
}

TEST(YUVtoRGB, SendsTheSameWordsWhereverItStarts) {
    const Words want = YuvRig().Run();
    for (uint32_t start = 900; start < 1000; ++start) {
        YuvRig rig;
        rig.driver->Stream.WritePointer += start;
        const Words words = rig.Run();
        ASSERT_GE(words.size(), want.size());
        EXPECT_EQ(Words(words.end() - static_cast<long>(want.size()), words.end()), want);
    }
}

} // namespace
