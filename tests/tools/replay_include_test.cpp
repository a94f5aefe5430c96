// Scripts that include others.
#include "tests/tools/replay_rig.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace korv {
namespace {

constexpr const char* kIncludeStart = R"({"include": "start.json"})";

class IncludeTest : public ReplayTest {
  protected:
    // What stands in front of a complaint about `name`.
    std::string At(const std::string& name) { return "korv: " + folder_ / name + ":"; }
    void ExpectComplaint(const std::vector<std::string>& steps, int code, const std::string& line) {
        const ToolResult result = Replay(Script(steps));
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, line + "\n");
    }
};

TEST_F(IncludeTest, StepsArePlayedInThePlaceAndCounted) {
    folder_.Write("start.json", Script({kDisplay, kStart}));
    const ToolResult result =
        Replay(Script({R"({"include": "start.json", "note": "both"})", kMemory,
                       R"({"do": "write", "surface": "s", "value": 5})",
                       R"({"do": "pixels", "surface": "s", "expect": {"1,2": 5}})"}));
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, path_ + ": 5 steps, all as expected\n");
}

TEST_F(IncludeTest, RecordingsAreThoseOfTheStepsWrittenOut) {
    folder_.Write("start.json", Script({kDisplay, kStart}));
    folder_.Write("draw.json", Script({kContext, std::string(kTriangle) + "}"}));
    const auto words = [&](const std::vector<std::string>& steps) {
        const ToolResult result =
            Replay(Script(steps), {"--words", folder_ / "w.bin", "--events", folder_ / "e.txt"});
        EXPECT_EQ(result.code, 0) << result.err;
        return ReadAll(folder_ / "w.bin") + ReadAll(folder_ / "e.txt");
    };
    const std::string plain =
        words({kDisplay, kStart, kTarget, kContext, std::string(kTriangle) + "}"});
    EXPECT_FALSE(plain.empty());
    EXPECT_EQ(words({kIncludeStart, kTarget, R"({"include": "draw.json"})"}), plain);
}

TEST_F(IncludeTest, PathsAreRelativeToTheFileInWhichTheyStand) {
    std::filesystem::create_directories(folder_ / "below/deeper");
    folder_.Write("below/deeper/display.json", Script({kDisplay}));
    folder_.Write("below/start.json", Script({R"({"include": "deeper/display.json"})", kStart}));
    folder_.Write("below/corners.json", "[[1, 1], [20, 1], [1, 20]]");
    folder_.Write("below/draw.json",
                  Script({R"({"do": "triangles", "context": "c", "vertices": "corners.json"})"}));
    const ToolResult result = Replay(Script({R"({"include": "below/start.json"})", kTarget,
                                             kContext, R"({"include": "below/draw.json"})"}));
    EXPECT_EQ(result.code, 0) << result.err;
}

TEST_F(IncludeTest, TheSameFileMayComeTwice) {
    folder_.Write("wait.json", Script({R"({"do": "advance", "microseconds": 10})"}));
    const ToolResult result = Replay(
        Script({kDisplay, kStart, R"({"include": "wait.json"})", R"({"include": "wait.json"})"}));
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, path_ + ": 4 steps, all as expected\n");
}

TEST_F(IncludeTest, WhatIsWrongInAnIncludedFileIsToldWithItsNameAndLine) {
    folder_.Write("start.json", Script({kDisplay, R"({"do": "dance"})"}));
    ExpectComplaint({kIncludeStart}, 2, At("start.json") + "4: /steps/1/do: unknown step 'dance'");
    folder_.Write("start.json", "{\n\"version\": 2,\n\"steps\": [] }");
    ExpectComplaint({kIncludeStart}, 2,
                    At("start.json") +
                        "2: /version: unknown version 2: this is a player of version 1");
}

TEST_F(IncludeTest, AnExpectationThatDoesNotHoldIsToldWithItsNameAndLine) {
    folder_.Write(
        "check.json",
        Script({R"({"do": "check", "record": "DriverData", "expect": {"ScreenWidth": 65}})"}));
    ExpectComplaint({kDisplay, kStart, R"({"include": "check.json"})"}, 1,
                    At("check.json") +
                        "3: step /steps/0 'check': ScreenWidth: expected 0x41 (65), got 0x40 (64)");
}

TEST_F(IncludeTest, AFileThatCannotBeReadIsToldAtItsPlace) {
    ExpectComplaint({kDisplay, kIncludeStart}, 2,
                    At("script.json") + "4: /steps/1/include: cannot read '" +
                        folder_ / "start.json" + "': no such file");
    ExpectComplaint({R"({"include": ""})"}, 2,
                    At("script.json") + "3: /steps/0/include: expected a name, got an empty text");
    folder_.Write("start.json", "{\n[");
    const ToolResult broken = Replay(Script({kIncludeStart}));
    EXPECT_EQ(broken.code, 2);
    EXPECT_TRUE(broken.err.starts_with(
        At("script.json") + "3: /steps/0/include: " + folder_ / "start.json" + ":2: no JSON: "))
        << broken.err;
}

TEST_F(IncludeTest, NothingElseStandsBesideAnInclude) {
    folder_.Write("start.json", Script({kDisplay, kStart}));
    ExpectComplaint({R"({"include": "start.json", "do": "start"})"}, 2,
                    At("script.json") + "3: /steps/0/do: unknown field 'do'");
}

TEST_F(IncludeTest, CirclesAreRefused) {
    ExpectComplaint({kDisplay, R"({"include": "./script.json"})"}, 2,
                    At("script.json") + "4: /steps/1/include: '" + folder_ / "./script.json" +
                        "' would include itself");
    folder_.Write("a.json", Script({R"({"include": "b.json"})"}));
    folder_.Write("b.json", Script({kDisplay, R"({"include": "a.json"})"}));
    ExpectComplaint({R"({"include": "a.json"})"}, 2,
                    At("b.json") + "4: /steps/1/include: '" + folder_ / "a.json" +
                        "' would include itself");
    std::filesystem::create_symlink(folder_ / "script.json", folder_ / "start.json");
    ExpectComplaint({kIncludeStart}, 2,
                    At("script.json") + "3: /steps/0/include: '" + folder_ / "start.json" +
                        "' would include itself");
}

} // namespace
} // namespace korv
