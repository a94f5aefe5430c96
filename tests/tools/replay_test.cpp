// HAL scripts: every one in scenes/ plays, and what is wrong with a script or its expectations is
// told with file, line and path.
#include "tests/tools/replay_rig.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/scene_scripts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace korv {
namespace {

class SceneScript : public testing::TestWithParam<std::string> {
  protected:
    void Play(const std::vector<std::string>& options) {
        const std::string path = ScenePath(GetParam());
        std::vector<std::string> arguments{"replay", path};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_EQ(result.err, "");
        EXPECT_NE(result.out.find("all as expected"), std::string::npos) << result.out;
    }
};

TEST_P(SceneScript, PlaysWithDma) {
    Play({});
}

TEST_P(SceneScript, PlaysThroughTheFifo) {
    Play({"--fifo"});
}

INSTANTIATE_TEST_SUITE_P(Scenes, SceneScript, testing::ValuesIn(SceneScripts()), SceneTestName);

TEST(SceneScripts, AreThere) {
    EXPECT_GE(SceneScripts().size(), 20u);
}

TEST_F(ReplayTest, AWrongRecordFieldPrintsStepFieldAndBothValues) {
    ExpectLine(
        Script({kDisplay, kStart,
                R"({"do": "check", "record": "DriverData", "expect": {"ScreenWidth": 65}})"}),
        1, "5: step /steps/2 'check': ScreenWidth: expected 0x41 (65), got 0x40 (64)");
}

TEST_F(ReplayTest, EveryWrongFieldOfAStepIsTold) {
    const ToolResult result = Replay(Script(
        {kDisplay, kStart,
         R"({"do": "check", "record": "ChipInfo", "expect": {"Family": 1, "DeviceId": 7}})"}));
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 2);
    EXPECT_NE(result.err.find("Family: expected 1, got 4"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("DeviceId: expected 7, got 4"), std::string::npos) << result.err;
}

TEST_F(ReplayTest, AWrongResultIsToldByName) {
    ExpectLine(
        Script({kDisplay, kStart, kMemory, R"({"do": "context", "name": "c", "target": "s"})"}), 1,
        "6: step /steps/3 'context': result: expected DD_OK, got D3DHAL_OUTOFCONTEXTS");
}

TEST_F(ReplayTest, AWrongPixelIsTold) {
    ExpectLine(Script({kDisplay, kStart, kMemory, R"({"do": "write", "surface": "s", "value": 5})",
                       R"({"do": "pixels", "surface": "s", "expect": {"1,2": 6}})"}),
               1, "7: step /steps/4 'pixels': 1,2: expected 6, got 5");
}

TEST_F(ReplayTest, AddressesAreToldByName) {
    ExpectLine(Script({kDisplay, kStart, kTarget, R"({"do": "advance", "microseconds": 40000})",
                       R"({"do": "lock", "surface": "t", "expect": {"address": {"surface": "t", )"
                       R"("offset": 16}}})"}),
               1, "7: step /steps/4 'lock': address: expected surface 't' + 0x10, got surface 't'");
}

// A flat white triangle from (1, 1) to (20, 1) and (1, 20) on Permedia: interpolation off, 5:5:5
// white twice in the block colour, rows 19 down to 1 with the long edge on the left and the other
// one wider by a pixel a row, interpolation on.
constexpr const char* kTriangleWords =
    R"("000000FC", "00000000", "00000159", "7FFF7FFF", "00FF8000", "00010000", "00000000", )"
    R"("00010000", "00010000", "00130000", "FFFF0000", "00000013", )"
    R"("d 00010048 ; Render = 10048", "000000FC", )";

TEST_F(ReplayTest, WordsOfAStepAreThoseItAddedWhetherTheyAreSentOrPending) {
    const std::string states =
        R"({"do": "states", "context": "c", "states": [["CULLMODE", "D3DCULL_NONE"], )"
        R"(["ZENABLE", 0], ["SHADEMODE", "D3DSHADE_FLAT"]]})";
    const auto script = [&](const std::string& lastWord) {
        const std::string expected = std::string(kTriangle) + ", \"expectWords\": [" +
                                     kTriangleWords + "\"" + lastWord + "\"]}";
        return Script({kDisplay, kStart, kTarget, kContext, states, std::string(kTriangle) + "}",
                       expected, expected});
    };
    for (const std::vector<std::string>& mode :
         {std::vector<std::string>{"--fifo"}, {"--subbuffers", "2"}, {"--subbuffers", "32"}}) {
        const ToolResult right = Replay(script("00000001"), mode);
        EXPECT_EQ(right.code, 0) << right.err;
        const ToolResult wrong = Replay(script("00000000"), mode);
        EXPECT_EQ(wrong.code, 1);
        EXPECT_EQ(wrong.err, "korv: " + path_ +
                                 ":9: step /steps/6 'triangles': expectWords: word 14 of 15: "
                                 "expected 00000000, got 00000001 (ColorDDAMode Enable=1; 15 words "
                                 "in all)\n");
    }
}

TEST_F(ReplayTest, NoWordsIsAnExpectationToo) {
    const std::string call =
        R"({"do": "call", "name": "RenderPrimitive", "fields": {"dwhContext": 5, )"
        R"("diInstruction": {"bOpcode": 3, "bSize": 8, "wCount": 0}}, "expectWords": []})";
    EXPECT_EQ(Replay(Script({kDisplay, kStart, kTarget, kContext, call})).code, 0);
}

TEST_F(ReplayTest, RegisterWritesAreComparedForTheRegistersNamed) {
    const std::string flip =
        R"({"do": "surface", "name": "p", "caps": "DDSCAPS_PRIMARYSURFACE", "backBuffers": 1},)"
        "\n"
        R"({"do": "advance", "microseconds": 40000},)"
        "\n"
        R"({"do": "flip", "surface": "p.1", "to": "p", "expectRegister": ["3000 )";
    // The screen's start, in units of eight bytes.
    EXPECT_EQ(Replay(Script({kDisplay, kStart, flip + "00000000\"]}"})).code, 0);
    const ToolResult wrong = Replay(Script({kDisplay, kStart, flip + "00000001\"]}"}));
    EXPECT_EQ(wrong.code, 1);
    EXPECT_NE(wrong.err.find("7: step /steps/4 'flip': expectRegister: write 0: expected 3000 "
                             "00000001, got 3000 00000000"),
              std::string::npos)
        << wrong.err;
}

