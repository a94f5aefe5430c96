// The video scene on every board with a video port, and the test card that it shows.
#include "tests/tools/recording_painter.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/images/test_card.h"
#include "tools/korv/painting/canvas.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>

namespace korv {
namespace {

using Pixel = std::array<uint8_t, 4>;

bool IsNear(const Pixel& pixel, int red, int green, int blue) {
    constexpr int kTolerance = 11; // a step of 5:5:5 and a little
    return std::abs(pixel[0] - red) <= kTolerance && std::abs(pixel[1] - green) <= kTolerance &&
           std::abs(pixel[2] - blue) <= kTolerance;
}

class VideoScene : public testing::TestWithParam<std::tuple<std::string, int>> {};

TEST_P(VideoScene, TwelveFieldsComeAsSentMirroredAndHalved) {
    const auto& [chip, depth] = GetParam();
    std::vector<host::Picture> frames;
    {
        Canvas canvas(ChipByName(chip), {.size = {160, 160}, .depth = depth, .onScreen = true});
        DrawVideo(canvas);
        frames = canvas.Frames();
        EXPECT_EQ(canvas.Faults(), "");
    }
    ASSERT_EQ(frames.size(), 12u);
    std::set<std::vector<uint8_t>> different;
    for (int frame = 0; frame < 12; ++frame) {
        const host::Picture& picture = frames[frame];
        const bool mirrored = frame / 4 == 1, upsideDown = frame / 4 == 2;
        // Pictures are 160 by 120: bars of 20 columns, of which the ball leaves 15 lines free.
        const auto at = [&](uint32_t x, uint32_t y) {
            return picture.At(mirrored ? 159 - x : x, upsideDown ? 119 - y : y);
        };
        EXPECT_TRUE(IsNear(at(10, 5), 255, 255, 255)) << frame;
        EXPECT_TRUE(IsNear(at(30, 5), 255, 255, 0)) << frame;
        EXPECT_TRUE(IsNear(at(50, 5), 0, 255, 255)) << frame;
        EXPECT_TRUE(IsNear(at(70, 5), 0, 255, 0)) << frame;
        EXPECT_TRUE(IsNear(at(90, 5), 255, 0, 255)) << frame;
        EXPECT_TRUE(IsNear(at(110, 5), 255, 0, 0)) << frame;
        EXPECT_TRUE(IsNear(at(130, 5), 0, 0, 255)) << frame;
        EXPECT_TRUE(IsNear(at(150, 5), 0, 0, 0)) << frame;
        EXPECT_TRUE(IsNear(at(0, 110), 0, 0, 0)) << frame;
        EXPECT_TRUE(IsNear(at(80, 110), 128, 128, 128)) << frame;
        EXPECT_TRUE(IsNear(at(158, 110), 253, 253, 253)) << frame;
        // A sign below says what is done.
        EXPECT_TRUE(IsNear(picture.At(2, 125), 0x18, 0x20, 0x2C)) << frame;
        different.insert(picture.rgba);
    }
    EXPECT_EQ(different.size(), 12u); // the ball moves
}

INSTANTIATE_TEST_SUITE_P(Chips, VideoScene,
                         testing::Combine(testing::Values("permedia", "permedia-delta",
                                                          "permedia2"),
                                          testing::Values(16, 32)),
                         [](const auto& info) {
                             std::string name = std::get<0>(info.param) + "At" +
                                                std::to_string(std::get<1>(info.param));
                             std::erase(name, '-');
                             return name;
                         });

TEST(Video, ModesOfEightBitsShowASignInstead) {
    Canvas canvas(ChipByName("permedia2"), {.size = {160, 160}, .depth = 8, .onScreen = true});
    EXPECT_FALSE(canvas.ShowsVideo());
    DrawVideo(canvas);
    EXPECT_EQ(canvas.Frames().size(), 12u);
    EXPECT_EQ(canvas.Faults(), "");
}

TEST(Video, EachFieldIsDrawnInsideTheTarget) {
    for (const Extent size : {Extent{640, 480}, {320, 1000}, {17, 9}, {1, 1}}) {
        RecordingPainter painter(size);
        DrawVideo(painter);
        EXPECT_EQ(painter.fields.size(), 12u);
        EXPECT_EQ(painter.videoEffects.size(), 3u);
        EXPECT_EQ(painter.videoStops, 1u);
        for (const RECT& field : painter.fields) {
            EXPECT_TRUE(field.left >= 0 && field.top >= 0 && field.left < field.right &&
                        field.top < field.bottom && field.right <= size.width &&
                        field.bottom <= size.height);
        }
    }
}

TEST(Video, DemoWritesEveryFieldAndRefusesBoardsWithoutAPort) {
    const TemporaryFolder folder;
    const ToolResult result = RunTool(
        {"demo", "-o", folder.Path(), "--scene", "video", "--chip", "permedia2", "--chip", "tx"});
    EXPECT_EQ(result.code, 0) << result.err;
    for (const char* file : {"permedia2-video-00.png", "permedia2-video-11.png",
                             "permedia2-video.png", "contact-sheet.png"}) {
        EXPECT_TRUE(std::filesystem::exists(folder / file)) << file;
    }
    const ToolResult refused =
        RunTool({"demo", "-o", folder.Path(), "--scene", "video", "--chip", "tx"});
    EXPECT_NE(refused.code, 0);
    EXPECT_NE(refused.err.find("'video' needs a chip with a video port: expected one of permedia, "
                               "permedia-delta, permedia2"),
              std::string::npos)
        << refused.err;
}

// --- the test card ---

constexpr uint32_t Texel(uint32_t y, uint32_t u, uint32_t v) {
    return y | u << 8 | v << 16;
}

TEST(TestCard, HasTheEightFullColours) {
    const TestCard card(80, 40);
    const uint32_t colours[] = {Texel(235, 128, 128), Texel(210, 16, 146),  Texel(170, 166, 16),
                                Texel(145, 54, 34),   Texel(106, 202, 222), Texel(81, 90, 240),
                                Texel(41, 240, 110),  Texel(16, 128, 128)};
    for (uint32_t x = 0; x < 80; ++x) {
        EXPECT_EQ(card.At(0, x, 0), colours[x / 10]) << x;
    }
    EXPECT_EQ(card.At(0, 0, 39), Texel(16, 128, 128));
    EXPECT_EQ(card.At(0, 79, 39), Texel(235, 128, 128));
}

TEST(TestCard, SendsItsPictureBehindTheBlank) {
    TestCard card(80, 40);
    EXPECT_EQ(card.Signal().linesPerField, 63u);
    std::vector<uint16_t> pixels;
    card.Line(0, 16, pixels);
    EXPECT_EQ(pixels.size(), 155u + 80);
    EXPECT_EQ(std::ranges::count(pixels, 0x8010), 155 + 80);
    pixels.clear();
    card.Line(0, 17, pixels);
    EXPECT_EQ(pixels.at(154), 0x8010);
    EXPECT_EQ(pixels.at(155), 0x80EB);
    EXPECT_EQ(pixels.at(155 + 10), 0x10D2);
    EXPECT_EQ(pixels.at(155 + 11), 0x92D2);
    pixels.clear();
    card.Line(0, 57, pixels);
    EXPECT_EQ(std::ranges::count(pixels, 0x8010), 155 + 80);
    TestCard marking(80, 40, 8, true);
    pixels.clear();
    marking.Line(0, 17, pixels);
    EXPECT_EQ(pixels.size(), 80u);
    EXPECT_EQ(pixels.at(0), 0x80EB);
}

} // namespace
} // namespace korv
