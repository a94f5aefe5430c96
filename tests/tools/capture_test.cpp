// What a capture holds is enough: a bare board that plays it has the memories and registers of the
// board that was captured, at every step, frame and picture. And capturing changes nothing.
#include "chip/registers.h"
#include "host/display/display.h"
#include "host/driver_module.h"
#include "host/observe/watched_memory.h"
#include "stream/capture_writer.h"
#include "stream/source.h"
#include "tests/tools/chip_names.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"
#include "tests/tools/told_memories.h"
#include "tools/korv/capture/capture.h"
#include "tools/korv/chips/chips.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace korv {
namespace {

using testing::HasSubstr;

// Plays each capture of the folder, and expects checks that hold.
void ExpectAllPlay(const TemporaryFolder& folder, int fewestChecks) {
    int captures = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        if (entry.path().extension() != ".korv") {
            continue;
        }
        ++captures;
        const ToolResult played = RunTool({"play", entry.path().string(), "--check", "--json"});
        ASSERT_EQ(played.code, 0) << played.out << played.err;
        const auto report = nlohmann::json::parse(played.out);
        EXPECT_GE(report["checks"], fewestChecks);
        EXPECT_EQ(report["cutOff"], "");
    }
    EXPECT_GE(captures, 1);
}

// Each capture of the folder is its dump.
void ExpectAllComeBack(const TemporaryFolder& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        const TemporaryFolder made;
        made.Write("text", RunTool({"dump", entry.path().string()}).out);
        ASSERT_EQ(RunTool({"assemble", made / "text", "-o", made / "again"}).code, 0);
        EXPECT_TRUE(ReadAll(made / "again") == ReadAll(entry.path().string())) << entry.path();
    }
}

// Whatever changes the board's memories is told to a probe.
void ExpectAllTold(const std::filesystem::path& capture) {
    std::ifstream in(capture, std::ios::binary);
    const auto source = stream::OpenSource(in);
    stream::Player player(*source);
    ToldMemories told(player);
    stream::Event event;
    while (player.Step(event)) {
        told.Follow(event);
    }
    EXPECT_TRUE(told.AreTheBoards()) << capture;
}

// The base of a buffer that is not there is where the frame buffer happens to lie from address 0:
// another one in every run.
std::string WithoutAddresses(const std::string& events) {
    std::istringstream in(events);
    std::string out;
    for (std::string line; std::getline(in, line);) {
        if (line.find("VSBufferBase") == std::string::npos) {
            out += line + "\n";
        }
    }
    return out;
}

std::map<std::string, std::string> Recorded(const TemporaryFolder& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        if (entry.path().extension() != ".korv") {
            const std::string name = entry.path().filename().string();
            const std::string bytes = ReadAll(entry.path().string());
            files[name] = name.starts_with("events") ? WithoutAddresses(bytes) : bytes;
        }
    }
    return files;
}

class ScriptCaptured : public testing::TestWithParam<std::string> {
  protected:
    void TearDown() override { host::UseLinkedDriver(); }

    static std::vector<std::string> Arguments(const TemporaryFolder& folder) {
        return {"replay",   ScenePath(GetParam()), "--words",    folder / "words",
                "--events", folder / "events",     "--pictures", folder.Path()};
    }
};

TEST_P(ScriptCaptured, PlaysOnABareBoardAndIsNotChanged) {
    const TemporaryFolder plain, captured;
    ASSERT_EQ(RunTool(Arguments(plain)).code, 0);
    std::vector<std::string> arguments = Arguments(captured);
    arguments.insert(arguments.end(), {"--capture", captured / "c.korv"});
    const ToolResult result = RunTool(arguments);
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_TRUE(Recorded(plain) == Recorded(captured));
    ExpectAllPlay(captured, 2);
    for (const auto& entry : std::filesystem::directory_iterator(captured.Path())) {
        if (entry.path().extension() == ".korv") {
            ExpectAllTold(entry.path());
        }
    }
}

