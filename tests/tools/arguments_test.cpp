// Command lines that are refused before anything is drawn, and help.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/commands/cli/draw_options.h"
#include "tools/korv/images/patterns.h"
#include "tools/korv/images/png.h"
#include "tools/korv/painting/canvas.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace korv {
namespace {

constexpr const char* kTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";

// Exit code 2 and exactly this one line on stderr.
void ExpectRefusal(const std::vector<std::string>& arguments, const std::string& line) {
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "korv: " + line + "\n");
}

TEST(Arguments, SizeIsWidthTimesHeight) {
    EXPECT_EQ(ParseSize("640x480"), (Extent{640, 480}));
    EXPECT_EQ(ParseSize("1x2048"), (Extent{1, 2048}));
    for (const char* bad : {"", "640", "640x", "x480", "640x480x2", "640 x 480", "a x b", "6e2x480",
                            "640X480", "99999999999x1"}) {
        EXPECT_THROW(ParseSize(bad), UserError) << bad;
    }
    for (const char* impossible : {"0x480", "640x0", "-1x5", "640x2049", "8192x10"}) {
        EXPECT_THROW(ParseSize(impossible), UserError) << impossible;
    }
}

TEST(Arguments, RawPixelFollowsTheFormat) {
    EXPECT_EQ(RawPixel(0xFFFF8040, host::Format555()), 0x7E08u);
    EXPECT_EQ(RawPixel(0xFFFF8040, host::Format565()), 0xFC08u);
    EXPECT_EQ(RawPixel(0xFFFF8040, host::FormatX888()), 0xFF8040u);
    EXPECT_EQ(RawPixel(0xFFFF8040, host::PaletteFormat(8)), 0xF1u);
}

TEST(Arguments, SizesAreRefusedByWhatIsWrong) {
    TemporaryFolder folder;
    const std::string out = folder / "demo";
    ExpectRefusal({"demo", "-o", out, "--size", "0x480"},
                  "impossible size 0x480: expected 1x1 to 8191x2048");
    ExpectRefusal({"demo", "-o", out, "--size", "640x2049"},
                  "impossible size 640x2049: expected 1x1 to 8191x2048");
    ExpectRefusal({"demo", "-o", out, "--size", "big"},
                  "bad size 'big': expected WIDTHxHEIGHT in pixels, as in 640x480");
    EXPECT_EQ(folder.Files(), 0u);
}

TEST(Arguments, UnknownNamesAreRefusedWithThoseThatExist) {
    TemporaryFolder folder;
    const std::string out = folder / "demo";
    ExpectRefusal({"demo", "-o", out, "--chip", "rainbow"},
                  "unknown chip 'rainbow': expected one of sx, tx, mx, permedia, sx-delta, "
                  "tx-delta, mx-delta, permedia-delta, permedia2");
    ExpectRefusal({"demo", "-o", out, "--scene", "teapot"},
                  "unknown scene 'teapot': expected one of knot, knot-flat, fog-floor, stipple, "
                  "blend, crossing, slivers, texture-floor, formats, sprites, tiles, "
                  "texture-blend, texture-fog, tunnel, landscape, wireframe, visibility, stretch, "
                  "keyed-blits, client, animation, video");
    ExpectRefusal({"info", "--chip", "SX"},
                  "unknown chip 'SX': expected one of sx, tx, mx, permedia, sx-delta, tx-delta, "
                  "mx-delta, permedia-delta, permedia2");
    ExpectRefusal({"model", "teapot", "-o", folder / "t.obj"},
                  "unknown model 'teapot': expected one of torus-knot, torus, icosphere, cube, "
                  "ripples");
    ExpectRefusal({"texture", "marble", "-o", folder / "t.png"},
                  "unknown texture 'marble': expected one of bricks, checker, letter, wheel, "
                  "stripes, face, ground");
    ExpectRefusal({"texture", "bricks", "--side", "100", "-o", folder / "t.png"},
                  "bad side 100: expected a power of two from 32 to 1024");
    EXPECT_EQ(folder.Files(), 0u);
}

TEST(Arguments, ScenesWithTexturesNeedAChipThatDrawsThem) {
    TemporaryFolder folder;
    ExpectRefusal(
        {"demo", "-o", folder / "demo", "--chip", "sx", "--chip", "tx", "--scene", "tiles"},
        "'tiles' needs a chip that draws textures: expected one of permedia, tx-delta, "
        "mx-delta, permedia-delta, permedia2");
    EXPECT_EQ(folder.Files(), 0u);
}

