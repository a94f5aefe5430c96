// Pictures of the frame buffer, pixel by pixel from hand-made bytes.
#include "tests/board/capi/board_handle.h"

#include <cstring>

namespace {

using namespace capi_rig;
using Bytes = std::vector<uint8_t>;

class BoardPicture : public testing::Test {
  protected:
    // One pixel of `bytes`, two to the right and one down from the image's corner at byte 100.
    Bytes One(uint32_t format, Bytes bytes, uint32_t to = KORV_BOARD_BYTES_RGBA) {
        const auto size = static_cast<uint32_t>(bytes.size());
        std::memcpy(korv_board_frame_buffer(board_.get(), nullptr) + 100 + 50 + 2 * size,
                    bytes.data(), size);
        picture_ = {sizeof picture_, 100, 50, format, palette_, 2, 1, 1, 1, to};
        Bytes result(to == KORV_BOARD_BYTES_RGB ? 3 : 4);
        EXPECT_EQ(korv_board_read_picture(board_.get(), &picture_, result.data(), result.size()),
                  KORV_BOARD_OK);
        return result;
    }

    Handle board_ = Make();
    korv_board_picture picture_{};
    const uint32_t* palette_ = nullptr;
};

TEST_F(BoardPicture, EveryFormatIsRead) {
    EXPECT_EQ(One(KORV_BOARD_RGB332, {0xE0}), (Bytes{255, 0, 0, 255}));
    EXPECT_EQ(One(KORV_BOARD_RGB332, {0x1C}), (Bytes{0, 255, 0, 255}));
    EXPECT_EQ(One(KORV_BOARD_RGB332, {0x02}), (Bytes{0, 0, 0xAA, 255}));
    EXPECT_EQ(One(KORV_BOARD_ARGB1555, {0x00, 0x7C}), (Bytes{255, 0, 0, 0}));
    EXPECT_EQ(One(KORV_BOARD_ARGB1555, {0x1F, 0x80}), (Bytes{0, 0, 255, 255}));
    EXPECT_EQ(One(KORV_BOARD_RGB565, {0xE0, 0x07}), (Bytes{0, 255, 0, 255}));
    EXPECT_EQ(One(KORV_BOARD_RGB565, {0x00, 0x80}), (Bytes{0x84, 0, 0, 255}));
    EXPECT_EQ(One(KORV_BOARD_ARGB4444, {0x3A, 0x5F}), (Bytes{0xFF, 0x33, 0xAA, 0x55}));
    EXPECT_EQ(One(KORV_BOARD_RGB888, {1, 2, 3}), (Bytes{3, 2, 1, 255}));
    EXPECT_EQ(One(KORV_BOARD_ARGB8888, {1, 2, 3, 4}), (Bytes{3, 2, 1, 4}));
    EXPECT_EQ(One(KORV_BOARD_ARGB8888, {1, 2, 3, 4}, KORV_BOARD_BYTES_BGRA), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(One(KORV_BOARD_ARGB8888, {1, 2, 3, 4}, KORV_BOARD_BYTES_RGB), (Bytes{3, 2, 1}));
}

TEST_F(BoardPicture, IndicesGoThroughThePalette) {
    EXPECT_EQ(One(KORV_BOARD_INDEX8, {0x42}), (Bytes{0x42, 0x42, 0x42, 255}));
    uint32_t palette[256] = {};
    palette[0x42] = 0x123456;
    palette_ = palette;
    EXPECT_EQ(One(KORV_BOARD_INDEX8, {0x42}), (Bytes{0x12, 0x34, 0x56, 255}));
}

TEST_F(BoardPicture, RowsLieApartAndWhatIsOutsideIsBlack) {
    size_t size = 0;
    uint8_t* memory = korv_board_frame_buffer(board_.get(), &size);
    memory[size - 2] = 0x11;
    memory[size - 1] = 0x22;
    const korv_board_picture picture = {sizeof picture,
                                        static_cast<uint32_t>(size) - 2,
                                        2,
                                        KORV_BOARD_INDEX8,
                                        nullptr,
                                        0,
                                        0,
                                        3,
                                        2,
                                        KORV_BOARD_BYTES_RGB};
    Bytes result(2 * 12, 0xEE);
    ASSERT_EQ(korv_board_read_picture(board_.get(), &picture, result.data(), 12), KORV_BOARD_OK);
    EXPECT_EQ(result, (Bytes{0x11, 0x11, 0x11, 0x22, 0x22, 0x22, 0, 0, 0, 0xEE, 0xEE, 0xEE,
                             0,    0,    0,    0,    0,    0,    0, 0, 0, 0xEE, 0xEE, 0xEE}));
}

TEST_F(BoardPicture, WhatCannotBeReadIsRefused) {
    uint8_t to[64];
    const auto status = [&](auto&& change, size_t pitch = 16) {
        korv_board_picture picture = {
            sizeof picture, 0, 64, KORV_BOARD_RGB565, nullptr, 0, 0, 4, 4, KORV_BOARD_BYTES_RGBA};
        change(picture);
        return korv_board_read_picture(board_.get(), &picture, to, pitch);
    };
    EXPECT_EQ(status([](auto&) {}), KORV_BOARD_OK);
    EXPECT_EQ(status([](auto&) {}, 15), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(status([](auto& picture) { picture.format = 7; }), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(status([](auto& picture) { picture.picture_format = 3; }), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(status([](auto& picture) { picture.height = 16385; }), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(status([](auto& picture) { picture.size = 8; }), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(korv_board_read_picture(board_.get(), nullptr, to, 16), KORV_BOARD_BAD_ARGUMENT);
}

} // namespace
