#include "driver/video/video.h"
#include "tests/driver/blit/primitive_rig.h"

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
    EXPECT_EQ(
        rig.Run(),
        (Words{W(16),   0x103,    0x10403, 0x156,    0x9000, 0x150,    0x11B, 0x105,    0,
               0x0B0,   0x18000,  0x070,   1,        0x0D0,  7,        0x0CE, 0x17601,  0x0B2,
               0x43,    0x0B1,    0x800A5, 0x1E0,    1,      0x105,    0,     0x071,    0x800000,
               0x074,   0x400000, 0x072,   0x80000,  0x073,  0,        W(12), 0x075,    0,
               0x076,   0x400000, 0x000,   0x640000, 0x002,  0x840000, 0x004, 0xC80000, 0x005,
               0x10000, 0x006,    16,      0x007,    0x2040, 0x103,    0,     0x1E0,    0,
               0x070,   0,        0x0D0,   0}));
}

TEST(YUVtoRGB, LeavesTheDitherUnitAloneForASourceOfEightBits) {
    YuvRig rig;
    rig.source.priv.PixelSize = 0;
    const Words words = rig.Run();
    EXPECT_FALSE(Has(words, 0x103));
    EXPECT_EQ(WordOf(words, 0x0B1), 0xA5u);
    EXPECT_EQ(words.size(), 2u + 2 * 26);
}

TEST(YUVtoRGB, FiltersOnPermedia2WhenVideoIsToBeFiltered) {
    for (const uint32_t device : {7u, 0x3D07u}) {
        YuvRig rig(device);
        EXPECT_EQ(WordOf(rig.Run(), 0x0CE), 0x17601u);
        DXGlobals.FilterVideo = 1;
        EXPECT_EQ(WordOf(rig.Run(), 0x0CE), 0x37601u);
    }
    YuvRig first(DevicePermedia);
    DXGlobals.FilterVideo = 1;
    EXPECT_EQ(WordOf(first.Run(), 0x0CE), 0x17601u);
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