TEST(Arguments, BadModelsAreRefusedWithTheirLine) {
    TemporaryFolder folder;
    const std::string out = folder / "m.png";
    const std::string bad = folder.Write("bad.obj", "v 0 0 0\nv 1 0\n");
    ExpectRefusal({"render", bad, "--chip", "sx", "-o", out},
                  bad + ":2: 'v' has 2 numbers, expected 3");
    const std::string none = folder / "none.obj";
    ExpectRefusal({"render", none, "--chip", "sx", "-o", out},
                  "cannot read '" + none + "': No such file or directory");
    ExpectRefusal({"render", folder.Path(), "--chip", "sx", "-o", out},
                  "cannot read '" + folder.Path() + "': it is a folder, expected an OBJ model");
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST(Arguments, PictureMayNotReplaceItsModel) {
    TemporaryFolder folder;
    const std::string model = folder.Write("m.png", kTriangle);
    ExpectRefusal({"render", model, "--chip", "sx", "-o", model},
                  "'" + model + "' is also read: expected another name for the output");
    EXPECT_EQ(ReadAll(model), kTriangle);
}

TEST(Arguments, MisusedOptionsAreRefusedInOneLine) {
    const std::vector<std::vector<std::string>> lines{
        {},
        {"paint"},
        {"demo", "--depth", "24"},
        {"demo", "--depth", "many"},
        {"demo", "--subbuffers", "1"},
        {"demo", "--subbuffers", "33"},
        {"demo", "--fifo", "--subbuffers", "4"},
        {"demo", "--frobnicate"},
        {"render"},
        {"render", "x.obj", "-o", "x.png"},
        {"render", "x.obj", "--chip", "sx"},
        {"render", "x.obj", "--chip", "sx", "-o", "x.png", "--shade", "phong"},
        {"render", "x.obj", "--chip", "sx", "-o", "x.png", "--cull", "all"},
        {"render", "x.obj", "--chip", "sx", "-o", "x.png", "--zoom", "0"},
        {"render", "x.obj", "--chip", "sx", "-o", "x.png", "--filter", "cubic"},
        {"render", "x.obj", "--chip", "sx", "-o", "x.png", "--wrap", "border"},
        {"render", "x.obj", "--chip", "sx", "-o", "x.png", "--perspective", "maybe"},
        {"render", "x.obj", "--chip", "sx", "-o", "x.png", "--blend", "add"},
        {"render", "x.obj", "--chip", "sx", "-o", "x.png", "--texture"},
        {"info"},
        {"model", "cube"},
    };
    for (const auto& arguments : lines) {
        const ToolResult result = RunTool(arguments);
        const std::string shown = testing::PrintToString(arguments);
        EXPECT_EQ(result.code, 2) << shown;
        EXPECT_EQ(result.out, "") << shown;
        EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
        EXPECT_EQ(result.err.substr(0, 6), "korv: ") << result.err;
        EXPECT_NE(result.err.find("--help')"), std::string::npos) << result.err;
    }
}

TEST(Arguments, HelpGoesToStandardOutputWithExamples) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{{"--help"},
                                                                       {"demo", "--help"},
                                                                       {"render", "-h"},
                                                                       {"info", "--help"},
                                                                       {"texture", "--help"},
                                                                       {"model", "--help"}}) {
        const ToolResult result = RunTool(arguments);
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_NE(result.out.find("xample"), std::string::npos);
        EXPECT_NE(result.out.find("korv " + (arguments[0] == "--help" ? "demo" : arguments[0])),
                  std::string::npos);
    }
}

TEST(Arguments, EveryOptionIsExplained) {
    const std::string help = RunTool({"render", "--help"}).out;
    for (const char* option :
         {"--chip", "--size", "--depth", "--shade", "--zbuffer", "--fog", "--cull", "--texture",
          "--filter", "--wrap", "--perspective", "--blend", "--colorkey", "--texformat", "--fifo",
          "--subbuffers", "--words", "--events", "-o"}) {
        EXPECT_NE(help.find(option), std::string::npos) << option;
    }
}

TEST(Arguments, TextureCommandWritesTheTextureWithItsAlpha) {
    TemporaryFolder folder;
    for (const Pattern& pattern : NamedPatterns()) {
        const std::string path = folder / "t.png";
        const ToolResult result =
            RunTool({"texture", std::string(pattern.name), "--side", "64", "-o", path});
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_EQ(ReadPng(path).rgba, pattern.make(64).rgba) << pattern.name;
    }
}

TEST(Arguments, ModelCommandWritesTheModel) {
    TemporaryFolder folder;
    const ToolResult result = RunTool({"model", "cube", "-o", folder / "c.obj"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(ReadAll(folder / "c.obj").substr(0, 2), "# ");
    ExpectRefusal({"model", "cube", "-o", folder / "none/c.obj"},
                  "cannot write '" + (folder / "none/c.obj") + "': No such file or directory");
}

} // namespace
} // namespace korv
