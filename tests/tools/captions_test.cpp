// Captions of pictures, remarks on the contact sheet, pictures of differences.
#include "tests/tools/recording_painter.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/temporary_folder.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/chips/chips.h"
#include "tools/korv/images/captions.h"
#include "tools/korv/images/contact_sheet.h"
#include "tools/korv/images/difference.h"
#include "tools/korv/images/png.h"
#include "tools/korv/images/text.h"
#include "tools/korv/scenes/scene.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace korv {
namespace {

// Every pixel tells its place.
host::Picture Numbered(uint32_t width, uint32_t height) {
    host::Picture picture{width, height, {}};
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            picture.rgba.insert(picture.rgba.end(),
                                {static_cast<uint8_t>(x), static_cast<uint8_t>(y), 7, 255});
        }
    }
    return picture;
}

size_t WhitePixels(const host::Picture& picture, uint32_t left, uint32_t top, uint32_t right,
                   uint32_t bottom) {
    size_t count = 0;
    for (uint32_t y = top; y < bottom; ++y) {
        for (uint32_t x = left; x < right; ++x) {
            count += picture.At(x, y) == std::array<uint8_t, 4>{255, 255, 255, 255};
        }
    }
    return count;
}

TEST(Captions, StandAboveTheRowsOfCellsWhosePixelsAreAllKept) {
    const host::Picture picture = Numbered(200, 90);
    const host::Picture named = Captioned(picture, {2, {"a", "b", "c", "d", "e"}});
    ASSERT_EQ(named.width, 200u);
    const uint32_t strip = (named.height - 90) / 3;
    EXPECT_EQ(strip * 3 + 90, named.height);
    EXPECT_GE(strip, TextHeight(kLargeText));
    for (uint32_t y = 0; y < 90; ++y) {
        for (uint32_t x = 0; x < 200; ++x) {
            ASSERT_EQ(named.At(x, y + (y / 30 + 1) * strip), picture.At(x, y)) << x << " " << y;
        }
    }
    for (uint32_t row = 0; row < 3; ++row) {
        const uint32_t top = row * (strip + 30);
        EXPECT_GT(WhitePixels(named, 0, top, 100, top + strip), 5u) << row;
        EXPECT_EQ(WhitePixels(named, 100, top, 200, top + strip) > 5, row < 2) << row;
    }
}

TEST(Captions, AreSmallWhereLargeOnesDoNotFitAndLeftOutWhereNoneFit) {
    const uint32_t small = TextWidth("a caption", kSmallText),
                   large = TextWidth("a caption", kLargeText);
    ASSERT_LT(small + 20, large);
    const auto height = [](uint32_t width) {
        return Captioned(Numbered(width, 10), {1, {"a caption"}}).height;
    };
    EXPECT_GE(height(large + 20), 10 + TextHeight(kLargeText));
    EXPECT_GE(height(small + 20), 10 + TextHeight(kSmallText));
    EXPECT_LT(height(small + 20), 10 + TextHeight(kLargeText));
    EXPECT_EQ(height(small - 1), 10u);
    EXPECT_EQ(Captioned(Numbered(200, 10), {}).height, 10u);
}

TEST(Captions, LinesOfANameAreSetBelowEachOther) {
    const host::Picture one = Captioned(Numbered(200, 10), {1, {"a"}});
    const host::Picture two = Captioned(Numbered(200, 10), {1, {"a\nb"}});
    EXPECT_EQ(two.height - one.height, TextHeight(kLargeText));
}

TEST(Captions, NameEveryPartOfTheScenesThatAreMadeOfMany) {
    for (const bool allFactors : {false, true}) {
        const RecordingPainter painter({640, 480}, allFactors);
        EXPECT_EQ(StippleCells(painter).names.size(), 16u);
        EXPECT_EQ(StippleCells(painter).names[10], "alpha AA");
        EXPECT_EQ(BlendCells(painter).names.size(), allFactors ? 72u : 4u);
        EXPECT_EQ(FormatCells(painter).names, painter.formats);
        EXPECT_EQ(TileCells(painter).names.size(), 6u);
        EXPECT_EQ(TextureBlendCells(painter).names.size(), 5u);
        EXPECT_EQ(AnimationCells(painter).names.size(), 12u);
        EXPECT_EQ(VideoCells(painter).names.size(), 12u);
    }
}

