// Random sessions: they find what is wrong, cut it down, and nothing is wrong.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/random/session.h"
#include "tools/korv/random/trial.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace korv {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

// Short ones, a thousand in all, each by every road. A suite is a process of CTest, so that two
// play at once.
void ExpectNothingWrong(const char* seeds) {
    const ToolResult result =
        RunTool({"replay", "--random", seeds, "--steps", "10", "--dll", KORV_DLL_PATH});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, EndsWith("all as it must be\n"));
    EXPECT_THAT(result.out, HasSubstr("500 random sessions: "));
}

TEST(RandomSessionsTest, NothingIsWrongByAnyRoad) {
    ExpectNothingWrong("1-500");
}

TEST(MoreRandomSessionsTest, NothingIsWrongByAnyRoad) {
    ExpectNothingWrong("501-1000");
}

TEST(RandomSessionTest, NothingIsWrongInLongOnes) {
    const ToolResult result =
        RunTool({"replay", "--random", "1-10", "--steps", "100", "--dll", KORV_DLL_PATH});
    EXPECT_EQ(result.code, 0) << result.err;
}

TEST(RandomSessionTest, NothingIsWrongWhereRulesAreBroken) {
    const ToolResult result = RunTool({"replay", "--random", "1-40", "--steps", "60", "--illegal"});
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

// The driver's record of it goes too.
TEST(RandomSessionTest, ATextureOfTheDisplaysFormatInAGPMemoryIsLostWithIt) {
    const random::Steps session = {
        {{"do", "display"},
         {"name", "d"},
         {"chip", "permedia2"},
         {"width", 320},
         {"height", 200},
         {"bits", 16},
         {"agp", true}},
        {{"do", "start"}},
        {{"do", "agp"}, {"bytes", 65536}},
        {{"do", "surface"},
         {"name", "t"},
         {"caps", "DDSCAPS_TEXTURE|DDSCAPS_VIDEOMEMORY|DDSCAPS_NONLOCALVIDMEM"},
         {"width", 32},
         {"height", 16},
         {"format", "555"}},
        {{"do", "mode"}, {"width", 320}, {"height", 200}, {"bits", 32}},
        {{"do", "destroySurface"}, {"surface", "t"}}};
    const auto result = random::Try(session, {});
    EXPECT_FALSE(result.finding) << result.finding->text;
}

TEST(RandomSessionTest, DriversMayDifferInTheSignOfANaNAndInNothingElse) {
    using random::AlikeButForNaNs;
    EXPECT_TRUE(AlikeButForNaNs({1, 2}, {1, 2}, false));
    EXPECT_FALSE(AlikeButForNaNs({1, 2}, {1, 2, 3}, true));
    // A saturated slope, and a float.
    EXPECT_TRUE(AlikeButForNaNs({7, 0x80000000}, {7, 0x7FFFFFFF}, true));
    EXPECT_TRUE(AlikeButForNaNs({0x7FFFFFFF}, {0x80000000}, true));
    EXPECT_TRUE(AlikeButForNaNs({0x7FC00000}, {0xFFC00000}, true));
    EXPECT_FALSE(AlikeButForNaNs({0x80000000}, {0x7FFFFFFF}, false));
    EXPECT_FALSE(AlikeButForNaNs({0x7FC00000}, {0xFFC00000}, false));
    // Infinities and numbers have signs of their own.
    EXPECT_FALSE(AlikeButForNaNs({0x7F800000}, {0xFF800000}, true));
    EXPECT_FALSE(AlikeButForNaNs({0x3F800000}, {0xBF800000}, true));
    EXPECT_FALSE(AlikeButForNaNs({0x7FFFFFFE}, {0x80000000}, true));
    EXPECT_FALSE(AlikeButForNaNs({0x7FC00000}, {0xFFC00001}, true));
    EXPECT_FALSE(AlikeButForNaNs({0}, {0x80000000}, true));
}

TEST(RandomSessionTest, BadRequestsGetALine) {
    for (const char* line :
         {"", "--random x", "--random -1", "--random 1 --steps 0", "--random 5-3", "--random 1-",
          "--random 1-2 --save x.json", "--steps 5 script.json", "--random 1 script.json"}) {
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
