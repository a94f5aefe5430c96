// What the scenes made by blits and flips must look like on every chip that draws them.
#include "tests/tools/recording_painter.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/images/contact_sheet.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace korv {
namespace {

using Pixel = std::array<uint8_t, 4>;

host::Picture DrawOn(const std::string& chip, void (*scene)(Painter&), const Settings& settings) {
    Canvas canvas(ChipByName(chip), settings);
    scene(canvas);
    host::Picture picture = canvas.Finish();
    EXPECT_EQ(canvas.Faults(), "");
    return picture;
}

// A colour as the display holds it: cut to its bits, and widened by repeating them.
Pixel Held(const Pixel& colour, int depth) {
    const std::array<int, 3> bits = depth == 8    ? std::array{3, 3, 2}
                                    : depth == 16 ? std::array{5, 5, 5}
                                                  : std::array{8, 8, 8};
    Pixel held{0, 0, 0, 255};
    for (int channel = 0; channel < 3; ++channel) {
        const int top = colour[channel] >> (8 - bits[channel]);
        int wide = 0;
        for (int have = 0; have < 8; have += bits[channel]) {
            wide = wide << bits[channel] | top;
        }
        const int extra = (8 + bits[channel] - 1) / bits[channel] * bits[channel] - 8;
        held[channel] = static_cast<uint8_t>(wide >> extra);
    }
    return held;
}

host::Picture Held(host::Picture picture, int depth) {
    for (auto at = picture.rgba.begin(); at != picture.rgba.end(); at += 4) {
        std::ranges::copy(Held({at[0], at[1], at[2], at[3]}, depth), at);
    }
    return picture;
}

class BlitScene : public testing::TestWithParam<std::tuple<std::string, int>> {
  protected:
    std::string Chip() const { return std::get<0>(GetParam()); }
    int Depth() const { return std::get<1>(GetParam()); }
    host::Picture Draw(void (*scene)(Painter&)) {
        return DrawOn(Chip(), scene, {.depth = Depth()});
    }
};

// The place in `from` of the middle of a column or row of `to`.
double Place(LONG at, LONG to, LONG toSize, LONG from, LONG fromSize, bool mirrored) {
    const double part = (at - to + 0.5) / toSize;
    return from + (mirrored ? 1 - part : part) * fromSize;
}

// How far from its place a pixel may be taken, in the image's pixels: half a step to either side
// for the middle, and a whole one where the steps stop short of the far edge.
int Reach(LONG fromSize, LONG toSize) {
    return static_cast<int>(std::ceil(1.5 * fromSize / toSize));
}

// Whether `seen` lies between the image's pixels around (x, y).
bool FitsImage(const host::Picture& image, double x, double y, int reachX, int reachY,
               const Pixel& seen) {
    Pixel low{255, 255, 255, 255}, high{};
    for (int dy = -reachY; dy <= reachY; ++dy) {
        for (int dx = -reachX; dx <= reachX; ++dx) {
            const auto column = std::clamp<int>(static_cast<int>(x + dx), 0, image.width - 1);
            const auto row = std::clamp<int>(static_cast<int>(y + dy), 0, image.height - 1);
            const Pixel near = image.At(column, row);
            for (int channel = 0; channel < 3; ++channel) {
                low[channel] = std::min(low[channel], near[channel]);
                high[channel] = std::max(high[channel], near[channel]);
            }
        }
    }
    for (int channel = 0; channel < 3; ++channel) {
        if (seen[channel] < low[channel] || seen[channel] > high[channel]) {
            return false;
        }
    }
    return true;
}

TEST_P(BlitScene, StretchesAndMirrorsShowEachPixelWhereItFalls) {
    const host::Picture picture = Draw(DrawStretches);
    RecordingPainter asked({640, 480});
    DrawStretches(asked);
    ASSERT_EQ(asked.blits.size(), 16u); // eight pictures and their labels
    for (const auto& [to, handle, from, effects] : asked.blits) {
        const host::Picture image = Held(asked.images.at(handle), Depth());
        const LONG width = to.right - to.left, height = to.bottom - to.top;
        const bool plain = width == from.right - from.left && height == from.bottom - from.top &&
                           !effects.mirrorLeftRight && !effects.mirrorUpDown;
        for (LONG y = to.top; y < to.bottom; ++y) {
            for (LONG x = to.left; x < to.right; ++x) {
                const Pixel seen = picture.At(x, y);
                if (plain) {
                    const Pixel wanted = image.At(from.left + x - to.left, from.top + y - to.top);
                    ASSERT_EQ(seen, wanted) << x << "," << y;
                } else {
                    const double s = Place(x, to.left, width, from.left, from.right - from.left,
                                           effects.mirrorLeftRight);
                    const double t = Place(y, to.top, height, from.top, from.bottom - from.top,
                                           effects.mirrorUpDown);
                    ASSERT_TRUE(FitsImage(image, s, t, Reach(from.right - from.left, width),
                                          Reach(from.bottom - from.top, height), seen))
                        << x << "," << y;
                }
            }
        }
    }
}

TEST_P(BlitScene, LetterStandsOnTheSideToWhichItIsMirrored) {
    const host::Picture picture = Draw(DrawStretches);
    // Cells are 160 by 240 with 40 lines of label. The pictures of half the size start at (40, 60)
    // of their cell; the letter's stem is at a third of the width, its long arm at a quarter of the
    // height.
    struct Corner {
        uint32_t cell;
        bool right, bottom;
    };
    const auto isWhite = [&](uint32_t x, uint32_t y) {
        const Pixel p = picture.At(x, y);
        return p[0] > 200 && p[1] > 200 && p[2] > 180;
    };
    for (const auto& [cell, right, bottom] :
         {Corner{0, true, false}, {1, false, true}, {2, true, true}}) {
        const uint32_t left = 160 * cell + 40, top = 240 + 60;
        const auto at = [&](double u, double v) {
            return isWhite(left + static_cast<uint32_t>(80 * (right ? 1 - u : u)),
                           top + static_cast<uint32_t>(80 * (bottom ? 1 - v : v)));
        };
        EXPECT_TRUE(at(0.325, 0.75)) << cell;  // the stem's foot
        EXPECT_FALSE(at(0.675, 0.75)) << cell; // and nothing beside it
        EXPECT_TRUE(at(0.68, 0.225)) << cell;  // the long arm
        EXPECT_FALSE(at(0.68, 0.51)) << cell;  // the short one ends before
    }
}

TEST_P(BlitScene, KeyedCopiesChangeWhatLiesUnderAllButTheirKey) {
    const host::Picture picture = Draw(DrawKeyedBlits);
    host::Picture wanted = Draw(DrawKnot);
    RecordingPainter asked({640, 480});
    DrawKeyedBlits(asked);
    ASSERT_FALSE(asked.blits.empty());
    size_t drawn = 0, left = 0;
    for (const auto& [to, handle, from, effects] : asked.blits) {
        ASSERT_TRUE(effects.colourKey.has_value());
        const D3DCOLOR key = *effects.colourKey;
        const Pixel keyed = Held({static_cast<uint8_t>(key >> 16), static_cast<uint8_t>(key >> 8),
                                  static_cast<uint8_t>(key), 255},
                                 Depth());
        ASSERT_EQ(to.right - to.left, from.right - from.left);
        for (LONG y = to.top; y < to.bottom; ++y) {
            for (LONG x = to.left; x < to.right; ++x) {
                const Pixel pixel =
                    Held(asked.images.at(handle).At(from.left + x - to.left, from.top + y - to.top),
                         Depth());
                if (pixel == keyed) {
                    ++left;
                } else {
                    ++drawn;
                    std::copy(pixel.begin(), pixel.end(), &wanted.rgba[(y * 640 + x) * 4]);
                }
            }
        }
    }
    EXPECT_GT(drawn, 10000u);
    EXPECT_GT(left, 3000u);
    for (uint32_t y = 0; y < 480; ++y) {
        for (uint32_t x = 0; x < 640; ++x) {
            ASSERT_EQ(picture.At(x, y), wanted.At(x, y)) << x << "," << y;
        }
    }
}

std::vector<std::string> ChipNamesIf(bool stretches) {
    std::vector<std::string> names;
    for (const ChipChoice& chip : Chips()) {
        if (!stretches || chip.stretches) {
            names.emplace_back(chip.name);
        }
    }
    return names;
}

std::string NameOf(const testing::TestParamInfo<std::tuple<std::string, int>>& info) {
    std::string name = std::get<0>(info.param);
    std::erase(name, '-');
    return name + "At" + std::to_string(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Chips, BlitScene,
                         testing::Combine(testing::ValuesIn(ChipNamesIf(true)),
                                          testing::Values(8, 16, 32)),
                         NameOf);

class Animation : public BlitScene {};

TEST_P(Animation, MonitorShowsEachFrameInItsTurn) {
    std::vector<host::Picture> frames;
    {
        Canvas canvas(ChipByName(Chip()), {.size = {100, 75}, .depth = Depth(), .flips = true});
        DrawAnimation(canvas);
        frames = canvas.Frames();
        EXPECT_EQ(canvas.Faults(), "");
    }
    ASSERT_EQ(frames.size(), 12u);
    const Pixel bar = Held({0xF0, 0xC0, 0x40, 255}, Depth()),
                rail = Held({0x38, 0x48, 0x60, 255}, Depth());
    for (int frame = 0; frame < 12; ++frame) {
        ASSERT_EQ(frames[frame].width, 100u);
        ASSERT_EQ(frames[frame].height, 75u);
        const auto reached = static_cast<uint32_t>(100 * (frame + 1) / 12);
        for (uint32_t y = 71; y < 75; ++y) {
            for (uint32_t x = 0; x < 100; ++x) {
                ASSERT_EQ(frames[frame].At(x, y), x < reached ? bar : rail)
                    << frame << ": " << x << "," << y;
            }
        }
    }
}

TEST_P(Animation, FramesAreAsOnATargetThatIsNeverShown) {
    std::vector<host::Picture> frames;
    {
        Canvas canvas(ChipByName(Chip()), {.size = {100, 75}, .depth = Depth(), .flips = true});
        DrawAnimation(canvas);
        frames = canvas.Frames();
    }
    std::set<std::vector<uint8_t>> different;
    for (int frame = 0; frame < kAnimationFrames; ++frame) {
        Canvas canvas(ChipByName(Chip()), {.size = {100, 75}, .depth = Depth()});
        DrawAnimationFrame(canvas, frame);
        EXPECT_EQ(canvas.Finish().rgba, frames.at(frame).rgba) << frame;
        different.insert(frames[frame].rgba);
    }
    EXPECT_EQ(different.size(), 12u);
}

INSTANTIATE_TEST_SUITE_P(Chips, Animation,
                         testing::Combine(testing::ValuesIn(ChipNamesIf(false)),
                                          testing::Values(8, 16, 32)),
                         NameOf);

TEST(Strip, SetsPicturesSideBySideFromTheUpperLeft) {
    std::vector<host::Picture> pictures;
    for (uint8_t i = 0; i < 5; ++i) {
        host::Picture plain{2, 3, {}};
        for (int n = 0; n < 6; ++n) {
            plain.rgba.insert(plain.rgba.end(), {i, i, i, 255});
        }
        pictures.push_back(plain);
    }
    const host::Picture strip = Strip(pictures, 2);
    ASSERT_EQ(strip.width, 4u);
    ASSERT_EQ(strip.height, 9u);
    for (uint32_t y = 0; y < 9; ++y) {
        for (uint32_t x = 0; x < 4; ++x) {
            const auto number = static_cast<uint8_t>(y / 3 * 2 + x / 2);
            EXPECT_EQ(strip.At(x, y), (number < 5 ? Pixel{number, number, number, 255} : Pixel{}));
        }
    }
}

TEST(Demo, WritesTheFramesOfTheAnimationByNumber) {
    TemporaryFolder folder;
    const ToolResult result = RunTool(
        {"demo", "-o", folder / "d", "--size", "128x96", "--scene", "animation", "--chip", "tx"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "1 picture and 12 frames in " + (folder / "d") +
                              ", all on one sheet in " + (folder / "d/contact-sheet.png") + "\n");
    const auto width = [&](const std::string& name) {
        const std::string png = ReadAll(folder / "d/tx-animation" + name + ".png");
        return png.size() < 20 ? -1 : static_cast<uint8_t>(png[19]); // the low byte in the header
    };
    for (const char* number :
         {"00", "01", "02", "03", "04", "05", "06", "07", "08", "09", "10", "11"}) {
        EXPECT_EQ(width(std::string("-") + number), 32) << number;
    }
    EXPECT_EQ(width(""), 128);
    EXPECT_FALSE(std::filesystem::exists(folder / "d/tx-animation-12.png"));
}

TEST(Demo, LeavesCellsEmptyWhereBlitsCannotStretch) {
    TemporaryFolder folder;
    const ToolResult result =
        RunTool({"demo", "-o", folder / "d", "--size", "64x48", "--scene", "stretch", "--scene",
                 "keyed-blits", "--chip", "tx-delta", "--chip", "mx"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out.substr(0, 10), "2 pictures");
    EXPECT_TRUE(std::filesystem::exists(folder / "d/mx-stretch.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "d/tx-delta-stretch.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "d/tx-delta-keyed-blits.png"));
}

TEST(Demo, TellsWhichChipsStretchWhenNoneDoes) {
    TemporaryFolder folder;
    const ToolResult result =
        RunTool({"demo", "-o", folder / "d", "--scene", "stretch", "--chip", "sx"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err, "korv: 'stretch' needs a chip whose blits stretch: expected one of mx, "
                          "permedia, mx-delta, permedia-delta, permedia2\n");
    EXPECT_EQ(folder.Files(), 0u);
}

} // namespace
} // namespace korv