TEST_P(ScriptCaptured, PlaysByTheDllToo) {
    const std::string script = GetParam();
    if (script == "video-permedia" || script == "video-permedia2") {
        GTEST_SKIP() << "calls what a DLL hands out to nobody";
    }
    const TemporaryFolder captured;
    const ToolResult result = RunTool(
        {"replay", ScenePath(script), "--dll", KORV_DLL_PATH, "--capture", captured / "c.korv"});
    ASSERT_EQ(result.code, 0) << result.err;
    ExpectAllPlay(captured, 2);
    ExpectAllComeBack(captured);
}

INSTANTIATE_TEST_SUITE_P(Scenes, ScriptCaptured, testing::ValuesIn(SceneScripts()), SceneTestName);

TEST(CaptureOfADisplay, RefusesABoardWithADmaThread) {
    const TemporaryFolder folder;
    const Capture capture(folder / "c.korv");
    host::DisplayConfig config;
    config.dmaThread = true;
    try {
        const host::Display display(config);
        ADD_FAILURE() << "it is captured";
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "a board with a DMA thread cannot be captured");
    }
}

// Where memory cannot be watched it is compared, and the capture is the same to the byte.
class ComparedCapture : public testing::TestWithParam<std::string> {
  protected:
    void TearDown() override { host::WatchedMemory::CompareAll(false); }
};

TEST_P(ComparedCapture, IsThatOfWatchedMemory) {
    const TemporaryFolder folder;
    const auto capture = [&](const char* name) {
        const ToolResult result =
            RunTool({"replay", ScenePath(GetParam()), "--capture", folder / name});
        EXPECT_EQ(result.code, 0) << result.err;
        return ReadAll(folder / name);
    };
    const std::string watched = capture("watched.korv");
    host::WatchedMemory::CompareAll(true);
    EXPECT_TRUE(capture("compared.korv") == watched);
}

INSTANTIATE_TEST_SUITE_P(Scenes, ComparedCapture,
                         testing::Values("client-memory", "flip-tx", "blits-permedia2-agp"),
                         SceneTestName);

class DemoCaptured : public testing::TestWithParam<std::string> {};

TEST_P(DemoCaptured, PlaysOnABareBoard) {
    const TemporaryFolder folder, captures;
    const ToolResult result = RunTool({"demo", "-o", folder.Path(), "--chip", GetParam(), "--size",
                                       "200x150", "--capture", captures.Path()});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_GE(captures.Files(), 10u);
    ExpectAllPlay(captures, 2);
}

INSTANTIATE_TEST_SUITE_P(Chips, DemoCaptured, testing::ValuesIn(AllChips()), SceneTestName);

class PlayCommand : public testing::Test {
  protected:
    static std::string Capture(const TemporaryFolder& folder) {
        const std::string path = folder / "c.korv";
        const ToolResult result =
            RunTool({"replay", ScenePath("triangles-permedia"), "--pictures", folder.Path(),
                     "--words", folder / "words", "--capture", path});
        EXPECT_EQ(result.code, 0) << result.err;
        return path;
    }
};

TEST_F(PlayCommand, DrawsThePictureThatWasTaken) {
    const TemporaryFolder folder;
    const std::string capture = Capture(folder);
    std::map<std::string, std::string> pictures;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        if (entry.path().extension() == ".png") {
            pictures[entry.path().filename().string()] = ReadAll(entry.path().string());
        }
    }
    ASSERT_FALSE(pictures.empty());
    for (const auto& [name, bytes] : pictures) {
        const ToolResult result =
            RunTool({"play", capture, "--to", "mark:" + name, "-o", folder / "out.png"});
        ASSERT_EQ(result.code, 0) << result.err;
        EXPECT_TRUE(ReadAll(folder / "out.png") == bytes) << name;
    }
}

