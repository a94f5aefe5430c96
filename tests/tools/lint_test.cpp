// korv lint: rules by name, what it writes, and its exit code.
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace korv {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(LintCommand, TellsPlaceReasonAndRule) {
    const TemporaryFolder folder;
    folder.Write("t", "FogColor = #102030\nFogColor = #102030\nYUVMode Enable=1\n");
    ASSERT_EQ(RunTool({"assemble", folder / "t", "-o", folder / "w"}).code, 0);
    const ToolResult result = RunTool({"lint", folder / "w", "--chip", "tx"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "word:3: wasteful: FogColor is set to what it holds already [redundant-state]\n"
              "word:5: wrong: YUVMode is no register of the GLINT 500TX [unknown-register]\n" +
                  (folder / "w") + ": 1 wrong, 1 wasteful\n");
    const ToolResult less =
        RunTool({"lint", folder / "w", "--chip", "tx", "--without", "redundant-state"});
    EXPECT_EQ(less.code, 1);
    EXPECT_THAT(less.out, Not(HasSubstr("redundant-state")));
    EXPECT_EQ(RunTool({"lint", folder / "w", "--chip", "tx", "--only", "malformed-tag"}).code, 0);
    const auto report =
        nlohmann::json::parse(RunTool({"lint", folder / "w", "--chip", "tx", "--json"}).out);
    ASSERT_EQ(report["findings"].size(), 2u);
    EXPECT_EQ(report["findings"][1]["rule"], "unknown-register");
    EXPECT_EQ(report["findings"][1]["kind"], "wrong");
    EXPECT_EQ(report["findings"][1]["word"], 5);
    EXPECT_EQ(report["findings"][1]["place"], "word:5");
}

TEST(LintCommand, FindsNothingWrongInTriangles) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"replay", ScenePath("triangles-tx"), "--capture", folder / "c"}).code, 0);
    const ToolResult result = RunTool({"lint", folder / "c", "--without", "redundant-state"});
    EXPECT_EQ(result.code, 0) << result.out;
    EXPECT_EQ(result.out, (folder / "c") + ": nothing found\n");
}

TEST(LintCommand, RefusesRulesThatThereAreNot) {
    const TemporaryFolder folder;
    folder.Write("w", "12345678");
    const ToolResult result =
        RunTool({"lint", folder / "w", "--chip", "tx", "--without", "redundant"});
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, HasSubstr("unknown rule 'redundant': the nearest is '"));
    EXPECT_EQ(RunTool({"lint", folder / "w"}).code, 2);
}

} // namespace
} // namespace korv
