// A primary surface has the display's format, whatever its record says.
#include "driver/heap/surface_format.h"
#include "tests/driver/heap/surface_rig.h"

namespace test {
namespace {

TEST(PrimaryFormat, IsNoVideoFormatWithAFourCCOfItsOwn) {
    SurfaceRig rig(DevicePermedia2);
    RawSurface& primary = rig.Make(640, 480, DDSCAPS_PRIMARYSURFACE, FourCCFormat("YUY2"));
    EXPECT_FALSE(HasOwnFormat(&primary.local));
    EXPECT_FALSE(OwnFormatHas(&primary.local, DDPF_FOURCC));
    EXPECT_EQ(PixelFormatOf(&primary.local), &rig.directDraw.vmiData.ddpfDisplay);
    RawSurface& other = rig.Make(640, 480, DDSCAPS_OFFSCREENPLAIN, FourCCFormat("YUY2"));
    EXPECT_TRUE(OwnFormatHas(&other.local, DDPF_FOURCC));
    EXPECT_EQ(PixelFormatOf(&other.local), &other.global.ddpfSurface);
}

// The record, pitch and block of a primary do not depend on its own format.
void ExpectLikePlain(uint32_t device, uint32_t rectAlloc, const DDPIXELFORMAT& format) {
    SurfaceRig rig(device);
    rig.driver->RectAlloc = rectAlloc;
    RawSurface& plain = rig.Make(640, 480, DDSCAPS_PRIMARYSURFACE, 1280);
    RawSurface& primary = rig.Make(640, 480, DDSCAPS_PRIMARYSURFACE, format, 1280);
    EXPECT_EQ(rig.Create(plain), rig.Create(primary));
    EXPECT_EQ(primary.global.lPitch, plain.global.lPitch);
    EXPECT_EQ(primary.global.fpVidMem, plain.global.fpVidMem);
    EXPECT_EQ(primary.global.dwBlockSizeX, plain.global.dwBlockSizeX);
    EXPECT_EQ(primary.global.dwBlockSizeY, plain.global.dwBlockSizeY);
    EXPECT_EQ(primary.Products(), plain.Products());
    EXPECT_EQ(primary.Record().Format, plain.Record().Format);
    EXPECT_EQ(primary.Record().FormatExtension, plain.Record().FormatExtension);
    EXPECT_EQ(primary.Record().PixelSize, plain.Record().PixelSize);
    EXPECT_EQ(primary.Record().Flags, plain.Record().Flags);
    // Nothing is written into the format either.
    EXPECT_EQ(primary.global.ddpfSurface.dwYUVBitCount, format.dwYUVBitCount);
    HeapFree(DXGlobals.Heap, 0, PrivateOf(&plain.local));
    HeapFree(DXGlobals.Heap, 0, PrivateOf(&primary.local));
}

TEST(PrimaryFormat, HasNoPartInItsCreation) {
    DDPIXELFORMAT depth = FlagFormat(DDPF_ZBUFFER, 16);
    for (const uint32_t device : {DevicePermedia, DevicePermedia2, DeviceTX, DeviceMX}) {
        for (const uint32_t rectAlloc : {0u, 1u}) {
            for (const DDPIXELFORMAT& format :
                 {FourCCFormat("YUY2"), FourCCFormat("Y411"), depth, kIndexed8, RGBFormat(32)}) {
                SCOPED_TRACE(std::to_string(device) + " " + std::to_string(rectAlloc) + " " +
                             std::to_string(format.dwFlags));
                ExpectLikePlain(device, rectAlloc, format);
            }
        }
    }
}

} // namespace
} // namespace test
