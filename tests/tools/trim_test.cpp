// What is cut out of the middle of a script's capture gives the same checksums, memories and
// pictures from there on. And the command line that finds the smallest part.
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace korv {
namespace {

using testing::HasSubstr;

class ScriptTrimmed : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Scenes, ScriptTrimmed, testing::ValuesIn(SceneScripts()), SceneTestName);

TEST_P(ScriptTrimmed, GoesOnAsTheWhole) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"replay", ScenePath(GetParam()), "--capture", folder / "c.korv"}).code, 0);
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        const std::string whole = entry.path().string();
        const auto total = nlohmann::json::parse(RunTool({"play", whole, "--json"}).out);
        const int middle = total["steps"].get<int>() / 2;
        const std::string part = folder / "part";
        const ToolResult cut =
            RunTool({"trim", whole, "--steps", std::to_string(middle) + "-", "-o", part, "--json"});
        ASSERT_EQ(cut.code, 0) << cut.err;
        const ToolResult played =
            RunTool({"play", part, "--check", "--json", "--memory", folder / "m"});
        ASSERT_EQ(played.code, 0) << played.out << played.err;
        EXPECT_GE(nlohmann::json::parse(played.out)["checks"], total["steps"].get<int>() - middle);
        ASSERT_EQ(RunTool({"play", whole, "--memory", folder / "n"}).code, 0);
        EXPECT_TRUE(ReadAll(folder / "m") == ReadAll(folder / "n"));
        break;
    }
}

std::string Captured(const TemporaryFolder& folder) {
    const std::string path = folder / "c.korv";
    EXPECT_EQ(RunTool({"replay", ScenePath("blits-tx-transparency"), "--capture", path}).code, 0);
    return path;
}

TEST(TrimCommand, PicturesAreThoseOfTheWhole) {
    const TemporaryFolder folder;
    const std::string whole = Captured(folder);
    ASSERT_EQ(RunTool({"trim", whole, "--steps", "20-29", "-o", folder / "part"}).code, 0);
    for (int step = 20; step < 30; step += 3) {
        ASSERT_EQ(
            RunTool({"play", whole, "--to", "step:" + std::to_string(step), "-o", folder / "a.png"})
                .code,
            0);
        ASSERT_EQ(RunTool({"play", folder / "part", "--to", "step:" + std::to_string(step - 20),
                           "-o", folder / "b.png"})
                      .code,
                  0);
        EXPECT_TRUE(ReadAll(folder / "a.png") == ReadAll(folder / "b.png")) << step;
    }
}

TEST(TrimCommand, RawWordsBecomeACapture) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"replay", ScenePath("triangles-tx"), "--words", folder / "w"}).code, 0);
    const ToolResult cut = RunTool({"trim", folder / "w", "--chip", "tx", "--words", "200-", "-o",
                                    folder / "part.korv", "--size", "320x240"});
    ASSERT_EQ(cut.code, 0) << cut.err;
    ASSERT_EQ(
        RunTool({"play", folder / "w", "--chip", "tx", "--size", "320x240", "-o", folder / "a.png"})
            .code,
        0);
    const ToolResult played = RunTool({"play", folder / "part.korv", "-o", folder / "b.png"});
    ASSERT_EQ(played.code, 0) << played.err;
    EXPECT_TRUE(ReadAll(folder / "a.png") == ReadAll(folder / "b.png"));
}

TEST(TrimCommand, MinimisesWhileACommandFails) {
    const TemporaryFolder folder;
    const std::string whole = Captured(folder);
    folder.Write("fails", "! grep -q KORVCAP \"$1\"\n");
    const ToolResult all = RunTool({"trim", whole, "--words", "0-", "-o", folder / "part.korv",
                                    "--minimise", "--while", "sh " + (folder / "fails")});
    ASSERT_EQ(all.code, 0) << all.err;
    EXPECT_THAT(all.out, HasSubstr(": 0 of 686 words are enough ("));
    EXPECT_EQ(RunTool({"play", folder / "part.korv", "--check"}).code, 0);

    const ToolResult never = RunTool({"trim", whole, "--words", "0-", "-o", folder / "no.korv",
                                      "--minimise", "--while", "true {}"});
    EXPECT_EQ(never.code, 2);
    EXPECT_THAT(never.err, HasSubstr("'true {}' does not fail with words 0- of '"));
    const ToolResult none = RunTool({"trim", whole, "--words", "0-", "-o", folder / "no.korv",
                                     "--minimise", "--while", "./no-such-command"});
    EXPECT_EQ(none.code, 2);
    EXPECT_EQ(none.err, "korv: cannot run './no-such-command', which '--while' names\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "no.korv"));
}

TEST(TrimCommand, TellsWhatIsWrong) {
    const TemporaryFolder folder;
    const std::string whole = Captured(folder);
    const auto refused = [&](std::vector<std::string> arguments, const std::string& line) {
        arguments.insert(arguments.begin(), {"trim", whole, "-o", folder / "out.korv"});
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.err, HasSubstr(line));
        EXPECT_EQ(std::ranges::count(result.err, '\n'), 1);
        EXPECT_FALSE(std::filesystem::exists(folder / "out.korv"));
    };
    refused({}, "'trim' needs a part: --words, --batches, --calls, --frames or --steps");
    refused({"--words", "5-x"}, "bad place 'x'");
    refused({"--steps", "9-3"}, "it ends before it begins");
    refused({"--steps", "3", "--words", "7"}, "one part at a time");
    refused({"--steps", "900"}, "there is no step:900: the stream ends behind word:686");
    refused({"--steps", "3", "--minimise"}, "'--minimise' and '--while' belong together");
    refused({"--steps", "3", "--while", "true"}, "'--minimise' and '--while' belong together");
    refused({"--steps", "3", "--chip", "tx"}, "'--chip' is for raw words");
}

} // namespace
} // namespace korv
