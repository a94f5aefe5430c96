// Random sessions: they find what is wrong, cut it down, and nothing is wrong.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/random/session.h"
#include "tools/korv/random/trial.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace korv {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

// As many as fit a common run; KORV_RANDOM_SESSIONS asks for more.
std::string Sessions(const char* usual) {
    const char* const wanted = std::getenv("KORV_RANDOM_SESSIONS");
    return wanted != nullptr ? wanted : usual;
}

TEST(RandomSessionTest, NothingIsWrongByAnyRoad) {
    const ToolResult result =
        RunTool({"replay", "--random", "1", "--sessions", Sessions("80"), "--steps", "60", "--dll",
                 KORV_DLL_PATH, "--save", testing::TempDir() + "random-legal.json"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, EndsWith("all as it must be\n"));
}

TEST(RandomSessionTest, NothingIsWrongWhereRulesAreBroken) {
    const ToolResult result =
        RunTool({"replay", "--random", "1", "--sessions", Sessions("40"), "--steps", "60",
                 "--illegal", "--save", testing::TempDir() + "random-illegal.json"});
    EXPECT_EQ(result.code, 0) << result.err;
}

TEST(RandomSessionTest, ASeedIsASession) {
    EXPECT_EQ(random::MakeSession(7, 50, false), random::MakeSession(7, 50, false));
    EXPECT_NE(random::MakeSession(7, 50, false), random::MakeSession(8, 50, false));
    EXPECT_GE(random::MakeSession(7, 50, false).size(), 50u);
}

TEST(RandomSessionTest, ASavedSessionIsAScript) {
    const TemporaryFolder folder;
    for (const char* seed : {"2", "3", "4", "5", "6"}) {
        const std::string script = folder / "kept.json";
        ASSERT_EQ(RunTool({"replay", "--random", seed, "--steps", "60", "--save", script}).code, 0);
        const ToolResult played = RunTool({"replay", script});
        EXPECT_EQ(played.code, 0) << played.err;
        EXPECT_EQ(RunTool({"replay", script, "--checks"}).code, 0);
    }
}

// A copy of depth that SX makes far outside its memories: DirectDraw never asks for one.
const random::Steps kOutside = {
    {{"do", "display"},
     {"name", "d"},
     {"chip", "sx-delta"},
     {"width", 256},
     {"height", 192},
     {"bits", 32},
     {"frameBufferBytes", 0x200000},
     {"localBufferBytes", 0x200000}},
    {{"do", "start"}, {"display", "d"}},
    {{"do", "surface"},
     {"name", "deep"},
     {"display", "d"},
     {"caps", "DDSCAPS_ZBUFFER"},
     {"width", 256},
     {"height", 192},
     {"format", "z16"}},
    {{"do", "blt"},
     {"surface", "deep"},
     {"from", "deep"},
     {"rect", {56, 16, 221, 182}},
     {"fromRect", {71, 2, 236, 168}}},
};

TEST(RandomSessionTest, AFindingIsCutDownToItsSteps) {
    random::Steps session = {kOutside[0], kOutside[1]};
    for (uint32_t i = 0; i < 12; ++i) {
        session.push_back({{"do", "surface"},
                           {"name", "s" + std::to_string(i)},
                           {"display", "d"},
                           {"caps", "DDSCAPS_OFFSCREENPLAIN"},
                           {"width", 8},
                           {"height", 8}});
        session.push_back(
            {{"do", "colorFill"}, {"surface", "s" + std::to_string(i)}, {"value", i}});
    }
    session.push_back(kOutside[2]);
    session.push_back({{"do", "finish"}, {"surface", "s3"}});
    session.push_back(kOutside[3]);
    session.push_back({{"do", "finish"}, {"surface", "s4"}});
    const random::TrialResult result = random::Try(session, {});
    ASSERT_TRUE(result.finding);
    EXPECT_EQ(result.finding->kind, "fault");
    EXPECT_EQ(result.finding->step, session.size() - 2);
    EXPECT_THAT(result.finding->text, HasSubstr("accesses outside the memories"));
    EXPECT_EQ(random::Shrink(session, *result.finding, {}, 300), kOutside);
}

TEST(RandomSessionTest, AScriptUnderChecksIsToldWithItsStep) {
    const TemporaryFolder folder;
    const std::string script = folder.Write("outside.json", random::ScriptText("Depth", kOutside));
    const ToolResult result = RunTool({"replay", script, "--checks"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.err, HasSubstr("outside.json: step 3 of 4 'blt': fault: display 'd': "));
}

TEST(RandomSessionTest, BadRequestsGetALine) {
    for (const char* line : {"", "--random x", "--random -1", "--random 1 --steps 0",
                             "--steps 5 script.json", "--random 1 script.json"}) {
        std::vector<std::string> arguments{std::string("replay")};
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            arguments.push_back(word);
        }
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 2) << line;
        EXPECT_NE(result.err, "") << line;
    }
}

} // namespace
} // namespace korv