TEST(Captions, NameTheBlendFactorsInTheOrderInWhichTheyAreDrawn) {
    const auto name = [](DWORD factor) -> std::string {
        switch (factor) {
        case D3DBLEND_ZERO:
            return "ZERO";
        case D3DBLEND_ONE:
            return "ONE";
        case D3DBLEND_SRCCOLOR:
            return "SRCCOLOR";
        case D3DBLEND_INVSRCCOLOR:
            return "INVSRCCOLOR";
        case D3DBLEND_SRCALPHA:
            return "SRCALPHA";
        case D3DBLEND_INVSRCALPHA:
            return "INVSRCALPHA";
        case D3DBLEND_DESTALPHA:
            return "DESTALPHA";
        case D3DBLEND_INVDESTALPHA:
            return "INVDESTALPHA";
        case D3DBLEND_DESTCOLOR:
            return "DESTCOLOR";
        case D3DBLEND_INVDESTCOLOR:
            return "INVDESTCOLOR";
        case D3DBLEND_SRCALPHASAT:
            return "SRCALPHASAT";
        default:
            return "?";
        }
    };
    RecordingPainter painter({640, 480});
    DrawBlendFactors(painter);
    std::vector<std::string> drawn;
    std::string source;
    for (const auto& state : painter.states) {
        if (state.type == D3DRENDERSTATE_SRCBLEND) {
            source = name(state.value);
        } else if (state.type == D3DRENDERSTATE_DESTBLEND) {
            drawn.push_back(source + "\n" + name(state.value));
        }
    }
    EXPECT_EQ(BlendCells(painter).names, drawn);
}

TEST(ContactSheet, RemarksStandInEmptyPlacesAndOverPictures) {
    ContactSheet sheet({"tx", "mx"}, {"knot"}, 100, 80);
    sheet.Put(1, 0, Numbered(100, 80));
    const host::Picture before = sheet.Draw();
    sheet.Remark(0, 0, "no textures");
    sheet.Remark(1, 0, "without gloss");
    const host::Picture after = sheet.Draw();
    ASSERT_EQ(after.rgba.size(), before.rgba.size());
    const uint32_t top = sheet.CellY(0);
    for (const uint32_t column : {0u, 1u}) {
        const uint32_t left = sheet.CellX(column);
        EXPECT_EQ(WhitePixels(before, left, top, left + 100, top + 80), 0u);
        EXPECT_GT(WhitePixels(after, left, top, left + 100, top + 80), 40u);
    }
    // In the middle of the one, at the lower edge of the other.
    EXPECT_EQ(WhitePixels(after, sheet.CellX(0), top + 70, sheet.CellX(0) + 100, top + 80), 0u);
    EXPECT_EQ(WhitePixels(after, sheet.CellX(1), top, sheet.CellX(1) + 100, top + 30), 0u);
}

TEST(ContactSheet, RemarksNeverLeaveTheirCell) {
    ContactSheet sheet({"a", "b"}, {"c"}, 24, 16);
    const host::Picture before = sheet.Draw();
    sheet.Remark(0, 0, "an unutterably long remark that has no room");
    const host::Picture after = sheet.Draw();
    for (uint32_t y = 0; y < after.height; ++y) {
        for (uint32_t x = 0; x < after.width; ++x) {
            if (x < sheet.CellX(0) || x >= sheet.CellX(1) || y < sheet.CellY(0)) {
                ASSERT_EQ(after.At(x, y), before.At(x, y));
            }
        }
    }
}

