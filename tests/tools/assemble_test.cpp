// korv assemble: what is recorded comes back from its text, whatever of the two forms of a line is
// taken; and what is wrong gets its line.
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"
#include "tests/tools/tool_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

namespace korv {
namespace {

// Lines of words with nothing but what their comments say, and other lines as they are.
std::string CommentsAsStatements(const std::string& events) {
    std::istringstream lines(events);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        const bool word = line.starts_with("f ") || line.starts_with("d ");
        const bool malformed = line.ends_with("; malformed");
        text += (word && !malformed ? line.substr(0, 2) + line.substr(13) : line) + "\n";
    }
    return text;
}

// The chip of a script's display, as its first line of comments would name it to --chip: texture
// coordinates are read by it.
std::string ChipOf(const std::string& script) {
    const std::string text = ReadAll(ScenePath(script));
    std::smatch found;
    std::regex_search(text, found, std::regex("\"chip\": *\"([a-z0-9-]+)\""));
    return found.size() == 2 ? found[1].str() : "";
}

class RecordedScript : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Scenes, RecordedScript, testing::ValuesIn(SceneScripts()), SceneTestName);

TEST_P(RecordedScript, ComesBackFromItsText) {
    const TemporaryFolder folder;
    const ToolResult replay = RunTool({"replay", ScenePath(GetParam()), "--words", folder / "words",
                                       "--events", folder / "events"});
    ASSERT_EQ(replay.code, 0) << replay.err;
    const std::string chip = ChipOf(GetParam());
    size_t texts = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with("events")) {
            continue;
        }
        ++texts;
        const std::string events = ReadAll(entry.path().string());
        const std::string words = ReadAll(folder / ("words" + name.substr(6)));
        const auto assembled = [&](const std::string& text, const char* form) {
            folder.Write("text", text);
            std::vector<std::string> arguments{"assemble",     folder / "text", "-o",
                                               folder / "out", "--form",        form};
            if (!chip.empty()) {
                arguments.insert(arguments.end(), {"--chip", chip});
            }
            const ToolResult result = RunTool(arguments);
            EXPECT_EQ(result.code, 0) << result.err;
            return ReadAll(folder / "out");
        };
        const std::string statements = CommentsAsStatements(events);
        EXPECT_TRUE(assembled(events, "words") == words);
        EXPECT_TRUE(assembled(statements, "words") == words);
        EXPECT_TRUE(assembled(statements, "events") == events);
        EXPECT_TRUE(assembled(events, "events") == events);
    }
    EXPECT_GE(texts, 1u);
}

TEST(Assemble, WritesLittleEndianWords) {
    const TemporaryFolder folder;
    const std::string text = folder.Write("t.txt", "Render Primitive=Trapezoid Fog=1 ; draws\n"
                                                   "w IntEnable DMA=1\n");
    const ToolResult result = RunTool({"assemble", text, "-o", folder / "t.words"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, folder / "t.words" + ": 2 words; register events left out: 1\n");
    EXPECT_EQ(ReadAll(folder / "t.words"), std::string("\x07\0\0\0\x40\x40\0\0", 8));
}

TEST(Assemble, ReadsStandardInputAndWritesStandardOutput) {
    const ShellResult output = Shell("printf 'dXDom = 0.5\\n' | '" KORV_TOOL
                                     "' assemble - -o - --form events 2>/dev/null");
    EXPECT_EQ(output.out, "f 00000001 ; dXDom\nf 00008000 ; dXDom = 0.5\n");
}

TEST(Assemble, TakesALastLineWithoutALineFeedAndLongLines) {
    const TemporaryFolder folder;
    std::string text = "Color = #000000";
    for (int i = 1; i < 40000; ++i) {
        text += ", #000000";
    }
    EXPECT_EQ(RunTool({"assemble", folder.Write("t.txt", text), "-o", folder / "w"}).code, 0);
    EXPECT_EQ(ReadAll(folder / "w").size(), 40001u * 4);
    const ToolResult result = RunTool(
        {"assemble", folder.Write("long.txt", std::string(2000000, ' ')), "-o", folder / "x"});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, testing::HasSubstr("it has a line of more than 1000000 bytes"));
}

TEST(Assemble, SaysWhereALineIsWrongAndLeavesNothing) {
    const TemporaryFolder folder;
    const std::string text = folder.Write("t.txt", "FogMode = 0\nRendr Fog=1\n");
    const ToolResult result = RunTool({"assemble", text, "-o", folder / "t.words"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err,
              "korv: " + text + ":2:1: unknown register 'Rendr': the nearest is 'Render'\n");
    EXPECT_EQ(folder.Files(), 1u);
}

} // namespace
} // namespace korv
