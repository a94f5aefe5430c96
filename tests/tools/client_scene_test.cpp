// The scene in which two clients of the chip take turns, on every chip.
#include "tests/tools/chip_names.h"
#include "tools/korv/images/patterns.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

namespace korv {
namespace {

using Pixel = std::array<uint8_t, 4>;

constexpr int kWidth = 640, kHeight = 480;

class ClientScene : public testing::TestWithParam<std::string> {
  protected:
    host::Picture Draw(const Settings& settings) {
        Canvas canvas(ChipByName(GetParam()), settings);
        DrawTwoClients(canvas);
        host::Picture picture = canvas.Finish();
        EXPECT_EQ(canvas.Faults(), "");
        return picture;
    }
};

INSTANTIATE_TEST_SUITE_P(Chips, ClientScene, testing::ValuesIn(AllChips()), [](const auto& info) {
    std::string name = info.param;
    std::erase(name, '-');
    return name;
});

TEST_P(ClientScene, EachSideHasItsFigureOnItsGround) {
    const host::Picture picture = Draw({.depth = 32});
    const Pixel left = picture.At(0, 0), right = picture.At(kWidth - 1, 0);
    EXPECT_EQ(left, (Pixel{0x18, 0x20, 0x30, 255}));
    EXPECT_EQ(right, (Pixel{0x21, 0x31, 0x18, 255}));
    int knot = 0, ring = 0;
    for (uint32_t y = 0; y < kHeight; ++y) {
        for (uint32_t x = 0; x < kWidth; ++x) {
            if (x < kWidth / 2) {
                knot += picture.At(x, y) != left;
            } else if (y < kHeight - 40) {
                ring += picture.At(x, y) != right;
            }
        }
    }
    EXPECT_GT(knot, 20000);
    EXPECT_LT(knot, 80000);
    EXPECT_GT(ring, 40000);
    EXPECT_LT(ring, 80000);
    // Nothing shines through the front of the ring, and its hole is open.
    EXPECT_NE(picture.At(480, 340), right);
    EXPECT_EQ(picture.At(480, 235), right);
}

TEST_P(ClientScene, TheSignPaintedByHandArrivesPixelByPixel) {
    for (const bool fifo : {false, true}) {
        const host::Picture picture = Draw({.depth = 32, .fifo = fifo});
        const host::Picture sign = Sign(kWidth / 2, kHeight / 12, "BY HAND");
        for (uint32_t y = 0; y < sign.height; ++y) {
            for (uint32_t x = 0; x < sign.width; ++x) {
                ASSERT_EQ(picture.At(kWidth / 2 + x, kHeight - sign.height + y), sign.At(x, y))
                    << x << " " << y;
            }
        }
    }
}

TEST_P(ClientScene, IsTheSameByEveryRoad) {
    const host::Picture first = Draw({});
    EXPECT_TRUE(Draw({.fifo = true}).rgba == first.rgba);
    EXPECT_TRUE(Draw({.subBuffers = 2}).rgba == first.rgba);
}

TEST_P(ClientScene, AtEightBitsDirect3DIsAlone) {
    const host::Picture picture = Draw({.depth = 8});
    const Pixel ground = picture.At(0, 0);
    for (uint32_t y = 0; y < kHeight; ++y) {
        for (uint32_t x = kWidth / 2; x < kWidth; ++x) {
            ASSERT_EQ(picture.At(x, y), ground) << x << " " << y;
        }
    }
    EXPECT_NE(picture.At(20, 260), ground);
}

} // namespace
} // namespace korv
