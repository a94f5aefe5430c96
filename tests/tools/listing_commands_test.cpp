// korv dump, state and stats, as their users run them.
#include "tests/tools/captured_script.h"
#include "tests/tools/chip_names.h"
#include "tests/tools/tool_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace korv {
namespace {

using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> LinesOf(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

// Every script's capture is its dump.
class CapturedScript : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Scenes, CapturedScript, testing::ValuesIn(SceneScripts()), SceneTestName);

TEST_P(CapturedScript, ComesBackFromItsDump) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"replay", ScenePath(GetParam()), "--capture", folder / "c.korv"}).code, 0);
    int captures = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        if (entry.path().extension() != ".korv") {
            continue;
        }
        ++captures;
        const ToolResult dumped = RunTool({"dump", entry.path().string()});
        ASSERT_EQ(dumped.code, 0) << dumped.err;
        folder.Write("text", dumped.out);
        const ToolResult made = RunTool({"assemble", folder / "text", "-o", folder / "made"});
        ASSERT_EQ(made.code, 0) << made.err;
        EXPECT_TRUE(ReadAll(folder / "made") == ReadAll(entry.path().string()));
    }
    EXPECT_GE(captures, 1);
}

class CapturedDemo : public testing::TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Chips, CapturedDemo, testing::ValuesIn(AllChips()), SceneTestName);

TEST_P(CapturedDemo, ComesBackFromItsDump) {
    const TemporaryFolder folder;
    const ToolResult demo = RunTool({"demo", "-o", folder / "pictures", "--chip", GetParam(),
                                     "--size", "64x48", "--capture", folder / "captures"});
    ASSERT_EQ(demo.code, 0) << demo.err;
    int captures = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "captures")) {
        ++captures;
        folder.Write("text", RunTool({"dump", entry.path().string()}).out);
        ASSERT_EQ(RunTool({"assemble", folder / "text", "-o", folder / "made"}).code, 0);
        EXPECT_TRUE(ReadAll(folder / "made") == ReadAll(entry.path().string())) << entry.path();
    }
    EXPECT_GE(captures, 10);
}

class Listings : public CapturedTriangles {
  protected:
    static std::string Out(std::vector<std::string> arguments) {
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 0) << result.err;
        return result.out;
    }
};

TEST_F(Listings, DumpOfWordsIsTheirEventText) {
    const std::string text = Out({"dump", Words(), "--chip", "tx"});
    EXPECT_EQ(LinesOf(text).size(), ReadAll(Words()).size() / 4);
    folder_->Write("text", text);
    ASSERT_EQ(RunTool({"assemble", *folder_ / "text", "-o", *folder_ / "again"}).code, 0);
    EXPECT_TRUE(ReadAll(*folder_ / "again") == ReadAll(Words()));
    EXPECT_EQ(RunTool({"dump", Words()}).code, 2);
}

// What a part says is what the whole says there, in the middle of a burst too.
TEST_F(Listings, DumpOfAPartIsPartOfTheWhole) {
    const auto whole = LinesOf(Out({"dump", Words(), "--chip", "tx"}));
    for (const size_t from : {1u, 97u, 98u, 99u, 250u, 1003u}) {
        const auto part = LinesOf(Out({"dump", Words(), "--chip", "tx", "--from",
                                       std::to_string(from), "--to", std::to_string(from + 9)}));
        EXPECT_EQ(part, std::vector(whole.begin() + static_cast<long>(from),
                                    whole.begin() + static_cast<long>(from) + 9));
    }
}

TEST_F(Listings, DumpShowsOnlyWhatIsAskedFor) {
    const auto words = LinesOf(Out({"dump", Words(), "--chip", "tx"}));
    size_t renders = 0;
    for (const std::string& line : words) {
        renders += line.find("; Render ") != line.npos || line.find("; Render=") != line.npos;
    }
    const auto lines = LinesOf(Out({"dump", Words(), "--chip", "tx", "--only", "Render"}));
    ASSERT_EQ(lines.size(), renders);
    // The column in front leads back to the word.
    for (const std::string& line : lines) {
        ASSERT_THAT(line, StartsWith("word:"));
        const size_t number = std::stoul(line.substr(5));
        EXPECT_EQ(words.at(number), line.substr(14));
    }
    EXPECT_THAT(LinesOf(Out({"dump", Capture(), "--only", "call"})),
                Each(HasSubstr(" mark call \"")));
    EXPECT_THAT(LinesOf(Out({"dump", "--only", "store", Capture()})), Not(testing::IsEmpty()));
    for (const std::string& line :
         LinesOf(Out({"dump", Words(), "--chip", "tx", "--only", "Fog", "--changes"}))) {
        const std::string meaning = line.substr(27);
        EXPECT_THAT(meaning.substr(0, meaning.find_first_of(" =")),
                    testing::AnyOf("FogMode", "FogColor", "FStart", "dFdx", "dFdyDom"));
    }
}

