// A rectangle of the primary is found by the display's bits.
#include "driver/core/korv32_flip.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

namespace {

TEST(PrimaryLock, MovesByTheDisplaysBitsWhateverFormatTheSurfaceHas) {
    test::Rig rig({.deviceId = DevicePermedia, .bits = 16});
    rig.Ready();
    rig.bus->registers[reg::IntFlags] = 16;
    for (const bool primary : {false, true}) {
        test::RigSurface& surface =
            rig.MakeSurface(640, 480, primary ? DDSCAPS_PRIMARYSURFACE : DDSCAPS_OFFSCREENPLAIN,
                            PixelSize16, 0x10000);
        surface.local.dwFlags |= DDRAWISURF_HASPIXELFORMAT;
        surface.Global().ddpfSurface.dwRGBBitCount = 32;
        surface.Global().lPitch = 1280;
        DDHAL_LOCKDATA data{};
        data.lpDD = &rig.directDraw;
        data.lpDDSurface = &surface.local;
        data.bHasRect = 1;
        data.rArea = {7, 2, 9, 9};
        EXPECT_EQ(Lock32(&data), 1u);
        EXPECT_EQ(reinterpret_cast<uint32_t>(data.lpSurfData),
                  surface.Global().fpVidMem + 2 * 1280 + (primary ? 14 : 28));
    }
}

} // namespace