TEST_F(PlayCommand, TellsWhatHasChanged) {
    // An altered colour, in a capture whose checksums fit.
    const TemporaryFolder folder;
    const std::string capture = Capture(folder);
    {
        std::ifstream in(capture, std::ios::binary);
        const auto source = stream::OpenSource(in);
        std::ofstream out(folder / "changed.korv", std::ios::binary);
        stream::CaptureWriter writer(out, source->Board(), "a test");
        stream::Event event;
        bool changed = false, colour = false;
        while (source->Next(event)) {
            if (event.IsWord()) {
                if (colour && !changed) {
                    event.value ^= 0x00F0F0F0;
                    changed = true;
                }
                colour = event.value == tag::ConstantColor || event.value == tag::Color ||
                         event.value == tag::FBBlockColor;
            }
            writer.Put(event);
        }
        writer.Finish();
        ASSERT_TRUE(changed);
    }
    const ToolResult result = RunTool({"play", folder / "changed.korv", "--check"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("differ from the capture's, at word:"));
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1);
}

TEST_F(PlayCommand, TakesPicturesOfEachPrimitive) {
    const TemporaryFolder folder, pictures;
    const std::string capture = Capture(folder);
    const ToolResult drawn = RunTool({"play", capture, "--to", "step:30", "--pictures",
                                      pictures.Path(), "--every", "primitive"});
    ASSERT_EQ(drawn.code, 0) << drawn.err;
    EXPECT_GT(pictures.Files(), 10u);
}

TEST_F(PlayCommand, ShowsHowOftenPixelsWereWritten) {
    const TemporaryFolder folder, frames;
    const std::string capture = Capture(folder);
    const ToolResult whole =
        RunTool({"play", capture, "--overdraw", "-o", folder / "all.png", "--json"});
    ASSERT_EQ(whole.code, 0) << whole.err;
    const auto all = nlohmann::json::parse(whole.out)["overdraw"];
    const ToolResult late = RunTool(
        {"play", capture, "--overdraw", "--from", "step:30", "-o", folder / "late.png", "--json"});
    const auto part = nlohmann::json::parse(late.out)["overdraw"];
    EXPECT_GT(all["most"], 1);
    EXPECT_GT(part["writes"], 0);
    EXPECT_LT(part["writes"], all["writes"]);
    EXPECT_FALSE(ReadAll(folder / "all.png") == ReadAll(folder / "late.png"));
}

TEST_F(PlayCommand, RefusesInOneLine) {
    const TemporaryFolder folder;
    const std::string capture = Capture(folder);
    const std::string cut = folder.Write("cut.korv", ReadAll(capture).substr(0, 5000));
    const std::string text = folder.Write("text", "no capture at all, but longer than a magic");
    const auto expect = [&](std::vector<std::string> arguments, const std::string& part) {
        arguments.insert(arguments.begin(), "play");
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
        EXPECT_THAT(result.err, HasSubstr(part));
    };
    expect({folder / "absent"}, "No such file");
    expect({folder.Path()}, "it is a folder");
    expect({text}, "it is no capture; raw words need '--chip'");
    expect({capture, "--chip", "tx"}, "'--chip' is for raw words");
    expect({capture, "--to", "somewhere"}, "bad place 'somewhere'");
    expect({capture, "--to", "word:99999999"}, "has no word:99999999: it ends behind word");
    expect({capture, "-o", folder / "x.png", "--surface", "nobody"}, "has no surface 'nobody'");
    expect({capture, "--every", "frame"}, "'--pictures' and '--every' belong together");
    expect({capture, "--overdraw"}, "'--overdraw' needs a place for its picture");
    expect({capture, "--overdraw", "--from", "step:9999", "-o", folder / "x.png"},
           "has no step:9999");
    expect({capture, "--from", "5"}, "'--from' is for '--overdraw'");
    expect({folder / "words", "--chip", "permedia", "--check"}, "raw words have no checksums");
    const ToolResult short_ = RunTool({"play", cut, "--check"});
    EXPECT_EQ(short_.code, 0);
    EXPECT_THAT(short_.err, HasSubstr("the capture was cut off at byte 5000"));
}

TEST_F(PlayCommand, TakesRawWords) {
    const TemporaryFolder folder;
    const std::string capture = Capture(folder);
    const ToolResult result =
        RunTool({"play", folder / "words", "--chip", "permedia", "-o", folder / "raw.png"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_TRUE(std::filesystem::exists(folder / "raw.png"));
}

} // namespace
} // namespace korv