// Against a plain walk over the listing of everything.
TEST_F(Listings, DumpOfChangesLeavesRepetitionsOut) {
    std::map<std::string, std::string> held;
    std::vector<std::string> expected;
    const std::vector<std::string> commands = {"Render", "Sync", "ContinueNewLine"};
    for (const std::string& line :
         LinesOf(Out({"dump", Words(), "--chip", "tx", "--only", "Rasteriser,Fog,LocalBuffer"}))) {
        const std::string meaning = line.substr(27);
        const std::string name = meaning.substr(0, meaning.find_first_of(" ="));
        if (name == "Render" || name.starts_with("Continue") || name.starts_with("Wait")) {
            expected.push_back(line);
        } else if (!held.contains(name) || held[name] != line.substr(16, 8)) {
            held[name] = line.substr(16, 8);
            expected.push_back(line);
        }
    }
    EXPECT_EQ(LinesOf(Out({"dump", Words(), "--chip", "tx", "--only", "Rasteriser,Fog,LocalBuffer",
                           "--changes"})),
              expected);
}

TEST_F(Listings, DumpIsJsonLinesToo) {
    size_t words = 0;
    for (const std::string& line : LinesOf(Out({"dump", Capture(), "--json"}))) {
        const auto json = nlohmann::json::parse(line);
        words += json["kind"] == "fifo" || json["kind"] == "dma";
        EXPECT_TRUE(json.contains("event") && json.contains("word"));
    }
    EXPECT_EQ(words, ReadAll(Words()).size() / 4);
}

// The primitives of the summary are those that the capture's own marks tell.
TEST_F(Listings, SummaryHasEachCallBatchAndPrimitive) {
    std::vector<std::string> marked;
    size_t calls = 0, batches = 0;
    for (const std::string& line : LinesOf(Out({"dump", Capture(), "--only", "mark", "--json"}))) {
        const auto json = nlohmann::json::parse(line);
        calls += json["mark"] == "call";
        batches += json["mark"] == "batch";
        if (json["mark"] == "primitives") {
            std::istringstream texts(json["fields"]["words"].get<std::string>());
            for (std::string text; texts >> text;) {
                marked.push_back(text);
            }
        }
    }
    std::vector<std::string> told;
    size_t toldCalls = 0, toldBatches = 0;
    for (const std::string& line : LinesOf(Out({"dump", Capture(), "--summary", "--json"}))) {
        const auto json = nlohmann::json::parse(line);
        toldCalls += json["kind"] == "call";
        toldBatches += json["kind"] == "batch";
        if (json["kind"] == "primitive") {
            told.push_back(std::to_string(json["word"].get<int>()) + "+" +
                           std::to_string(json["words"].get<int>()));
        }
    }
    EXPECT_EQ(toldCalls, calls);
    EXPECT_EQ(toldBatches, batches);
    EXPECT_GT(marked.size(), 10u);
    // Words of nobody's, as of a change of context, may draw besides.
    for (const std::string& one : marked) {
        EXPECT_THAT(told, testing::Contains(one));
    }
    EXPECT_THAT(Out({"dump", Capture(), "--summary"}), HasSubstr("; Render "));
}

TEST_F(Listings, StateTellsRegistersAndDifferences) {
    const std::string text = Out({"state", Capture(), "--at", "batch:3"});
    EXPECT_THAT(text, StartsWith("At word:263 (batch:3, "));
    EXPECT_THAT(text, HasSubstr("\nRasteriser\n"));
    const auto before = nlohmann::json::parse(Out({"state", Capture(), "--at", "260", "--json"}));
    const auto after = nlohmann::json::parse(Out({"state", Capture(), "--at", "2000", "--json"}));
    const auto differences =
        nlohmann::json::parse(Out({"state", Capture(), "--at", "260", "--diff", "2000", "--json"}));
    ASSERT_EQ(before["registers"].size(), after["registers"].size());
    nlohmann::json expected = nlohmann::json::array();
    const auto rawOf = [](const nlohmann::json& json) { return json["raw"]; };
    size_t next = 0;
    for (size_t i = 0; i < before["registers"].size(); ++i) {
        const auto &was = before["registers"][i], &is = after["registers"][i];
        if (rawOf(was) != rawOf(is)) {
            ASSERT_LT(next, differences["registers"].size());
            const auto& told = differences["registers"][next++];
            EXPECT_EQ(told["name"], was["name"]);
            EXPECT_EQ(rawOf(told["before"]), rawOf(was));
            EXPECT_EQ(rawOf(told["after"]), rawOf(is));
        }
    }
    EXPECT_EQ(next, differences["registers"].size());
    EXPECT_GT(next, 5u);
    EXPECT_THAT(Out({"state", Capture(), "--at", "start", "--diff", "start"}),
                HasSubstr("no register differs"));
}