TEST(Difference, CountsPixelsAndMarksThem) {
    const host::Picture first = Numbered(10, 10);
    host::Picture second = first;
    second.rgba[0] += 1;                     // (0, 0) red: 0 to 1
    second.rgba[(3 * 10 + 4) * 4 + 2] = 207; // (4, 3) blue: 7 to 207
    second.rgba[(9 * 10 + 9) * 4 + 3] = 0;   // alpha is of no account
    const Difference difference = Compare(first, second);
    EXPECT_EQ(difference.pixels, 2u);
    EXPECT_EQ(difference.largest, 200);
    EXPECT_EQ(difference.map.At(0, 0), (std::array<uint8_t, 4>{255, 254, 0, 255}));
    EXPECT_EQ(difference.map.At(4, 3), (std::array<uint8_t, 4>{255, 55, 0, 255}));
    // (9, 8, 7): a quarter of the mean.
    EXPECT_EQ(difference.map.At(9, 8), (std::array<uint8_t, 4>{2, 2, 2, 255}));
    EXPECT_EQ(Compare(first, first).pixels, 0u);
}

TEST(Lacks, AreToldOfTheChipsThatLackSomethingAlone) {
    const auto lack = [](const char* scene, const char* chip) {
        return SceneByName(scene).lacks(ChipByName(chip));
    };
    EXPECT_EQ(lack("landscape", "mx"), "without textures");
    EXPECT_EQ(lack("landscape", "mx-delta"), "");
    EXPECT_EQ(lack("sprites", "tx-delta"), "without colour key");
    EXPECT_EQ(lack("sprites", "mx-delta"), "");
    EXPECT_EQ(lack("texture-fog", "permedia"), "without gloss");
    EXPECT_EQ(lack("texture-fog", "permedia2"), "");
    EXPECT_EQ(lack("wireframe", "sx"), "without corners");
    EXPECT_EQ(lack("wireframe", "sx-delta"), "");
    EXPECT_EQ(lack("wireframe", "permedia"), "");
}

// What the table of chips says holds of the pictures.
TEST(Lacks, CornersAreDrawnWhereNothingIsSaidOfThem) {
    TemporaryFolder folder;
    const ToolResult result =
        RunTool({"demo", "-o", folder.Path(), "--scene", "wireframe", "--plain"});
    ASSERT_EQ(result.code, 0) << result.err;
    for (const ChipChoice& chip : Chips()) {
        const host::Picture picture = ReadPng(folder / (std::string(chip.name) + "-wireframe.png"));
        const auto ground = picture.At(picture.width - 1, 0);
        size_t drawn = 0;
        for (uint32_t y = 0; y < picture.height * 3 / 4; ++y) {
            for (uint32_t x = picture.width / 2; x < picture.width; ++x) {
                const auto pixel = picture.At(x, y);
                drawn += std::abs(pixel[1] - ground[1]) > 40;
            }
        }
        EXPECT_EQ(drawn > 50, DrawsCorners(chip)) << chip.name << ": " << drawn;
    }
}

TEST(Lacks, TheKeyOfSpritesShowsWhereItIsSaidToBeMissing) {
    TemporaryFolder folder;
    const ToolResult result =
        RunTool({"demo", "-o", folder.Path(), "--scene", "sprites", "--plain"});
    ASSERT_EQ(result.code, 0) << result.err;
    for (const ChipChoice& chip : Chips()) {
        if (!chip.drawsTextures) {
            continue;
        }
        const host::Picture picture = ReadPng(folder / (std::string(chip.name) + "-sprites.png"));
        size_t keyed = 0; // full red and blue without green
        for (uint32_t i = 0; i < picture.width * picture.height; ++i) {
            const auto pixel = picture.At(i % picture.width, i / picture.width);
            keyed += pixel[0] > 240 && pixel[1] < 8 && pixel[2] > 240;
        }
        EXPECT_EQ(keyed > 0, !KeysTextures(chip)) << chip.name << ": " << keyed;
    }
}