TEST_F(ReplayTest, RecordingsAreThereAfterAFailureToo) {
    const std::string text = Script(
        {kDisplay, kStart, R"({"do": "check", "record": "ChipInfo", "expect": {"Family": 1}})"});
    EXPECT_EQ(Replay(text, {"--events", folder_ / "e.txt", "--words", folder_ / "w.bin"}).code, 1);
    EXPECT_FALSE(ReadAll(folder_ / "e.txt").empty());
    EXPECT_FALSE(ReadAll(folder_ / "w.bin").empty());
}

TEST_F(ReplayTest, PicturesGoToTheirFolder) {
    const std::string text = Script(
        {kDisplay, kStart, kMemory, R"({"do": "picture", "surface": "s", "file": "s.png"})"});
    EXPECT_EQ(Replay(text, {"--pictures", folder_ / "out"}).code, 0);
    EXPECT_EQ(ReadAll(folder_ / "out/s.png").substr(1, 3), "PNG");
}

TEST_F(ReplayTest, NoJsonIsToldWithItsLine) {
    const ToolResult result = Replay("{ \"version\": 1,\n\"steps\": [\n}\n");
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(result.err.starts_with("korv: " + path_ + ":3: no JSON: ")) << result.err;
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1);
}

TEST_F(ReplayTest, VersionsThatNobodyKnowsAreRefused) {
    ExpectLine("{\n\"version\": 2,\n\"steps\": [] }", 2,
               "2: /version: unknown version 2: this is a player of version 1");
    ExpectLine("{\n\"steps\": [] }", 2, "1: /: 'version' is missing");
}

TEST_F(ReplayTest, StepsThatNobodyKnowsAreRefused) {
    ExpectMalformed({kDisplay, R"({"do": "dance"})"}, "4: /steps/1/do: unknown step 'dance'");
    ExpectMalformed({R"({"name": "x"})"}, "3: /steps/0: 'do' is missing");
}

