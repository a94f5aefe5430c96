// What the monitor shows.
#include "driver/core/chipinfo.h"
#include "host/ddraw/ddraw.h"
#include "host/display/display.h"
#include "host/display/machine.h"
#include "host/picture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace {

using Colour = std::array<uint8_t, 4>;

host::DisplayConfig ConfigFor(uint32_t deviceId, uint32_t bits) {
    host::DisplayConfig config;
    config.deviceId = deviceId;
    config.bits = bits;
    config.width = 320;
    config.height = 200;
    return config;
}

constexpr uint64_t kFrame = 20000; // microseconds, a little more than a frame

TEST(ScreenPicture, StartsWhereTheScreenBaseSays) {
    for (const uint32_t device : {uint32_t{DeviceSX}, uint32_t{DeviceTX}, uint32_t{DeviceMX},
                                  uint32_t{DevicePermedia}, uint32_t{DevicePermedia2}}) {
        for (const uint32_t bits : {16u, 32u}) {
            host::PowerCycle();
            host::Display display(ConfigFor(device, bits));
            constexpr uint32_t kOffset = 5 << 20; // in the second bank of TX and MX
            const uint32_t pitch = display.Pitch();
            uint8_t* shown = display.FrameBuffer() + kOffset;
            const uint32_t pixel = bits == 16 ? 31u << 10 : 0xFF0000; // red
            std::memcpy(shown + 199 * pitch + 319 * (bits / 8), &pixel, bits / 8);
            if (display.IsGlint()) {
                display.Board().Write(reg::ScreenBaseGlint, kOffset >> 13);
                if (device != DeviceSX) {
                    display.Board().Write(reg::ScreenBank, 0xFF);
                }
            } else {
                display.Board().Write(reg::ScreenBasePermedia, kOffset >> 3);
            }
            display.Board().Advance(kFrame);
            const host::Picture picture = host::ReadScreen(display);
            ASSERT_EQ(picture.width, 320u);
            ASSERT_EQ(picture.height, 200u);
            EXPECT_EQ(picture.At(319, 199), (Colour{255, 0, 0, 255})) << device << ' ' << bits;
            EXPECT_EQ(picture.At(318, 199), (Colour{0, 0, 0, 255}));
            EXPECT_EQ(picture.At(319, 198), (Colour{0, 0, 0, 255}));
        }
    }
}

TEST(ScreenPicture, EightBitsGoThroughThePalette) {
    host::PowerCycle();
    host::Display display(ConfigFor(DeviceMX, 8));
    display.FrameBuffer()[1] = 200;
    std::vector<PALETTEENTRY> palette(256);
    palette[200] = {1, 2, 3, 0};
    EXPECT_EQ(host::ReadScreen(display, palette.data()).At(1, 0), (Colour{1, 2, 3, 255}));
}

TEST(ScreenPicture, ScreenBehindTheMemoryIsRefused) {
    host::PowerCycle();
    host::Display display(ConfigFor(DevicePermedia, 16));
    display.Board().Write(reg::ScreenBasePermedia, ((8u << 20) - 8) >> 3);
    display.Board().Advance(kFrame);
    EXPECT_THROW(host::ReadScreen(display), std::out_of_range);
}

TEST(ScreenPicture, ShowsTheBackBufferWithTheFirstFrameAfterAFlip) {
    for (const uint32_t device : {uint32_t{DeviceMX}, uint32_t{DevicePermedia2}}) {
        host::PowerCycle();
        host::Display display(ConfigFor(device, 16));
        ASSERT_TRUE(display.Start());
        host::DirectDraw directDraw(display);
        host::Surface& primary = directDraw.CreatePrimary(1);
        host::Surface& back = *primary.Chain()[0];
        primary.SetPixel(7, 9, 31u << 5);
        back.SetPixel(7, 9, 31);
        EXPECT_EQ(host::ReadScreen(display).At(7, 9), (Colour{0, 255, 0, 255}));
        display.Board().Advance(kFrame); // a retrace must have been seen
        ASSERT_TRUE(directDraw.Flip(primary, back).Done());
        EXPECT_EQ(host::ReadScreen(display).At(7, 9), (Colour{0, 255, 0, 255}));
        display.Board().Advance(kFrame);
        EXPECT_EQ(host::ReadScreen(display).At(7, 9), (Colour{0, 0, 255, 255}));
    }
}

} // namespace