TEST_F(Listings, StatsCountTheWords) {
    const auto json = nlohmann::json::parse(Out({"stats", Capture(), "--json"}));
    EXPECT_EQ(json["all"]["words"], ReadAll(Words()).size() / 4);
    EXPECT_EQ(
        nlohmann::json::parse(Out({"stats", Words(), "--chip", "tx", "--json"}))["all"]["data"],
        json["all"]["data"]);
    EXPECT_THAT(Out({"stats", Capture()}), HasSubstr("\nRender "));
    EXPECT_GT(json["all"]["drawn"]["kinds"]["trapezoids"]["written"], 1000);
    EXPECT_THAT(Out({"stats", Capture()}), HasSubstr("\ntrapezoids "));
    EXPECT_THAT(Out({"stats", Capture(), "--words-only"}), Not(HasSubstr("trapezoids")));
}

struct BadCall {
    std::vector<std::string> arguments;
    const char* line;
};

TEST_F(Listings, TellWhatIsWrongInALine) {
    const std::string capture = Capture();
    for (const BadCall& bad : {
             BadCall{{"dump", capture, "--from", "call:x"}, "bad place 'call:x'"},
             BadCall{{"dump", capture, "--from", "99999999"}, "has no word:99999999"},
             BadCall{{"dump", capture, "--to", "frame:9999"}, "has no frame:9999"},
             BadCall{{"dump", capture, "--only", "Rendr"}, "the nearest is 'Render'"},
             BadCall{{"dump", capture, "--summary", "--changes"}, "goes with neither"},
             BadCall{{"dump", capture, "--chip", "tx"}, "which knows its chip"},
             BadCall{{"dump", *folder_ / "none"}, "cannot read"},
             BadCall{{"dump", ScenePath("triangles-tx")}, "it is no capture"},
             BadCall{{"state", capture, "--at", "step:9999"}, "has no step:9999"},
             BadCall{{"state", capture, "--diff", "mark:none"}, "has no mark:none"},
             BadCall{{"stats", *folder_ / "none"}, "cannot read"},
         }) {
        const ToolResult result = RunTool(bad.arguments);
        EXPECT_EQ(result.code, 2) << result.out;
        EXPECT_THAT(result.err, HasSubstr(bad.line));
        EXPECT_EQ(LinesOf(result.err).size(), 1u) << result.err;
    }
}

// A reader that leaves ends them as it ends git: by the signal, and nothing is said.
TEST_F(Listings, EndSilentlyWhenNobodyReads) {
    const std::string pipe = *folder_ / "pipe";
    for (const char* const command : {"dump", "dump --summary", "dump --json", "stats", "state",
                                      "lint", "why --json", "diff"}) {
        std::string line = std::string(command) + " " + Capture();
        line += std::string(command).starts_with("why")    ? " 100,50"
                : std::string(command).starts_with("diff") ? " " + Words() + " --chip tx"
                                                           : "";
        // A pipe that has had a reader, and has none.
        const ShellResult result = Shell("rm -f " + pipe + "; mkfifo " + pipe + "; exec 3<>" +
                                         pipe + " 4>" + pipe + " 3<&-; korv " + line + " 2>&1 >&4");
        EXPECT_EQ(result.code, 128 + 13) << line;
        EXPECT_EQ(result.out, "") << line;
    }
}

// On a terminal, which `script` gives to the command: through the pager, in colours.
TEST_F(Listings, HaveAPagerAndColoursOnATerminal) {
    if (Shell("command -v script >/dev/null").code != 0) {
        GTEST_SKIP() << "no script(1)";
    }
    const auto typed = [](const std::string& environment, const std::string& command) {
        return Shell("env -u NO_COLOR -u PAGER TERM=xterm " + environment +
                     " script -qec '" KORV_TOOL " " + command + "' /dev/null </dev/null")
            .out;
    };
    const std::string command = "dump " + Capture() + " --only step";
    EXPECT_THAT(typed("KORV_PAGER=cat", command), HasSubstr("\033["));
    EXPECT_THAT(typed("KORV_PAGER=cat NO_COLOR=1", command), Not(HasSubstr("\033[")));
    EXPECT_THAT(typed("KORV_PAGER=cat TERM=dumb", command), Not(HasSubstr("\033[")));
    EXPECT_THAT(typed("PAGER=\"sed s/step/STEP/\"", command), HasSubstr("mark STEP"));
    EXPECT_THAT(typed("PAGER=\"sed s/wasteful/WASTE/\"", "lint " + Capture()),
                HasSubstr("\033[35mWASTE\033[m"));
    EXPECT_THAT(typed("KORV_PAGER=cat", "why " + Capture() + " 100,50"),
                HasSubstr("\033[32mpassed\033[m"));
    EXPECT_THAT(typed("KORV_PAGER=cat", "diff " + Capture() + " " + Words() + " --chip tx"),
                HasSubstr("\033[31m- "));
    // The reader leaves at once: no complaint.
    EXPECT_EQ(typed("PAGER=true", "dump " + Capture()), "");
    EXPECT_THAT(Out({"dump", Capture(), "--only", "step"}), Not(HasSubstr("\033[")));
}

} // namespace
} // namespace korv
