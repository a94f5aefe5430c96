// Whole commands on the software boards.
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace korv {
namespace {

TEST(Demo, WritesAPictureForEachChipAndSceneAndASheet) {
    TemporaryFolder folder;
    const ToolResult result =
        RunTool({"demo", "-o", folder / "d", "--size", "64x48", "--scene", "crossing", "--scene",
                 "stipple", "--chip", "sx", "--chip", "permedia"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "4 pictures in " + (folder / "d") + ", all on one sheet in " +
                              (folder / "d/contact-sheet.png") + "\n");
    for (const char* name :
         {"sx-crossing", "sx-stipple", "permedia-crossing", "permedia-stipple", "contact-sheet"}) {
        EXPECT_EQ(ReadAll(folder / "d/" + name + ".png").substr(1, 3), "PNG") << name;
    }
}

TEST(Demo, PictureIsTheSameByFifoAndByDmaWithAnyNumberOfSubBuffers) {
    const std::vector<std::vector<std::string>> roads{
        {"--fifo"}, {"--subbuffers", "2"}, {"--subbuffers", "8"}};
    // Every third pair: each board and each scene has its turns.
    size_t pair = 0;
    for (const ChipChoice& choice : Chips()) {
        for (const Scene& scene : Scenes()) {
            if (!CanDraw(choice, scene) || pair++ % 3 != 0) {
                continue;
            }
            const std::string_view chip = choice.name;
            SCOPED_TRACE(std::string(chip) + " " + std::string(scene.name));
            TemporaryFolder folder;
            std::vector<std::string> pictures;
            for (const auto& road : roads) {
                std::vector<std::string> arguments{"demo",
                                                   "-o",
                                                   folder.Path(),
                                                   "--size",
                                                   "64x48",
                                                   "--chip",
                                                   std::string(chip),
                                                   "--scene",
                                                   std::string(scene.name)};
                arguments.insert(arguments.end(), road.begin(), road.end());
                const ToolResult result = RunTool(arguments);
                ASSERT_EQ(result.code, 0) << result.err;
                EXPECT_EQ(result.err, "");
                pictures.push_back(
                    ReadAll(folder / (std::string(chip) + "-" + std::string(scene.name) + ".png")));
            }
            EXPECT_EQ(pictures[0], pictures[1]);
            EXPECT_EQ(pictures[0], pictures[2]);
        }
    }
}

TEST(Demo, LeavesCellsEmptyWhereAChipHasNoTextures) {
    TemporaryFolder folder;
    const ToolResult result =
        RunTool({"demo", "-o", folder / "d", "--size", "64x48", "--scene", "tiles", "--scene",
                 "crossing", "--chip", "sx", "--chip", "permedia"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out.substr(0, 10), "3 pictures");
    EXPECT_TRUE(std::filesystem::exists(folder / "d/permedia-tiles.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "d/sx-tiles.png"));
}

TEST(Demo, RecordsAFileForEachPicture) {
    TemporaryFolder folder;
    const ToolResult result =
        RunTool({"demo", "-o", folder / "d", "--size", "64x48", "--scene", "stipple", "--chip",
                 "sx", "--chip", "tx", "--words", folder / "w.bin"});
    EXPECT_EQ(result.code, 0) << result.err;
    for (const char* name : {"w-sx-stipple.bin", "w-tx-stipple.bin"}) {
        const std::string words = ReadAll(folder / name);
        EXPECT_GT(words.size(), 100u);
        EXPECT_EQ(words.size() % 4, 0u);
    }
}

TEST(Render, DrawsAShippedModelOnEachChip) {
    TemporaryFolder folder;
    RunTool({"model", "icosphere", "-o", folder / "m.obj"});
    for (const ChipChoice& choice : Chips()) {
        for (const char* depth : {"8", "16", "32"}) {
            const std::string chip(choice.name);
            const ToolResult result =
                RunTool({"render", folder / "m.obj", "--chip", chip, "--depth", depth, "--size",
                         "80x60", "--zbuffer", "-o", folder / "m.png"});
            EXPECT_EQ(result.code, 0) << chip << " " << depth << ": " << result.err;
            EXPECT_EQ(result.err, "") << chip << " " << depth;
            EXPECT_EQ(ReadAll(folder / "m.png").substr(1, 3), "PNG");
        }
    }
}

TEST(Render, SortedTrianglesShowTheSameAsTheDepthBuffer) {
    TemporaryFolder folder;
    RunTool({"model", "icosphere", "-o", folder / "m.obj"});
    const std::vector<std::string> common{"render", folder / "m.obj", "--chip", "tx", "--size",
                                          "80x60",  "--cull",         "cw",     "-o"};
    auto sorted = common, tested = common;
    sorted.push_back(folder / "sorted.png");
    tested.insert(tested.end(), {folder / "tested.png", "--zbuffer"});
    EXPECT_EQ(RunTool(sorted).code, 0);
    EXPECT_EQ(RunTool(tested).code, 0);
    EXPECT_EQ(ReadAll(folder / "sorted.png"), ReadAll(folder / "tested.png"));
}

TEST(Render, RecordsEventsWithMeanings) {
    TemporaryFolder folder;
    RunTool({"model", "icosphere", "-o", folder / "m.obj"});
    const ToolResult result =
        RunTool({"render", folder / "m.obj", "--chip", "sx", "--size", "64x48", "--events",
                 folder / "e.txt", "--words", folder / "w.bin", "--fifo", "-o", folder / "m.png"});
    EXPECT_EQ(result.code, 0) << result.err;
    const std::string events = ReadAll(folder / "e.txt");
    EXPECT_NE(events.find("StartXDom"), std::string::npos);
    size_t words = 0;
    for (size_t at = events.find("\nf "); at != events.npos; at = events.find("\nf ", at + 1)) {
        ++words;
    }
    words += events.starts_with("f ");
    EXPECT_EQ(ReadAll(folder / "w.bin").size(), words * 4);
}

TEST(Render, WhatTheBoardCannotHoldIsToldByItsResult) {
    TemporaryFolder folder;
    RunTool({"model", "cube", "-o", folder / "m.obj"});
    const ToolResult result = RunTool({"render", folder / "m.obj", "--chip", "permedia", "--size",
                                       "2000x1500", "--depth", "32", "-o", folder / "m.png"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
    EXPECT_EQ(folder.Files(), 1u);
}

TEST(Render, UnwritableOutputLeavesNothing) {
    TemporaryFolder folder;
    RunTool({"model", "cube", "-o", folder / "m.obj"});
    const ToolResult result = RunTool({"render", folder / "m.obj", "--chip", "sx", "--size",
                                       "64x48", "-o", folder / "none/m.png"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err,
              "korv: cannot write '" + (folder / "none/m.png") + "': No such file or directory\n");
    EXPECT_EQ(folder.Files(), 1u);
}

TEST(Info, ListsEveryChip) {
    for (const ChipChoice& chip : Chips()) {
        const ToolResult result = RunTool({"info", "--chip", std::string(chip.name)});
        EXPECT_EQ(result.code, 0) << chip.name << ": " << result.err;
        EXPECT_NE(result.out.find("DDCAPS_3D\n"), std::string::npos) << chip.name;
        EXPECT_NE(result.out.find("D3DDEVCAPS_FLOATTLVERTEX\n"), std::string::npos) << chip.name;
    }
}

TEST(Info, TellsTheChipsApart) {
    const std::string sx = RunTool({"info", "--chip", "sx"}).out;
    const std::string permedia = RunTool({"info", "--chip", "permedia"}).out;
    EXPECT_NE(sx.find("Texture formats: 0\n"), std::string::npos);
    EXPECT_NE(sx.find("  dwDestBlendCaps                0x000000FF\n"), std::string::npos);
    EXPECT_NE(permedia.find("Texture formats: 5\n  RGB555, 16 bits\n  PAL4, 4 bits\n  ARGB1555, "
                            "16 bits\n  ARGB4444, 16 bits\n  RGB565, 16 bits\n"),
              std::string::npos);
    EXPECT_NE(permedia.find("  dwDestBlendCaps                0x00000023\n"), std::string::npos);
    EXPECT_NE(permedia.find("  dwZBufferBitDepths             0x00000400\n    DDBD_16\n"),
              std::string::npos);
}

} // namespace
} // namespace korv
