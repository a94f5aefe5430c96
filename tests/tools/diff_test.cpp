// korv diff: what it writes, and its exit code.
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/images/png.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace korv {
namespace {

using testing::HasSubstr;

// A rectangle in one colour; `more` stands before it is drawn.
std::string Rectangle(const TemporaryFolder& folder, const std::string& name,
                      const std::string& colour, const std::string& more = "") {
    folder.Write(name + ".txt",
                 "FBReadPixel = 16bit\nFBReadMode PartialProduct0=256 PartialProduct1=64\n"
                 "FBWriteMode Enable=1\nColorDDAMode Enable=1\n"
                 "DitherMode UnitEnable=1 ColorFormat=1:5:5:5 ColorOrder=1\n" +
                     more + "ConstantColor = " + colour +
                     "\nStartXDom = 10\nStartXSub = 60\ndY = 1\nStartY = 20\n"
                     "Count = 30\nRender Primitive=Trapezoid\n");
    const ToolResult made =
        RunTool({"assemble", folder / (name + ".txt"), "-o", folder / name, "--chip", "permedia"});
    EXPECT_EQ(made.code, 0) << made.err;
    return folder / name;
}

TEST(DiffCommand, NamesRegistersFieldsAndPlaces) {
    const TemporaryFolder folder;
    const std::string a = Rectangle(folder, "a", "#FF0000");
    const std::string b = Rectangle(folder, "b", "#00FF00", "FogMode Enable=1\n");
    const ToolResult result = RunTool({"diff", a, b, "--chip", "permedia"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "--- " + a + "\n+++ " + b +
                              "\n"
                              "@@ word:11 | word:11 @@\n"
                              "+ FogMode Enable=1\n"
                              "- ConstantColor = #FF0000FF\n"
                              "+ ConstantColor = #00FF00FF\n"
                              "1 place: 1 changed, 0 only in the first, 1 only in the second; 11 "
                              "writes are the same\n");
    const ToolResult same = RunTool({"diff", a, a, "--chip", "permedia"});
    EXPECT_EQ(same.code, 0);
    EXPECT_EQ(same.out, "equal: 12 writes\n");
    EXPECT_EQ(RunTool({"diff", a, b, "--chip", "permedia", "--ignore", "FogMode", "--ignore",
                       "ConstantColor"})
                  .code,
              0);
}

TEST(DiffCommand, TellsProgramsTheSame) {
    const TemporaryFolder folder;
    const std::string a = Rectangle(folder, "a", "#FF0000");
    const std::string b = Rectangle(folder, "b", "#00FF00");
    const ToolResult result = RunTool({"diff", a, b, "--chip", "permedia", "--json", "--state"});
    EXPECT_EQ(result.code, 1);
    const auto report = nlohmann::json::parse(result.out);
    EXPECT_EQ(report["equal"], false);
    EXPECT_EQ(report["compared"], "state");
    ASSERT_EQ(report["differences"].size(), 1u);
    const auto change = report["differences"][0]["changes"][0];
    EXPECT_EQ(change["register"], "ConstantColor");
    EXPECT_EQ(change["b"]["text"], "ConstantColor = #00FF00FF");
    const auto place = report["differences"][0]["a"];
    EXPECT_EQ(place["word"], 23);
    EXPECT_EQ(place["place"], "word:23");
    EXPECT_EQ(place["batch"], nullptr);
}

TEST(DiffCommand, PutsPicturesBesideEachOther) {
    const TemporaryFolder folder;
    const std::string a = Rectangle(folder, "a", "#FF0000");
    const std::string b = Rectangle(folder, "b", "#00FF00");
    const ToolResult result = RunTool(
        {"diff", a, b, "--chip", "permedia", "--size", "320x200", "--pictures", folder / "p.png"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, HasSubstr("the pictures differ in 1500 pixels, by 255 of 255 at most"));
    const host::Picture picture = ReadPng(folder / "p.png");
    EXPECT_GE(picture.width, 3 * 320u);
    EXPECT_GE(picture.height, 200u);
}

TEST(DiffCommand, OfACaptureWithItsWords) {
    const TemporaryFolder folder;
    ASSERT_EQ(RunTool({"replay", ScenePath("triangles-tx"), "--capture", folder / "c", "--words",
                       folder / "w", "--fifo"})
                  .code,
              0);
    ASSERT_EQ(RunTool({"replay", ScenePath("triangles-tx"), "--capture", folder / "d"}).code, 0);
    EXPECT_EQ(RunTool({"diff", folder / "c", folder / "c"}).code, 0);
    EXPECT_EQ(RunTool({"diff", folder / "c", folder / "w", "--chip", "tx", "--first"}).code, 1);
    const ToolResult pictures =
        RunTool({"diff", folder / "c", folder / "d", "--pictures", folder / "p.png"});
    EXPECT_THAT(pictures.out, testing::Not(HasSubstr("the pictures differ")));
}

TEST(DiffCommand, TellsWhatIsWrong) {
    const TemporaryFolder folder;
    const std::string a = Rectangle(folder, "a", "#FF0000");
    const auto refused = [&](std::vector<std::string> arguments, const std::string& line) {
        arguments.insert(arguments.begin(), "diff");
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.err, HasSubstr(line));
        EXPECT_EQ(std::ranges::count(result.err, '\n'), 1);
    };
    refused({a}, "'diff' needs B");
    refused({a, a}, "raw words need '--chip'");
    refused({a, folder / "none", "--chip", "tx"}, "cannot read '");
    refused({a, a, "--chip", "tx", "--ignore", "FogColr"}, "the nearest is 'FogColor'");
    refused({a, a, "--chip", "tx", "--pictures", folder / "p.png", "--at", "frame:3"},
            "has no frame:3");
    refused({a, a, "--chip", "tx", "--pictures", folder / "p.gif"}, "p.gif");
}

} // namespace
} // namespace korv