TEST(Demo, CaptionsStandBesideThePixelsOfThePlainPicture) {
    TemporaryFolder folder;
    const std::vector<std::string> common{"--chip",  "permedia", "--scene",
                                          "stipple", "--size",   "640x480"};
    for (const auto& [name, option] : {std::pair{"named", ""}, {"plain", "--plain"}}) {
        std::vector<std::string> arguments{"demo", "-o", folder / name};
        arguments.insert(arguments.end(), common.begin(), common.end());
        if (*option != 0) {
            arguments.push_back(option);
        }
        EXPECT_EQ(RunTool(arguments).code, 0);
    }
    const host::Picture named = ReadPng(folder / "named/permedia-stipple.png"),
                        plain = ReadPng(folder / "plain/permedia-stipple.png");
    ASSERT_EQ(plain.height, 480u);
    ASSERT_GT(named.height, 480u + 4 * TextHeight(kLargeText));
    const uint32_t strip = (named.height - 480) / 4;
    for (uint32_t y = 0; y < 480; ++y) {
        for (uint32_t x = 0; x < 640; ++x) {
            ASSERT_EQ(named.At(x, y + (y / 120 + 1) * strip), plain.At(x, y));
        }
    }
}

TEST(Demo, DiffShowsAndCountsWhereOthersDiffer) {
    TemporaryFolder folder;
    const ToolResult result = RunTool({"demo", "-o", folder.Path(), "--size", "120x90", "--scene",
                                       "knot", "--scene", "tiles", "--chip", "sx", "--chip", "mx",
                                       "--chip", "permedia2", "--diff", "tx-delta"});
    ASSERT_EQ(result.code, 0) << result.err;
    // The others' pictures are drawn by the tool itself: counted here by hand.
    const host::Picture reference = ReadPng(folder / "tx-delta-knot.png");
    for (const std::string chip : {"sx", "mx", "permedia2"}) {
        const host::Picture other = ReadPng(folder / (chip + "-knot.png"));
        const host::Picture map = ReadPng(folder / ("tx-delta-knot-diff-" + chip + ".png"));
        ASSERT_EQ(map.rgba.size(), reference.rgba.size());
        size_t pixels = 0;
        int largest = 0;
        for (size_t i = 0; i < reference.rgba.size(); i += 4) {
            int most = 0;
            for (size_t channel = 0; channel < 3; ++channel) {
                most =
                    std::max(most, std::abs(reference.rgba[i + channel] - other.rgba[i + channel]));
            }
            pixels += most != 0;
            largest = std::max(largest, most);
            EXPECT_EQ(map.rgba[i] == 255 && map.rgba[i + 2] == 0, most != 0);
        }
        char row[80];
        std::snprintf(row, sizeof row, "\n%-15s%-15s%10zu%10d\n", "knot", chip.c_str(), pixels,
                      largest);
        EXPECT_NE(result.out.find(row), std::string::npos) << row << result.out;
        EXPECT_EQ(pixels != 0, chip != "permedia2") << chip;
    }
    EXPECT_TRUE(std::filesystem::exists(folder / "tx-delta-tiles-diff-permedia2.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "tx-delta-tiles-diff-sx.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "tx-delta-knot-diff-tx-delta.png"));
}

TEST(Demo, DiffLeavesOutPicturesOfOtherParts) {
    TemporaryFolder folder;
    const ToolResult result = RunTool({"demo", "-o", folder.Path(), "--size", "120x90", "--scene",
                                       "blend", "--chip", "sx", "--diff", "permedia"});
    ASSERT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.out.find("other parts"), std::string::npos) << result.out;
    EXPECT_FALSE(std::filesystem::exists(folder / "permedia-blend-diff-sx.png"));
}

TEST(Demo, DiffNeedsAKnownChipAndAnother) {
    TemporaryFolder folder;
    const ToolResult alone = RunTool({"demo", "-o", folder / "d", "--chip", "tx", "--diff", "tx"});
    EXPECT_EQ(alone.code, 2);
    EXPECT_EQ(alone.err, "korv: '--diff tx' needs another chip beside 'tx'\n");
    const ToolResult unknown = RunTool({"demo", "-o", folder / "d", "--diff", "rainbow"});
    EXPECT_EQ(unknown.code, 2);
    EXPECT_EQ(unknown.err.rfind("korv: unknown chip 'rainbow'", 0), 0u) << unknown.err;
    EXPECT_EQ(folder.Files(), 0u);
}

} // namespace
} // namespace korv
