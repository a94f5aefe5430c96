// The scene that leaves out what the chip says is hidden.
#include "tools/korv/painting/canvas.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

namespace korv {
namespace {

using Pixel = std::array<uint8_t, 4>;

// A canvas that asks the chip and, if told to, takes every answer for yes.
class AskingCanvas : public Canvas {
  public:
    AskingCanvas(const std::string& chip, bool fifo, bool drawsAll)
        : Canvas(ChipByName(chip), {.size = {320, 240}, .fifo = fifo}), drawsAll_(drawsAll) {}
    bool WouldShow(std::span<const D3DTLVERTEX> vertices,
                   std::span<const D3DTRIANGLE> triangles) override {
        const bool shows = Canvas::WouldShow(vertices, triangles);
        ++(shows ? yes : no);
        return shows || drawsAll_;
    }
    int yes = 0, no = 0;

  private:
    bool drawsAll_;
};

class VisibilityScene : public testing::TestWithParam<std::string> {
  protected:
    host::Picture Draw(bool fifo, bool drawsAll) {
        AskingCanvas canvas(GetParam(), fifo, drawsAll);
        DrawVisibility(canvas);
        host::Picture picture = canvas.Finish();
        EXPECT_EQ(canvas.Faults(), "");
        EXPECT_GT(canvas.yes, 12);
        EXPECT_GT(canvas.no, 8);
        return picture;
    }
};

TEST_P(VisibilityScene, WhatIsLeftOutWouldNotHaveShown) {
    const host::Picture picture = Draw(false, false), whole = Draw(false, true);
    // Cut to five bits and widened again.
    constexpr Pixel kSeen{0x52, 0xE7, 0x73, 255}, kHidden{0xF7, 0x42, 0x52, 255};
    int hidden = 0;
    for (uint32_t y = 0; y < 240; ++y) {
        for (uint32_t x = 0; x < 320; ++x) {
            if (picture.At(x, y) == kHidden) {
                ++hidden;
                ASSERT_EQ(whole.At(x, y), kSeen) << x << " " << y;
            } else {
                ASSERT_EQ(picture.At(x, y), whole.At(x, y)) << x << " " << y;
            }
        }
    }
    EXPECT_GT(hidden, 200);
}

TEST_P(VisibilityScene, IsTheSameThroughTheFifo) {
    EXPECT_EQ(Draw(true, false).rgba, Draw(false, false).rgba);
}

std::vector<std::string> Names() {
    std::vector<std::string> names;
    for (const ChipChoice& chip : Chips()) {
        names.emplace_back(chip.name);
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(Chips, VisibilityScene, testing::ValuesIn(Names()), [](const auto& info) {
    std::string name = info.param;
    std::erase(name, '-');
    return name;
});

} // namespace
} // namespace korv
