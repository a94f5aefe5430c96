// The primary is measured by the display's bits, whatever format it has.
#include "tests/driver/blit/blit_rig.h"

namespace test {
namespace {

// A display of 16 bits with a primary that says 8.
class PrimaryBlit : public testing::Test {
  protected:
    PrimaryBlit() : rig({.deviceId = DevicePermedia2, .bits = 16}) {
        primary = &rig.MakeSurface(640, 480, DDSCAPS_PRIMARYSURFACE, PixelSize16, 0x10000);
        other = &rig.MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, PixelSize16, 0x120000);
        for (RigSurface* surface : {primary, other}) {
            surface->local.ddsCaps.dwCaps |= DDSCAPS_VIDEOMEMORY;
            surface->Global().lPitch = 1280;
        }
        primary->local.dwFlags |= DDRAWISURF_HASPIXELFORMAT;
        primary->Global().ddpfSurface.dwFlags = DDPF_FOURCC;
        primary->Global().ddpfSurface.dwRGBBitCount = 8;
    }

    BlitRig rig;
    RigSurface *primary, *other;
};

TEST_F(PrimaryBlit, AFillAndACopyGoToItsOffsetInThePixelsOfTheDisplay) {
    rig.FillOf(*primary, DDBLT_COLORFILL, 1);
    EXPECT_EQ(rig.Blt(), 1u);
    ASSERT_EQ(rig.calls.size(), 1u);
    EXPECT_EQ(rig.calls[0].destOffset, 0x8000u);
    rig.CopyOf(*primary, *other);
    EXPECT_EQ(rig.Blt(), 1u);
    ASSERT_EQ(rig.calls.size(), 1u);
    EXPECT_EQ(rig.calls[0].destOffset, 0x8000u);
    EXPECT_EQ(rig.calls[0].destStride, 640);
    EXPECT_EQ(rig.calls[0].srcStride, 640);
}

} // namespace
} // namespace test
