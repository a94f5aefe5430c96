// korv why, as its users run it, on what the driver sends: against a board whose memory is looked
// at behind every event.
#include "stream/player.h"
#include "stream/surfaces.h"
#include "tests/tools/captured_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <random>

namespace korv {
namespace {

using testing::HasSubstr;

struct WatchedPixel {
    std::string surface;
    uint32_t x, y;
    struct Change {
        uint64_t event;
        int64_t before, after; // -1: it lies nowhere
        bool operator==(const Change&) const = default;
    };
    int64_t value = -1;
    std::vector<Change> changes;
};

// Several in one event are one, and may be none.
void Add(std::vector<WatchedPixel::Change>& changes, const WatchedPixel::Change& change) {
    if (!changes.empty() && changes.back().event == change.event) {
        changes.back().after = change.after;
    } else {
        changes.push_back(change);
    }
    if (changes.back().before == changes.back().after) {
        changes.pop_back();
    }
}

// The pixel's bits in the board's memories; -1: it has none there.
int64_t ValueOf(board::Board& board, const stream::SurfaceLayout* surface, uint32_t x, uint32_t y) {
    if (surface == nullptr || surface->memory == stream::Memory::Host) {
        return -1;
    }
    const auto memory =
        surface->memory == stream::Memory::LocalBuffer ? board.LocalBuffer() : board.FrameBuffer();
    int64_t value = 0;
    const uint32_t bytes = surface->bits / 8;
    for (uint32_t i = 0; i < bytes; ++i) {
        const size_t place =
            surface->offset + y * static_cast<uint32_t>(surface->pitch) + x * bytes + i;
        value |= int64_t{memory[place]} << (8 * i);
    }
    return value;
}

// All surfaces that a capture ever has whose pixels are whole bytes of the board's memories.
std::map<std::string, stream::SurfaceLayout> SurfacesOf(const std::string& capture) {
    std::ifstream in(capture, std::ios::binary);
    const auto source = stream::OpenSource(in);
    stream::Surfaces surfaces;
    std::map<std::string, stream::SurfaceLayout> all;
    stream::Event event;
    while (source->Next(event)) {
        if (event.kind == stream::EventKind::Mark) {
            surfaces.Follow(*event.mark);
            for (const stream::SurfaceLayout* one : surfaces.All()) {
                if (one->bits >= 8 && one->memory != stream::Memory::Host) {
                    const auto [found, fresh] = all.try_emplace(one->name, *one);
                    found->second.width = std::min(found->second.width, one->width);
                    found->second.height = std::min(found->second.height, one->height);
                }
            }
        }
    }
    return all;
}

void Watch(const std::string& capture, std::vector<WatchedPixel>& pixels) {
    std::ifstream in(capture, std::ios::binary);
    const auto source = stream::OpenSource(in);
    stream::Player player(*source);
    stream::Surfaces surfaces;
    stream::Event event;
    while (true) {
        const uint64_t number = source->At().event;
        if (!player.Step(event)) {
            return;
        }
        if (event.kind == stream::EventKind::Mark) {
            surfaces.Follow(*event.mark);
        }
        for (WatchedPixel& pixel : pixels) {
            const int64_t now =
                ValueOf(player.Board(), surfaces.Find(pixel.surface), pixel.x, pixel.y);
            if (now != pixel.value) {
                Add(pixel.changes, {number, pixel.value, now});
                pixel.value = now;
            }
        }
    }
}

std::vector<WatchedPixel::Change> Told(const nlohmann::json& report) {
    std::vector<WatchedPixel::Change> changes;
    int64_t latest = -1;
    for (const auto& moment : report["moments"]) {
        const auto value = [](const nlohmann::json& bits) {
            return bits.is_null() ? int64_t{-1} : bits.get<int64_t>();
        };
        EXPECT_EQ(value(moment["before"]), latest);
        latest = value(moment["after"]);
        Add(changes, {moment["event"].get<uint64_t>(), value(moment["before"]), latest});
    }
    return changes;
}

class WhyOfScript : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Scenes, WhyOfScript,
                         testing::Values("blits-mx", "blits-permedia2-24", "client-memory",
                                         "flip-permedia2", "flip-tx", "lines-permedia",
                                         "surfaces-permedia", "textures-mx-delta",
                                         "triangles-permedia", "triangles-tx", "video-permedia2"),
                         SceneTestName);

TEST_P(WhyOfScript, TellsWhatLookingBehindEveryEventFinds) {
    const TemporaryFolder folder;
    const std::string capture = folder / "c.korv";
    ASSERT_EQ(RunTool({"replay", ScenePath(GetParam()), "--capture", capture}).code, 0);
    std::mt19937 dice(1);
    std::vector<WatchedPixel> pixels;
    const auto surfaces = SurfacesOf(capture);
    ASSERT_FALSE(surfaces.empty());
    while (pixels.size() < 10) {
        for (const auto& [name, layout] : surfaces) {
            pixels.push_back({name, dice() % layout.width, dice() % layout.height, -1, {}});
        }
    }
    std::ranges::shuffle(pixels, dice);
    pixels.resize(10);
    Watch(capture, pixels);
    size_t changes = 0;
    for (const WatchedPixel& pixel : pixels) {
        const std::string place = std::to_string(pixel.x) + "," + std::to_string(pixel.y);
        const ToolResult told =
            RunTool({"why", capture, place, "--surface", pixel.surface, "--json"});
        ASSERT_EQ(told.code, 0) << told.err;
        EXPECT_TRUE(Told(nlohmann::json::parse(told.out)) == pixel.changes)
            << pixel.surface << ' ' << place;
        changes += pixel.changes.size();
    }
    EXPECT_GT(changes, 5u);
}

class WhyCommand : public CapturedTriangles {};

TEST_F(WhyCommand, TellsPlaceTestsAndValues) {
    const ToolResult result = RunTool({"why", Capture(), "100,50"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("Pixel 100,50 of '"));
    EXPECT_THAT(result.out, HasSubstr("RenderPrimitive, primitive "));
    EXPECT_THAT(result.out, HasSubstr("  trapezoid at 100,50: scissor passed, depth "));
    EXPECT_THAT(result.out, HasSubstr("stipple failed"));
    EXPECT_THAT(result.out, HasSubstr("  the processor stores: "));
    // The words of the latest primitive are what dump's summary says of it.
    const size_t at = result.out.rfind("primitive ");
    const std::string primitive = result.out.substr(at, result.out.find('\n', at) - at);
    EXPECT_THAT(RunTool({"dump", Capture(), "--summary"}).out, HasSubstr("    " + primitive));
}

TEST_F(WhyCommand, TakesAPart) {
    const auto moments = [](const std::vector<std::string>& more) {
        std::vector<std::string> arguments{"why", Capture(), "100,50", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return nlohmann::json::parse(RunTool(arguments).out)["moments"];
    };
    const auto all = moments({});
    const auto before = moments({"--to", "step:47"});
    const auto behind = moments({"--from", "step:47"});
    ASSERT_FALSE(before.empty());
    ASSERT_FALSE(behind.empty());
    EXPECT_EQ(before.size() + behind.size(), all.size());
    EXPECT_EQ(behind[0], all[before.size()]);
}

TEST_F(WhyCommand, TakesRawWords) {
    const std::string words = *folder_ / "render.words";
    ASSERT_EQ(RunTool({"render", (ScenesFolder() / "cube.obj").string(), "--chip", "permedia",
                       "--size", "64x48", "-o", *folder_ / "cube.png", "--words", words})
                  .code,
              0);
    const ToolResult result =
        RunTool({"why", words, "32,24", "--chip", "permedia", "--size", "64x48", "--base", "6144",
                 "--json"}); // the target lies behind the screen
    ASSERT_EQ(result.code, 0) << result.err;
    // It was cleared, and the cube covers the middle.
    EXPECT_GE(nlohmann::json::parse(result.out)["moments"].size(), 2u);
}

// What raw words draw into is what a capture of the same calls its target and its depth.
TEST_F(WhyCommand, FindsTheTargetsOfRawWords) {
    for (const std::string chip : {"tx", "permedia"}) {
        const std::string words = *folder_ / (chip + ".words"), capture = *folder_ / (chip + ".k");
        ASSERT_EQ(RunTool({"render", (ScenesFolder() / "cube.obj").string(), "--chip", chip,
                           "--zbuffer", "--size", "64x48", "-o", *folder_ / (chip + ".png"),
                           "--words", words, "--capture", capture})
                      .code,
                  0);
        // Every word that left something, and what.
        const auto drawn = [](std::vector<std::string> arguments) {
            const ToolResult result = RunTool(arguments);
            EXPECT_EQ(result.code, 0) << result.err;
            std::vector<std::string> moments;
            const auto report = nlohmann::json::parse(result.out);
            for (const auto& one : report["moments"]) {
                if (one["what"] == "drawn" && one["before"] != one["after"]) {
                    moments.push_back(one["place"].get<std::string>() + " " + one["before"].dump() +
                                      " " + one["after"].dump());
                }
            }
            return moments;
        };
        const auto depthOf = [&] {
            std::ifstream in(capture, std::ios::binary);
            const auto source = stream::OpenSource(in);
            stream::Surfaces surfaces;
            stream::Event event;
            while (source->Next(event)) {
                if (event.kind == stream::EventKind::Mark) {
                    surfaces.Follow(*event.mark);
                }
            }
            return surfaces.ZBuffer();
        };
        const auto target = drawn({"why", capture, "32,24", "--json"});
        EXPECT_GE(target.size(), 2u);
        EXPECT_EQ(drawn({"why", words, "32,24", "--chip", chip, "--size", "64x48", "--surface",
                         "target", "--json"}),
                  target);
        const auto depth = drawn({"why", capture, "32,24", "--surface", depthOf(), "--json"});
        EXPECT_GE(depth.size(), 2u);
        EXPECT_EQ(drawn({"why", words, "32,24", "--chip", chip, "--size", "64x48", "--surface",
                         "depth", "--json"}),
                  depth);
        ASSERT_EQ(RunTool({"play", words, "--chip", chip, "--size", "64x48", "--surface", "target",
                           "-o", *folder_ / "again.png"})
                      .code,
                  0);
        EXPECT_TRUE(ReadAll(*folder_ / "again.png") == ReadAll(*folder_ / (chip + ".png")));
    }
}

TEST_F(WhyCommand, RefusesInOneLine) {
    const auto expect = [](std::vector<std::string> arguments, const std::string& part) {
        arguments.insert(arguments.begin(), "why");
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 2) << part;
        EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
        EXPECT_THAT(result.err, HasSubstr(part));
        EXPECT_EQ(result.out, "");
    };
    expect({Capture()}, "needs PIXEL");
    expect({Capture(), "100"}, "bad pixel '100': expected X,Y, as in 100,50");
    expect({Capture(), "1,2,3"}, "bad pixel '1,2,3'");
    expect({Capture(), "5000,2"}, "pixel 5000,2 lies outside '");
    expect({Capture(), "1,2", "--surface", "nobody"}, "has no surface 'nobody'");
    expect({Capture(), "1,2", "--to", "word:99999999"}, "has no word:99999999");
    expect({Capture(), "1,2", "--from", "step:9999"}, "has no step:9999");
    expect({Words(), "1,2", "--chip", "tx", "--base", "99999999"},
           "'screen' is not in the board's memories");
    expect({Capture(), "1,2", "--chip", "tx"}, "'--chip' is for raw words");
    expect({Words(), "1,2"}, "raw words need '--chip'");
    expect({Words(), "1,2", "--chip", "tx", "--surface", "s"},
           "has no surface 's' at word:38997: it has 'target'");
}

} // namespace
} // namespace korv
