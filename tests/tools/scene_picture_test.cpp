// What the scenes must look like on every chip that draws.
#include "tests/tools/chip_names.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace korv {
namespace {

class ScenePicture : public testing::TestWithParam<std::string> {
  protected:
    host::Picture Draw(void (*scene)(Painter&)) {
        Canvas canvas(ChipByName(GetParam()), {});
        scene(canvas);
        host::Picture picture = canvas.Finish();
        EXPECT_EQ(canvas.Faults(), "");
        return picture;
    }
};

using Pixel = std::array<uint8_t, 4>;

TEST_P(ScenePicture, AddedSliversCoverEachPixelExactlyOnce) {
    const host::Picture picture = Draw(DrawSlivers);
    std::set<Pixel> colours;
    for (uint32_t y = 0; y < 480; ++y) {
        for (uint32_t x = 320; x < 640; ++x) {
            colours.insert(picture.At(x, y));
        }
    }
    // Ground 30 10 30 and ground plus 10 58 30, cut to five bits and widened again.
    const std::set<Pixel> expected{{0x31, 0x10, 0x31, 255}, {0x42, 0x6B, 0x63, 255}};
    EXPECT_EQ(colours, expected);
}

TEST_P(ScenePicture, OpaqueSliversLeaveNoGap) {
    const host::Picture picture = Draw(DrawSlivers);
    const Pixel ground = picture.At(0, 0);
    // The rim comes in to 94 hundredths of its radius; its chords are hardly shorter.
    const double radius = 320 * 0.46 * 0.93;
    for (int y = 0; y < 480; ++y) {
        for (int x = 0; x < 320; ++x) {
            if (std::hypot(x + 0.5 - 320 * 0.5012, y + 0.5 - 480 * 0.5004) < radius) {
                ASSERT_NE(picture.At(x, y), ground) << x << " " << y;
            }
        }
    }
}

TEST_P(ScenePicture, CrossingTrianglesMeetInTheMiddle) {
    const host::Picture picture = Draw(DrawCrossing);
    // Between the bars: blue in front on the left, orange on the right.
    for (uint32_t x = 300; x < 318; ++x) {
        EXPECT_GT(picture.At(x, 260)[2], picture.At(x, 260)[0]) << x;
    }
    for (uint32_t x = 322; x < 340; ++x) {
        EXPECT_LT(picture.At(x, 260)[2], picture.At(x, 260)[0]) << x;
    }
}

TEST_P(ScenePicture, StippledAlphaGrowsWithAlpha) {
    const host::Picture picture = Draw(DrawStippledAlpha);
    // Panel by panel, pixels of the red that is laid over, in an 8 by 8 field of the blue stripe.
    // The bits set in the patterns of indices 0 to 15.
    constexpr int kSetBits[] = {0, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 60, 64};
    for (uint32_t step = 0; step < 16; ++step) {
        const uint32_t left = step % 4 * 160 + 96, top = step / 4 * 120 + 40;
        int red = 0;
        for (uint32_t y = 0; y < 8; ++y) {
            for (uint32_t x = 0; x < 8; ++x) {
                red += picture.At(left + x, top + y)[0] > 0x80;
            }
        }
        EXPECT_EQ(red, kSetBits[step]) << step;
    }
}

TEST_P(ScenePicture, FogHidesTheHorizonAndSparesTheForeground) {
    const host::Picture picture = Draw(DrawFogFloor);
    const Pixel mist = picture.At(0, 0);
    const auto distance = [&](uint32_t x, uint32_t y) {
        int sum = 0;
        for (int channel = 0; channel < 3; ++channel) {
            sum += std::abs(picture.At(x, y)[channel] - mist[channel]);
        }
        return sum;
    };
    EXPECT_EQ(mist, (Pixel{0xB5, 0xBD, 0xCE, 255}));
    // The floor from 26 to 31 away fills the lines from 195 to 199; it may differ from the mist by
    // a step of five bits in each channel. No ball stands so far to the left.
    for (uint32_t y = 195; y < 200; ++y) {
        for (uint32_t x = 0; x < 180; ++x) {
            EXPECT_LE(distance(x, y), 3 * 9) << x << " " << y;
        }
    }
    int darkest = 0;
    for (uint32_t x = 0; x < 640; x += 4) {
        darkest = std::max(darkest, distance(x, 470));
    }
    EXPECT_GT(darkest, 300);
}

INSTANTIATE_TEST_SUITE_P(Chips, ScenePicture, testing::ValuesIn(AllChips()), [](const auto& info) {
    std::string name = info.param;
    std::erase(name, '-');
    return name;
});

} // namespace
} // namespace korv