TEST_F(ReplayTest, FieldsThatNobodyKnowsAreRefused) {
    ExpectMalformed({kDisplay, "{\"do\": \"start\",\n\"disply\": \"main\"}"},
                    "5: /steps/1/disply: unknown field 'disply'");
    ExpectMalformed({kDisplay, R"({"do": "start", "expect": {"colour": 1}})"},
                    "4: /steps/1/expect/colour: a step 'start' has no outcome 'colour'");
    ExpectMalformed(
        {kDisplay, R"({"do": "check", "record": "ChipInfo", "expect": {"Nothing": 1}})"},
        "4: /steps/1/expect/Nothing: a step 'check' has no outcome 'Nothing'");
    ExpectMalformed({kDisplay, R"({"do": "start", "do": "start"})"}, "4: /steps/1/do: given twice");
}

TEST_F(ReplayTest, ValuesOfTheWrongTypeAreRefused) {
    ExpectMalformed({R"({"do": "display", "name": "main", "width": "wide"})"},
                    "3: /steps/0/width: expected a whole number, got a text");
    ExpectMalformed({R"({"do": "display", "name": "main", "chip": "rainbow"})"},
                    "3: /steps/0/chip: unknown chip 'rainbow': expected one of sx, tx, mx, "
                    "permedia, sx-delta, tx-delta, mx-delta, permedia-delta, permedia2");
    ExpectMalformed({kDisplay, kStart, R"({"do": "agp", "bytes": 1})"},
                    "5: /steps/2/bytes: 1 is out of range: expected 4096 to 67108864");
    ExpectMalformed({kDisplay, R"({"do": "start", "expectWords": ["0001004G"]})"},
                    "4: /steps/1/expectWords/0: '0001004G' is no word: expected eight "
                    "hexadecimal digits");
}

TEST_F(ReplayTest, NamesMustHaveBeenGiven) {
    ExpectMalformed({kStart}, "3: /steps/0: no step before this one makes a display");
    ExpectMalformed({kDisplay, kStart, kContext},
                    "5: /steps/2/target: no step before this one makes a surface 't'");
}

TEST_F(ReplayTest, IndicesMustFitTheVertices) {
    ExpectMalformed({kDisplay, kStart, kTarget, kContext,
                     std::string(kTriangle) + R"(, "triangles": [[0, 1, 3]]})"},
                    "7: /steps/4/triangles/0: there is no vertex 3: 3 are given");
}

TEST_F(ReplayTest, WhatIsGoneIsToldAtItsStep) {
    ExpectMalformed({kDisplay, kStart, kMemory, R"({"do": "destroySurface", "surface": "s"})",
                     R"({"do": "pixels", "surface": "s"})"},
                    "7: /steps/4: surface 's' is not there");
    ExpectMalformed({kDisplay, kTarget}, "4: /steps/1: display 'main' has not been started");
}

TEST_F(ReplayTest, ModesThatNoBoardHasAreRefused) {
    const ToolResult result = Replay(
        Script({R"({"do": "display", "name": "main", "chip": "permedia", "bits": 24})", kStart}));
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(result.err.starts_with("korv: " + path_ + ":3: /steps/0: ")) << result.err;
}

TEST_F(ReplayTest, MissingFilesAreTold) {
    const ToolResult none = RunTool({"replay", folder_ / "none.json"});
    EXPECT_EQ(none.code, 2);
    EXPECT_EQ(none.err, "korv: cannot read '" + (folder_ / "none.json") + "': no such file\n");

    const ToolResult model = Replay(
        Script({kDisplay, kStart, kTarget, kContext,
                R"({"do": "model", "context": "c", "file": "no.obj", "width": 9, "height": 9})"}));
    EXPECT_EQ(model.code, 2);
    EXPECT_TRUE(model.err.starts_with("korv: " + path_ + ":7: /steps/4/file: ")) << model.err;

    const ToolResult dll = Replay(Script({kDisplay}), {"--dll", folder_ / "none.dll"});
    EXPECT_EQ(dll.code, 2);
    EXPECT_NE(dll.err.find("none.dll"), std::string::npos) << dll.err;
}

} // namespace
} // namespace korv
