// What SetupPrivateSurfaceData makes of a surface's format and caps.
#include "tests/driver/heap/surface_rig.h"

namespace {

using namespace test;

struct FormatCase {
    const char* name;
    uint32_t device;
    DDPIXELFORMAT format;
    // Expected:
    uint32_t pixelSize, logPixelBits, chipFormat, extension, components, order, hasAlpha;
};

class FormatTable : public testing::TestWithParam<FormatCase> {};

constexpr uint32_t kP1 = DevicePermedia;
constexpr uint32_t kP2 = DevicePermedia2;

const FormatCase kCases[] = {
    {"Y411", kP1, FourCCFormat("Y411"), 2, 5, 2, 1, 3, 0, 1},
    {"YUY2", kP1, FourCCFormat("YUY2"), 1, 4, 3, 1, 2, 0, 0},
    {"OtherFourCC", kP1, FourCCFormat("UYVY"), 0, 0, 0, 0, 0, 0, 0},
    {"Indexed4", kP1, kIndexed4, 3, 2, 15, 0, 3, 0, 0},
    {"Indexed8", kP1, kIndexed8, 0, 3, 14, 0, 3, 1, 0},
    {"RGB24OnPermedia2", kP2, RGBFormat(24, 0xFF0000), 4, 0, 4, 1, 3, 0, 0},
    {"RGB24OnPermedia2Second", DevicePermedia2Second, RGBFormat(24, 0xFF0000), 4, 0, 4, 1, 3, 0, 0},
    {"RGB24WithAlphaOnPermedia2", kP2, RGBFormat(24, 0xFC0000, 0xFC), 4, 0, 4, 1, 3, 0, 1},
    {"RGBCount0", kP1, RGBFormat(0), 0, 3, 14, 0, 0, 0, 0},
    {"RGB332", kP1, RGBFormat(8, 0xE0), 0, 3, 5, 0, 2, 0, 0},
    {"RGB8Other", kP1, RGBFormat(8, 0xC0), 0, 3, 9, 0, 3, 0, 1},
    {"RGB444", kP1, RGBFormat(16, 0xF00, 0xF000), 1, 4, 2, 0, 3, 0, 1},
    {"RGB444NoAlphaMask", kP1, RGBFormat(16, 0xF00), 1, 4, 2, 0, 3, 0, 1},
    {"RGB1555", kP1, RGBFormat(16, 0x7C00, 0x8000), 1, 4, 1, 0, 3, 1, 1},
    {"RGB555", kP1, RGBFormat(16, 0x7C00), 1, 4, 1, 0, 2, 1, 1},
    {"RGB565", kP1, RGBFormat(16, 0xF800), 1, 4, 0, 1, 2, 0, 0},
    {"RGB32", kP1, RGBFormat(32, 0xFF0000), 2, 5, 0, 0, 3, 0, 0},
    {"ARGB32", kP1, RGBFormat(32, 0xFF0000, 0xFF000000), 2, 5, 0, 0, 3, 0, 1},
    {"RGB32OnMX", DeviceMX, RGBFormat(32, 0xFF0000), 2, 5, 0, 0, 3, 0, 0},
    // A depth buffer's fields come from its bit count.
    {"Z16", kP1, FlagFormat(DDPF_ZBUFFER, 16), 1, 4, 0, 1, 2, 0, 0},
    {"Z32", DeviceTX, FlagFormat(DDPF_ZBUFFER, 32), 2, 5, 0, 0, 3, 0, 0},
};

TEST_P(FormatTable, GivesTheChipsFields) {
    const FormatCase& expected = GetParam();
    SurfaceRig rig(expected.device);
    RawSurface& surface = rig.Make(64, 64, DDSCAPS_OFFSCREENPLAIN, expected.format);
    PrivateSurfaceData record = {};
    record.HasAlpha = 9;
    SetupPrivateSurfaceData(rig.driver, &record, &surface.local);
    EXPECT_EQ(record.PixelSize, expected.pixelSize);
    EXPECT_EQ(record.LogPixelBits, expected.logPixelBits);
    EXPECT_EQ(record.Format, expected.chipFormat);
    EXPECT_EQ(record.FormatExtension, expected.extension);
    EXPECT_EQ(record.FormatComponents, expected.components);
    EXPECT_EQ(record.FormatOrder, expected.order);
    EXPECT_EQ(record.HasAlpha, expected.hasAlpha);
    EXPECT_EQ(record.Flags, SURFACE_FORMAT_VALID);
}

INSTANTIATE_TEST_SUITE_P(Rows, FormatTable, testing::ValuesIn(kCases),
                         [](const auto& info) { return info.param.name; });

TEST(SurfaceFormat, Rgb24OffPermedia2IsNotUnderstood) {
    for (uint32_t device : {DevicePermedia, DevicePermediaSecond, DeviceTX, DeviceMX}) {
        SurfaceRig rig(device);
        RawSurface& surface = rig.Make(64, 64, 0, RGBFormat(24, 0xFF0000));
        PrivateSurfaceData record = {};
        record.Flags = SURFACE_FORMAT_VALID | SURFACE_READY;
        record.PixelSize = 77;
        record.Format = 66;
        record.HasAlpha = 1;
        SetupPrivateSurfaceData(rig.driver, &record, &surface.local);
        EXPECT_EQ(record.Flags, SURFACE_READY);
        EXPECT_EQ(record.PixelSize, 77u);
        EXPECT_EQ(record.Format, 66u);
        EXPECT_EQ(record.HasAlpha, 0u);
    }
}

TEST(SurfaceFormat, OtherBitCountsAreNotUnderstood) {
    SurfaceRig rig(DevicePermedia2);
    RawSurface& surface = rig.Make(64, 64, 0, RGBFormat(12, 0xF00));
    PrivateSurfaceData record = {};
    record.Flags = SURFACE_FORMAT_VALID;
    SetupPrivateSurfaceData(rig.driver, &record, &surface.local);
    EXPECT_EQ(record.Flags, 0u);
}

TEST(SurfaceFormat, Indexed8AndCount0DifferOnlyInComponentsAndOrder) {
    SurfaceRig rig;
    PrivateSurfaceData indexed = {}, count0 = {};
    SetupPrivateSurfaceData(rig.driver, &indexed, &rig.Make(64, 64, 0, kIndexed8).local);
    SetupPrivateSurfaceData(rig.driver, &count0, &rig.Make(64, 64, 0, RGBFormat(0)).local);
    EXPECT_EQ(indexed.Format, count0.Format);
    EXPECT_EQ(indexed.FormatComponents, 3u);
    EXPECT_EQ(count0.FormatComponents, 0u);
}

TEST(SurfaceFormat, MasksAreCopiedFromRgbFormatsOnly) {
    SurfaceRig rig;
    DDPIXELFORMAT format = RGBFormat(32, 0xFF0000, 0xFF000000);
    format.dwGBitMask = 0xFF00;
    format.dwBBitMask = 0xFF;
    PrivateSurfaceData record = {};
    SetupPrivateSurfaceData(rig.driver, &record, &rig.Make(64, 64, 0, format).local);
    EXPECT_EQ(record.RedMask, 0xFF0000u);
    EXPECT_EQ(record.GreenMask, 0xFF00u);
    EXPECT_EQ(record.BlueMask, 0xFFu);
    EXPECT_EQ(record.AlphaMask, 0xFF000000u);

    format = FlagFormat(DDPF_ZBUFFER, 16);
    format.dwZBitMask = 0xFFFF;
    record = {};
    SetupPrivateSurfaceData(rig.driver, &record, &rig.Make(64, 64, 0, format).local);
    EXPECT_EQ(record.GreenMask, 0u);
}

TEST(SurfaceFormat, SurfaceWithoutAFormatHasTheDisplays) {
    SurfaceRig rig; // 5:5:5
    RawSurface& surface = rig.Make(64, 64, DDSCAPS_OFFSCREENPLAIN);
    surface.global.ddpfSurface = RGBFormat(32, 0xFF0000);
    PrivateSurfaceData record = {};
    SetupPrivateSurfaceData(rig.driver, &record, &surface.local);
    EXPECT_EQ(record.PixelSize, PixelSize16);
    EXPECT_EQ(record.RedMask, 0x7C00u);
}

TEST(SurfaceFormat, PrimaryHasTheDisplaysFormatEvenWithItsOwn) {
    SurfaceRig rig;
    RawSurface& surface = rig.Make(64, 64, DDSCAPS_PRIMARYSURFACE, RGBFormat(32, 0xFF0000));
    PrivateSurfaceData record = {};
    SetupPrivateSurfaceData(rig.driver, &record, &surface.local);
    EXPECT_EQ(record.PixelSize, PixelSize16);
    EXPECT_EQ(record.Flags, SURFACE_PRIMARY | SURFACE_FORMAT_VALID);
}

TEST(SurfaceFlags, VideoPortIsNotedAndPatchedNowIsCleared) {
    SurfaceRig rig;
    PrivateSurfaceData record = {};
    record.Flags = SURFACE_PATCHED_NOW | SURFACE_SHORT_Z;
    SetupPrivateSurfaceData(rig.driver, &record, &rig.Make(64, 64, DDSCAPS_VIDEOPORT).local);
    EXPECT_EQ(record.Flags, SURFACE_VIDEOPORT | SURFACE_SHORT_Z | SURFACE_FORMAT_VALID);
}

bool Patched(SurfaceRig& rig, uint32_t patchMode, uint32_t caps, int32_t pitch) {
    DXGlobals.PatchMode = patchMode;
    PrivateSurfaceData record = {};
    SetupPrivateSurfaceData(rig.driver, &record, &rig.Make(64, 64, caps, pitch).local);
    return (record.Flags & SURFACE_PATCHED) != 0;
}

TEST(SurfacePatching, FollowsThePatchMode) {
    for (uint32_t device : {DevicePermedia, DevicePermedia2, DeviceTX, DeviceMX}) {
        SurfaceRig rig(device);
        constexpr uint32_t kTexture = DDSCAPS_TEXTURE;
        EXPECT_FALSE(Patched(rig, 0, kTexture, 256));
        EXPECT_TRUE(Patched(rig, 0, kTexture | DDSCAPS_ALLOCONLOAD, 256));
        EXPECT_TRUE(Patched(rig, 1, kTexture, 256));
        EXPECT_FALSE(Patched(rig, 2, kTexture | DDSCAPS_ALLOCONLOAD, 256));
        EXPECT_FALSE(Patched(rig, 1, DDSCAPS_OFFSCREENPLAIN | DDSCAPS_ALLOCONLOAD, 256));
    }
}

TEST(SurfacePatching, GlintTextureBelowAPitchOf128StaysLinear) {
    SurfaceRig glint(DeviceTX);
    EXPECT_FALSE(Patched(glint, 1, DDSCAPS_TEXTURE, 124));
    EXPECT_FALSE(Patched(glint, 1, DDSCAPS_TEXTURE, 127));
    EXPECT_TRUE(Patched(glint, 1, DDSCAPS_TEXTURE, 128));
    SurfaceRig permedia(DevicePermedia);
    EXPECT_TRUE(Patched(permedia, 1, DDSCAPS_TEXTURE, 64));
}

TEST(SurfacePatching, PatchedFlagIsNeverCleared) {
    SurfaceRig rig;
    DXGlobals.PatchMode = 2;
    PrivateSurfaceData record = {};
    record.Flags = SURFACE_PATCHED;
    SetupPrivateSurfaceData(rig.driver, &record, &rig.Make(64, 64, DDSCAPS_TEXTURE, 256).local);
    EXPECT_NE(record.Flags & SURFACE_PATCHED, 0u);
}

} // namespace
