#include "host/ddraw/format.h"
#include "host/picture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace {

using Colour = std::array<uint8_t, 4>;

template <class Pixel>
Colour Read(Pixel pixel, const DDPIXELFORMAT& format) {
    uint8_t bytes[4] = {};
    std::memcpy(bytes, &pixel, sizeof(pixel));
    return host::ReadPicture(bytes, 4, 1, 1, format).At(0, 0);
}

TEST(PictureTest, ChannelsAreWidenedByTheirTopBits) {
    EXPECT_EQ(Read(uint16_t{0x7FFF}, host::Format555()), (Colour{255, 255, 255, 255}));
    EXPECT_EQ(Read(uint16_t{0x4000}, host::Format555()), (Colour{0x84, 0, 0, 255}));
    EXPECT_EQ(Read(uint16_t{0x8000 | 0x10}, host::Format1555()), (Colour{0, 0, 0x84, 255}));
    EXPECT_EQ(Read(uint16_t{0x0010}, host::Format1555()), (Colour{0, 0, 0x84, 0}));
    EXPECT_EQ(Read(uint16_t{0x0400}, host::Format565()), (Colour{0, 0x82, 0, 255}));
    EXPECT_EQ(Read(uint16_t{0x8421}, host::Format4444()), (Colour{0x44, 0x22, 0x11, 0x88}));
    EXPECT_EQ(Read(uint32_t{0x80102030}, host::Format8888()), (Colour{0x10, 0x20, 0x30, 0x80}));
    EXPECT_EQ(Read(uint32_t{0x80102030}, host::FormatX888()), (Colour{0x10, 0x20, 0x30, 255}));
    EXPECT_EQ(Read(uint32_t{0x102030}, host::Format888()), (Colour{0x10, 0x20, 0x30, 255}));
}

TEST(PictureTest, EightBitPixelsAreThreeThreeTwoWithoutAPalette) {
    EXPECT_EQ(Read(uint8_t{0xFF}, host::PaletteFormat(8)), (Colour{255, 255, 255, 255}));
    EXPECT_EQ(Read(uint8_t{0x80}, host::PaletteFormat(8)), (Colour{0x92, 0, 0, 255}));
    EXPECT_EQ(Read(uint8_t{0x02}, host::Format332()), (Colour{0, 0, 0xAA, 255}));
}

TEST(PictureTest, IndexedPixelsGoThroughThePalette) {
    std::vector<PALETTEENTRY> palette(16);
    palette[3] = {10, 20, 30, 0};
    palette[12] = {40, 50, 60, 0};
    const uint8_t bytes[] = {0xC3};
    const host::Picture picture =
        host::ReadPicture(bytes, 1, 2, 1, host::PaletteFormat(4), palette.data());
    EXPECT_EQ(picture.At(0, 0), (Colour{10, 20, 30, 255}));
    EXPECT_EQ(picture.At(1, 0), (Colour{40, 50, 60, 255}));
}

TEST(PictureTest, RowsFollowThePitchAlsoUpwards) {
    const uint8_t bytes[] = {0xE0, 0, 9, 9, 0x1C, 3, 9, 9};
    const host::Picture down = host::ReadPicture(bytes, 4, 2, 2, host::Format332());
    EXPECT_EQ(down.At(0, 0), (Colour{255, 0, 0, 255}));
    EXPECT_EQ(down.At(0, 1), (Colour{0, 255, 0, 255}));
    EXPECT_EQ(down.At(1, 1), (Colour{0, 0, 255, 255}));
    const host::Picture up = host::ReadPicture(bytes + 4, -4, 2, 2, host::Format332());
    EXPECT_EQ(up.At(0, 1), (Colour{255, 0, 0, 255}));
}

TEST(PictureTest, DepthIsGreyAndOtherFormatsAreNoPicture) {
    EXPECT_EQ(Read(uint16_t{0x8000}, host::DepthFormat(16)), (Colour{0x80, 0x80, 0x80, 255}));
    EXPECT_EQ(Read(uint32_t{0x40FFFFFF}, host::DepthFormat(32)), (Colour{0x40, 0x40, 0x40, 255}));
    const uint8_t bytes[4] = {};
    EXPECT_THROW(
        host::ReadPicture(bytes, 4, 1, 1, host::FourCCFormat(MAKEFOURCC('Y', 'U', 'Y', '2'), 16)),
        std::invalid_argument);
}

} // namespace
