#pragma once
// A board behind the C interface, ended with its test.
#include "board/capi/korv_board.h"
#include "chip/words.h"
#include "tests/board/capi/handle.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>
#include <vector>

namespace capi_rig {

inline korv_board_config DefaultConfig() {
    korv_board_config config;
    EXPECT_EQ(korv_board_config_init(&config, sizeof config), KORV_BOARD_OK);
    config.frame_buffer_bytes = 1u << 16;
    config.local_buffer_bytes = 1u << 16;
    return config;
}

inline Handle Make(const korv_board_config& config = DefaultConfig()) {
    korv_board* board = nullptr;
    char error[200] = "";
    EXPECT_EQ(korv_board_create(&config, &board, error, sizeof error), KORV_BOARD_OK) << error;
    return Handle(board);
}

inline void Send(korv_board* board,
                 std::initializer_list<std::pair<uint32_t, uint32_t>> tagsAndData) {
    for (const auto& [tagNumber, data] : tagsAndData) {
        const uint32_t words[] = {tagNumber, data};
        EXPECT_EQ(korv_board_write_fifo(board, words, 2), KORV_BOARD_OK);
    }
}

// Words of a fill of 32-bit pixels with 0x336699: columns 8 to 71, rows 4 to 35, 128 pixels a row.
inline std::vector<uint32_t> FillWords() {
    return {tag::FBReadPixel,  2,        tag::FBReadMode, 3,       tag::FBWriteMode, 1,
            tag::FBBlockColor, 0x336699, tag::StartXDom,  8 << 16, tag::StartXSub,   72 << 16,
            tag::StartY,       4 << 16,  tag::dY,         1 << 16, tag::Count,       32,
            tag::Render,       0x48};
}

inline uint32_t PixelOf(korv_board* board, uint32_t x, uint32_t y) {
    const uint8_t* at = korv_board_frame_buffer(board, nullptr) + (y * 128 + x) * 4;
    return at[0] | at[1] << 8 | at[2] << 16 | static_cast<uint32_t>(at[3]) << 24;
}

} // namespace capi_rig
