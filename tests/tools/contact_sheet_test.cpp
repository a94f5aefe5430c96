#include "tools/korv/images/contact_sheet.h"
#include "tools/korv/images/text.h"

#include <gtest/gtest.h>

namespace korv {
namespace {

host::Picture Plain(uint32_t width, uint32_t height, std::array<uint8_t, 3> colour) {
    host::Picture picture{width, height, {}};
    for (uint32_t i = 0; i < width * height; ++i) {
        picture.rgba.insert(picture.rgba.end(), {colour[0], colour[1], colour[2], 255});
    }
    return picture;
}

using Pixel = std::array<uint8_t, 4>;
constexpr Pixel kRed{255, 0, 0, 255}, kBlue{0, 0, 255, 255}, kWhite{255, 255, 255, 255};

TEST(ContactSheet, ScalesTheLongerSideDownToItsLimit) {
    const ContactSheet wide({"a"}, {"b"}, 640, 480, 240);
    EXPECT_EQ(wide.PictureWidth(), 240u);
    EXPECT_EQ(wide.PictureHeight(), 180u);
    const ContactSheet tall({"a"}, {"b"}, 100, 2000, 240);
    EXPECT_EQ(tall.PictureWidth(), 12u);
    EXPECT_EQ(tall.PictureHeight(), 240u);
}

TEST(ContactSheet, NeverScalesUp) {
    const ContactSheet sheet({"a"}, {"b"}, 32, 16, 240);
    EXPECT_EQ(sheet.PictureWidth(), 32u);
    EXPECT_EQ(sheet.PictureHeight(), 16u);
}

TEST(ContactSheet, ThinPicturesKeepAtLeastOnePixel) {
    const ContactSheet sheet({"a"}, {"b"}, 2000, 1, 240);
    EXPECT_EQ(sheet.PictureHeight(), 1u);
}

TEST(ContactSheet, PicturesLieInTheirCells) {
    ContactSheet sheet({"one", "two"}, {"x", "y", "z"}, 40, 30);
    sheet.Put(0, 0, Plain(40, 30, {255, 0, 0}));
    sheet.Put(1, 2, Plain(40, 30, {0, 0, 255}));
    const host::Picture drawn = sheet.Draw();
    ASSERT_EQ(drawn.rgba.size(), drawn.width * drawn.height * 4u);
    const Pixel paper = drawn.At(0, 0);
    for (const auto& [x, y] : {std::pair{0u, 0u}, {39u, 0u}, {0u, 29u}, {39u, 29u}}) {
        EXPECT_EQ(drawn.At(sheet.CellX(0) + x, sheet.CellY(0) + y), kRed);
        EXPECT_EQ(drawn.At(sheet.CellX(1) + x, sheet.CellY(2) + y), kBlue);
        EXPECT_EQ(drawn.At(sheet.CellX(1) + x, sheet.CellY(0) + y), paper);
    }
    EXPECT_EQ(drawn.At(sheet.CellX(0) + 40, sheet.CellY(0)), paper);
    EXPECT_EQ(drawn.At(sheet.CellX(0), sheet.CellY(0) + 30), paper);
    EXPECT_GE(drawn.width, sheet.CellX(1) + 40);
    EXPECT_GE(drawn.height, sheet.CellY(2) + 30);
}

TEST(ContactSheet, CellsNeverOverlapEachOtherOrTheHeadings) {
    const ContactSheet sheet({"a heading far wider than its cell", "b"}, {"row name", "r"}, 16, 4);
    EXPECT_GE(sheet.CellX(0), TextWidth("row name"));
    EXPECT_GE(sheet.CellX(1),
              sheet.CellX(0) + std::max(16u, TextWidth("a heading far wider than its cell")));
    EXPECT_GE(sheet.CellY(1), sheet.CellY(0) + 14); // a line of text is 14 pixels high
}

TEST(ContactSheet, HeadingsAreSetAboveAndBeside) {
    const ContactSheet sheet({"tx"}, {"knot"}, 40, 30);
    const host::Picture drawn = sheet.Draw();
    size_t above = 0, beside = 0, elsewhere = 0;
    for (uint32_t y = 0; y < drawn.height; ++y) {
        for (uint32_t x = 0; x < drawn.width; ++x) {
            if (drawn.At(x, y) == kWhite) {
                ++(x >= sheet.CellX(0) ? (y < sheet.CellY(0) ? above : elsewhere) : beside);
            }
        }
    }
    EXPECT_GT(above, 20u);
    EXPECT_GT(beside, 40u);
    EXPECT_EQ(elsewhere, 0u);
}

TEST(Text, StaysInsideThePicture) {
    host::Picture picture = Plain(10, 6, {0, 0, 0});
    DrawText(picture, 4, 2, "WWWW");
    EXPECT_EQ(picture.rgba.size(), 240u);
    DrawText(picture, 40, 20, "W");
}

TEST(Text, CharactersOutsideAsciiBecomeQuestionMarks) {
    EXPECT_EQ(TextWidth("\xC3\x9F"), TextWidth("??"));
}

} // namespace
} // namespace korv
