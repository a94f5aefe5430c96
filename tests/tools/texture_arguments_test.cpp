// `korv render` with textures: what it refuses, and that what it takes reaches the picture.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/commands/cli/texture_options.h"
#include "tools/korv/images/patterns.h"
#include "tools/korv/images/png.h"

#include <gtest/gtest.h>

namespace korv {
namespace {

// A square across the line of sight, which the tool is made to see from the side.
constexpr const char* kSquare = "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\n"
                                "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nf 1/1 2/2 3/3 4/4\n";

class TexturedRender : public testing::Test {
  protected:
    TexturedRender() {
        model_ = folder_.Write("m.obj", kSquare);
        image_ = folder_ / "t.png";
        WritePng(image_, LabelledChecker(64));
    }
    ToolResult Run(const std::vector<std::string>& more, const std::string& chip = "permedia") {
        std::vector<std::string> all{"render", model_, "--chip",  chip, "-o",     Out(),
                                     "--yaw",  "50",   "--pitch", "0",  "--size", "96x96"};
        all.insert(all.end(), more.begin(), more.end());
        return RunTool(all);
    }
    void ExpectRefusal(const ToolResult& result, const std::string& line) {
        EXPECT_EQ(result.code, kExitBadInput);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "korv: " + line + "\n");
        EXPECT_FALSE(std::filesystem::exists(Out()));
    }
    host::Picture Picture(const std::vector<std::string>& more) {
        const ToolResult result = Run(more);
        EXPECT_EQ(result.code, kExitOk) << result.err;
        EXPECT_EQ(result.err, "");
        return result.code == kExitOk ? ReadPng(Out()) : host::Picture{};
    }
    std::string Out() const { return folder_ / "out.png"; }

    TemporaryFolder folder_;
    std::string model_, image_;
};

TEST_F(TexturedRender, ColoursAreSixHexadecimalDigits) {
    EXPECT_EQ(ParseColour("FF00fe"), 0xFF00FEu);
    for (const char* bad : {"", "FF00F", "FF00FF0", "GG0000", "#FF00FF", "-12345", "0xFF00"}) {
        EXPECT_THROW(ParseColour(bad), UserError) << bad;
    }
    ExpectRefusal(Run({"--texture", image_, "--colorkey", "pink"}),
                  "bad colour 'pink': expected six hexadecimal digits, as in FF00FF");
}

TEST_F(TexturedRender, ImagesThatAreNoneAreRefused) {
    const std::string none = folder_ / "none.png";
    ExpectRefusal(Run({"--texture", none}),
                  "cannot read '" + none + "': No such file or directory");
    ExpectRefusal(Run({"--texture", folder_.Path()}),
                  "cannot read '" + folder_.Path() + "': it is a folder");
    ExpectRefusal(Run({"--texture", model_}),
                  "cannot read '" + model_ + "': unknown image type, expected a PNG");
    WritePng(image_, {6, 4, std::vector<uint8_t>(96, 255)});
    ExpectRefusal(Run({"--texture", image_}),
                  "a texture of 6x4 texels: expected sides that are powers of two, up to 2048");
}

TEST_F(TexturedRender, FormatsThatTheChipHasNotAreRefusedWithThoseItHas) {
    ExpectRefusal(Run({"--texture", image_, "--texformat", "pal8"}),
                  "no 'pal8' textures on the permedia board: expected one of rgb555, rgb888, pal4, "
                  "rgb332, argb1232, argb1555, argb4444, argb8888, rgb565");
}

TEST_F(TexturedRender, ChipsWithoutTexturesAreRefusedWithThoseThatHave) {
    const ToolResult result = Run({"--texture", image_}, "sx");
    EXPECT_EQ(result.err.substr(0, result.err.find(": expected one of ")),
              "korv: GLINT 300SX ('sx') draws no textures");
    EXPECT_NE(result.err.find("permedia"), std::string::npos);
    EXPECT_EQ(result.code, kExitBadInput);
}

TEST_F(TexturedRender, OptionsWithoutAnyImageAreRefused) {
    ExpectRefusal(Run({"--filter", "linear"}),
                  "'" + model_ +
                      "' names no image for its materials, expected --texture beside the "
                      "options for textures");
}

TEST_F(TexturedRender, ModelsWithoutCoordinatesAreRefused) {
    folder_.Write("m.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    ExpectRefusal(Run({"--texture", image_}),
                  "'" + model_ + "' has no texture coordinates ('vt') for some of its faces");
}

TEST_F(TexturedRender, ImagesOfMaterialsAreAsTheOneGivenForAll) {
    const host::Picture given = Picture({"--texture", image_});
    folder_.Write("m.mtl", "newmtl paint\nKd 0.85 0.75 0.6\nmap_Kd t.png\n");
    folder_.Write("m.obj", std::string("mtllib m.mtl\nusemtl paint\n") + kSquare);
    EXPECT_EQ(Picture({}).rgba, given.rgba);
    EXPECT_EQ(Run({}, "sx").code, kExitOk); // draws it plain
}

TEST_F(TexturedRender, EveryOptionReachesThePicture) {
    // The image twice each way.
    std::string twice = kSquare;
    twice.replace(twice.find("vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1"), 27,
                  "vt 0 0\nvt 2 0\nvt 2 2\nvt 0 2");
    folder_.Write("m.obj", twice);
    const std::vector<std::string> common{"--texture", image_};
    const host::Picture plain = Picture(common);
    for (const auto& [option, value] : {std::pair{"--filter", "linear"},
                                        {"--filter", "mipnearest"},
                                        {"--wrap", "mirror"},
                                        {"--wrap", "clamp"},
                                        {"--perspective", "off"},
                                        {"--blend", "decal"},
                                        {"--colorkey", "101010"},
                                        {"--texformat", "rgb332"}}) {
        auto arguments = common;
        arguments.insert(arguments.end(), {option, value});
        if (std::string(value) == "mipnearest") {
            // Levels are for chips with a setup unit.
            EXPECT_EQ(Picture(arguments).rgba, plain.rgba) << value;
            continue;
        }
        EXPECT_NE(Picture(arguments).rgba, plain.rgba) << option << " " << value;
    }
    // What is meant where nothing is said.
    auto spelt = common;
    spelt.insert(spelt.end(), {"--filter", "nearest", "--wrap", "repeat", "--perspective", "on",
                               "--blend", "modulate", "--texformat", "rgb565"});
    EXPECT_EQ(Picture(spelt).rgba, plain.rgba);
}

} // namespace
} // namespace korv
