// What the C interface takes, to the last value, and that it takes all of it.
#include "board/board.h"
#include "chip/registers.h"
#include "tests/board/capi/board_handle.h"

#include <string>

namespace {

using namespace capi_rig;

std::vector<uint8_t> Saved(korv_board* board) {
    size_t needed = 0;
    korv_board_save(board, 0, nullptr, 0, &needed);
    std::vector<uint8_t> bytes(needed);
    EXPECT_EQ(korv_board_save(board, 0, bytes.data(), bytes.size(), nullptr), KORV_BOARD_OK);
    return bytes;
}

// A snapshot holds all that a board is made of.
TEST(BoardInterfaceRanges, EveryFieldReachesTheBoard) {
    korv_board_config config = DefaultConfig();
    config.chip = KORV_BOARD_TX;
    config.setup_unit = 1;
    config.frame_buffer_bytes = 3u << 12;
    config.local_buffer_bytes = 5u << 12;
    config.refresh_rate = 71;
    config.lines_total = 502;
    config.lines_blank = 43;
    config.fifo_depth = 11;
    config.fifo_entries_per_tick = 2;
    config.fifo_ticks_per_entry = 3;
    config.pixels_per_tick = 13;
    config.fifo_report_lag = 4;
    config.fifo_report_cap = 9;
    config.dma_words_per_tick = 5;
    config.interrupt_latency = 17;
    config.stray_output_words = 6;
    config.microseconds_per_tick = 19;
    board::Config same;
    same.chip = board::Chip::TX;
    same.setupUnit = true;
    same.frameBufferBytes = 3u << 12;
    same.localBufferBytes = 5u << 12;
    same.refreshRate = 71;
    same.linesTotal = 502;
    same.linesBlank = 43;
    same.timing = {11, 2, 3, 13, 4, 9, 5, 17, 6, 19};
    const Handle board = Make(config);
    EXPECT_EQ(Saved(board.get()), board::Board(same).Save(board::Board::Contents::StateAlone));

    // The timing alone, into a board of another one.
    korv_board_config slow = config;
    slow.fifo_depth = 12;
    slow.fifo_entries_per_tick = slow.fifo_ticks_per_entry = slow.pixels_per_tick = 0;
    slow.fifo_report_lag = slow.fifo_report_cap = slow.dma_words_per_tick = 0;
    slow.interrupt_latency = slow.stray_output_words = 0;
    slow.microseconds_per_tick = 1;
    const Handle other = Make(slow);
    EXPECT_NE(Saved(other.get()), Saved(board.get()));
    config.chip = KORV_BOARD_SX;
    config.refresh_rate = 60;
    ASSERT_EQ(korv_board_set_timing(other.get(), &config), KORV_BOARD_OK);
    same.timing.fifoDepth = 11;
    EXPECT_EQ(Saved(other.get()), board::Board(same).Save(board::Board::Contents::StateAlone));
}

// A record of nothing but its size is one of an early header.
TEST(BoardInterfaceRanges, ASizeAloneIsARecord) {
    korv_board_config config{};
    ASSERT_EQ(korv_board_config_init(&config, sizeof config.size), KORV_BOARD_OK);
    EXPECT_EQ(config.size, sizeof config.size);
    EXPECT_EQ(config.refresh_rate, 0u); // untouched
    const Handle board = Make(config);
    ASSERT_TRUE(board);
    size_t bytes = 0;
    korv_board_frame_buffer(board.get(), &bytes);
    EXPECT_EQ(bytes, 8u << 20);
    EXPECT_EQ(korv_board_set_timing(board.get(), &config), KORV_BOARD_OK);
    EXPECT_EQ(korv_board_read(board.get(), reg::InFIFOSpace), 256u);
}

TEST(BoardInterfaceRanges, TextsTakeNoMoreRoomThanThereIs) {
    korv_board* board = nullptr;
    char error[] = "xyz";
    korv_board_create(nullptr, &board, error, 0);
    EXPECT_STREQ(error, "xyz");
    korv_board_create(nullptr, &board, error, 1);
    EXPECT_EQ(std::string(error, 3), std::string("\0yz", 3));
}

TEST(BoardInterfaceRanges, AMinuteIsTheMostAtOnce) {
    korv_board_config config = DefaultConfig();
    config.microseconds_per_tick = 1000;
    const Handle board = Make(config);
    for (const auto call : {korv_board_idle, korv_board_drain}) {
        EXPECT_EQ(call(board.get(), 60001), KORV_BOARD_BAD_ARGUMENT);
        EXPECT_EQ(call(board.get(), 60000), KORV_BOARD_OK);
    }
    EXPECT_EQ(korv_board_clock(board.get()), 60000000u); // at rest nothing is waited for
    EXPECT_EQ(korv_board_advance(board.get(), 60000000), KORV_BOARD_OK);
    EXPECT_EQ(korv_board_clock(board.get()), 120000000u);

    EXPECT_EQ(korv_board_drain(Make().get(), 60000000), KORV_BOARD_OK); // a microsecond each
    config.microseconds_per_tick = 0;
    const Handle still = Make(config);
    EXPECT_EQ(korv_board_idle(still.get(), 60000001), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(korv_board_drain(still.get(), 60000001), KORV_BOARD_BAD_ARGUMENT);
}

// Three entries of 10 ticks each: how many are left is found tick by tick on a board of the same.
TEST(BoardInterfaceRanges, DrainTakesTheTicksThatItNeeds) {
    korv_board_config config = DefaultConfig();
    config.fifo_ticks_per_entry = 10;
    const auto busy = [&] {
        Handle board = Make(config);
        Send(board.get(), {{tag::FogColor, 1}, {tag::FogColor, 2}, {tag::FogColor, 3}});
        return board;
    };
    const Handle counted = busy();
    uint32_t ticks = 0;
    for (; korv_board_at_rest(counted.get()) == 0; ++ticks) {
        ASSERT_LT(ticks, 60u);
        korv_board_idle(counted.get(), 1);
    }
    ASSERT_GT(ticks, 10u);
    const Handle enough = busy(), less = busy();
    const uint64_t before = korv_board_clock(enough.get());
    EXPECT_EQ(korv_board_drain(enough.get(), ticks), KORV_BOARD_OK);
    EXPECT_EQ(korv_board_clock(enough.get()) - before, ticks);
    EXPECT_EQ(korv_board_drain(enough.get(), 0), KORV_BOARD_OK);
    EXPECT_EQ(korv_board_drain(less.get(), 0), KORV_BOARD_STILL_BUSY);
    EXPECT_EQ(korv_board_drain(less.get(), ticks - 1), KORV_BOARD_STILL_BUSY);
    EXPECT_EQ(korv_board_drain(less.get(), 1), KORV_BOARD_OK);
}

TEST(BoardInterfaceRanges, BothMemoriesAreTheBoards) {
    korv_board_config config = DefaultConfig();
    config.chip = KORV_BOARD_TX;
    config.local_buffer_bytes = 5u << 12;
    const Handle board = Make(config);
    size_t bytes = 0;
    uint8_t* const local = korv_board_local_buffer(board.get(), &bytes);
    ASSERT_NE(local, nullptr);
    EXPECT_EQ(bytes, 5u << 12);
    EXPECT_EQ(local, korv_board_local_buffer(board.get(), nullptr));
    EXPECT_NE(local, korv_board_frame_buffer(board.get(), &bytes));
    EXPECT_EQ(bytes, 1u << 16);
    config.local_buffer_bytes = 0;
    const Handle without = Make(config);
    EXPECT_EQ(korv_board_local_buffer(without.get(), &bytes), nullptr);
    EXPECT_EQ(bytes, 0u);
    bytes = 1;
    EXPECT_EQ(korv_board_local_buffer(nullptr, &bytes), nullptr);
    EXPECT_EQ(bytes, 0u);
}

// More than a 32-bit process has room for.
TEST(BoardInterfaceRanges, BoardsGiveTheirMemoryBack) {
    korv_board_config config = DefaultConfig();
    config.frame_buffer_bytes = 128u << 20;
    for (int i = 0; i < 40; ++i) {
        ASSERT_TRUE(Make(config)) << i;
    }
}

// It follows the register when a frame begins.
TEST(BoardInterfaceRanges, TheShownImageIsTold) {
    const Handle board = Make();
    EXPECT_EQ(korv_board_shown_base(board.get()), 0u);
    korv_board_write(board.get(), reg::ScreenBasePermedia, 0x123);
    korv_board_advance(board.get(), 20000);
    EXPECT_EQ(korv_board_shown_base(board.get()), 0x123u * 8);
    EXPECT_EQ(korv_board_shown_base(nullptr), 0u);
}

// The sixteen registers of a name, and what is none of them: '/' and ':' stand beside the digits.
TEST(BoardInterfaceRanges, PlacesInAGroup) {
    uint32_t first = 0, offset = 0;
    for (const char* group : {"V0Fixed", "V2Float"}) { // the first and the last
        ASSERT_EQ(korv_board_find_register(group, &first), KORV_BOARD_OK);
        for (uint32_t place = 0; place < 16; ++place) {
            const std::string name = group + ("+" + std::to_string(place));
            EXPECT_EQ(korv_board_find_register(name.c_str(), &offset), KORV_BOARD_OK) << name;
            EXPECT_EQ(offset, first + 8 * place) << name;
        }
    }
    for (const char* name : {"V0Fixed+/", "V0Fixed+:", "V0Fixed+0:", "V0Fixed+0/", "V0Fixed+012",
                             "V0Fixed+16", "V0Fixed+99", "V0Fixed+ 1"}) {
        EXPECT_EQ(korv_board_find_register(name, &offset), KORV_BOARD_UNKNOWN_NAME) << name;
    }
}

// --- faults ---

uint64_t Count(const Handle& board, korv_board_fault fault) {
    return korv_board_fault_count(board.get(), fault);
}

TEST(BoardInterfaceRanges, EveryKindOfFaultHasItsCount) {
    korv_board_config config = DefaultConfig();
    config.dma_words_per_tick = 1;
    const Handle board = Make(config);
    const uint32_t words[64] = {};
    ASSERT_EQ(korv_board_map(board.get(), 0x1000, words, sizeof words), KORV_BOARD_OK);
    // Six entries that no room was asked for, three of them of unknown registers.
    Send(board.get(), {{tag::FogColor, 1}, {0x3AB, 1}, {0x3AC, 2}, {0x3AB, 3}});
    korv_board_write(board.get(), MappedOffset(tag::FogColor), 1);
    korv_board_write(board.get(), MappedOffset(tag::Color), 1);
    EXPECT_EQ(Count(board, KORV_BOARD_UNKNOWN_REGISTERS), 3u);
    EXPECT_EQ(Count(board, KORV_BOARD_UNWAITED_ENTRIES), 6u);
    EXPECT_EQ(Count(board, KORV_BOARD_UNMODELLED_UNITS), 0u);
    EXPECT_EQ(Count(board, KORV_BOARD_BAD_MEMORY_ACCESSES), 0u);

    // A primitive that there is not, twice, and a setup unit that there is not.
    korv_board_read(board.get(), reg::InFIFOSpace);
    Send(board.get(), {{tag::Render, 0xC0}, {tag::DrawTriangle, 0x40}, {tag::Render, 0xC0}});
    EXPECT_EQ(Count(board, KORV_BOARD_UNMODELLED_UNITS), 3u);

    // Of 32 rows of 64 pixels the lower 8 lie behind the memory of 128 rows.
    std::vector<uint32_t> fill = FillWords();
    fill[2 * 6 + 1] = 104u << 16;
    ASSERT_EQ(fill[2 * 6], uint32_t{tag::StartY}) << "where the fill's top is";
    korv_board_read(board.get(), reg::InFIFOSpace);
    korv_board_write_fifo(board.get(), fill.data(), fill.size());
    EXPECT_EQ(Count(board, KORV_BOARD_BAD_MEMORY_ACCESSES), 8u * 64);

    // Started over itself twice, then where nobody answers.
    for (int i = 0; i < 3; ++i) {
        korv_board_write(board.get(), reg::DMAAddress, 0x1000);
        korv_board_write(board.get(), reg::DMACount, 60);
    }
    EXPECT_EQ(Count(board, KORV_BOARD_DMA_RESTARTS), 2u);
    EXPECT_EQ(Count(board, KORV_BOARD_BAD_DMA_ADDRESSES), 0u);
    EXPECT_EQ(korv_board_drain(board.get(), 1000), KORV_BOARD_OK);
    korv_board_write(board.get(), reg::DMAAddress, 0x100000);
    korv_board_write(board.get(), reg::DMACount, 2);
    EXPECT_EQ(korv_board_drain(board.get(), 1000), KORV_BOARD_OK);
    EXPECT_EQ(Count(board, KORV_BOARD_BAD_DMA_ADDRESSES), 1u);

    // None has become another's.
    const uint64_t counts[] = {0, 1, 2, 512, 0, 3, 6, 3, 0};
    for (int kind = 0; kind <= KORV_BOARD_FAULT_KINDS; ++kind) {
        EXPECT_EQ(Count(board, static_cast<korv_board_fault>(kind)), counts[kind]) << kind;
        EXPECT_EQ(korv_board_fault_count(nullptr, static_cast<korv_board_fault>(kind)), 0u);
    }
}

// --- video ---

uint32_t TooManyPixels(void* lines, uint64_t, uint32_t, uint16_t* pixels, uint32_t capacity) {
    ++*static_cast<int*>(lines);
    pixels[0] = 0x1234;
    return capacity + 1;
}

TEST(BoardInterfaceRanges, SourcesOfVideo) {
    const Handle board = Make();
    int lines = 0;
    const auto status = [&](uint32_t korv_board_video::*field, uint32_t value) {
        korv_board_video video = {sizeof video, 60, 262, 8, 1, 1, &lines, TooManyPixels};
        video.*field = value;
        return korv_board_set_video(board.get(), &video);
    };
    using Video = korv_board_video;
    for (const uint32_t value : {1u, 200u}) {
        EXPECT_EQ(status(&Video::fields_per_second, value), KORV_BOARD_OK) << value;
    }
    for (const uint32_t value : {0u, 201u, ~0u}) {
        EXPECT_EQ(status(&Video::fields_per_second, value), KORV_BOARD_BAD_ARGUMENT) << value;
    }
    for (const uint32_t value : {1u, 2000u}) {
        EXPECT_EQ(status(&Video::lines_per_field, value), KORV_BOARD_OK) << value;
    }
    for (const uint32_t value : {0u, 2001u, ~0u}) {
        EXPECT_EQ(status(&Video::lines_per_field, value), KORV_BOARD_BAD_ARGUMENT) << value;
    }
    for (const uint32_t value : {8u, 16u}) {
        EXPECT_EQ(status(&Video::port_width, value), KORV_BOARD_OK) << value;
    }
    for (const uint32_t value : {0u, 7u, 9u, 15u, 17u}) {
        EXPECT_EQ(status(&Video::port_width, value), KORV_BOARD_BAD_ARGUMENT) << value;
    }
    Video none = {sizeof none, 60, 262, 8, 1, 1, &lines, nullptr};
    EXPECT_EQ(korv_board_set_video(board.get(), &none), KORV_BOARD_BAD_ARGUMENT);
}

// A source that says it sent more than there was room for, and is heard until it is unplugged.
TEST(BoardInterfaceRanges, AnUnpluggedSourceIsNotAsked) {
    const Handle board = Make();
    int lines = 0;
    const korv_board_video video = {sizeof video, 60, 262, 8, 1, 1, &lines, TooManyPixels};
    ASSERT_EQ(korv_board_set_video(board.get(), &video), KORV_BOARD_OK);
    korv_board_write(board.get(), reg::VSControl, 3 | 1 << 9 | 1 << 10);
    korv_board_write(board.get(), reg::VSEndLine, 4);
    korv_board_write(board.get(), reg::VSEndPixel, 8);
    korv_board_write(board.get(), reg::VSBufferStride, 2);
    korv_board_write(board.get(), reg::VSStreamControl, 1);
    korv_board_advance(board.get(), 40000);
    const uint8_t* row = korv_board_frame_buffer(board.get(), nullptr);
    EXPECT_EQ(row[0] | row[1] << 8, 0x1234);
    EXPECT_GT(lines, 3);
    ASSERT_EQ(korv_board_set_video(board.get(), nullptr), KORV_BOARD_OK);
    lines = 0;
    korv_board_advance(board.get(), 40000);
    EXPECT_EQ(lines, 0);
}

// --- pictures ---

TEST(BoardInterfaceRanges, PicturesAreUpTo16384PixelsASide) {
    const Handle board = Make();
    std::vector<uint8_t> to(16385 * 3);
    const auto status = [&](uint32_t width, uint32_t height) {
        const korv_board_picture picture = {
            sizeof picture,      0, 1, KORV_BOARD_INDEX8, nullptr, 0, 0, width, height,
            KORV_BOARD_BYTES_RGB};
        return korv_board_read_picture(board.get(), &picture, to.data(), size_t{width} * 3);
    };
    EXPECT_EQ(status(16384, 1), KORV_BOARD_OK);
    EXPECT_EQ(status(1, 16384), KORV_BOARD_OK);
    EXPECT_EQ(status(16385, 1), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(status(1, 16385), KORV_BOARD_BAD_ARGUMENT);
}

// The memory's last byte is half a pixel.
TEST(BoardInterfaceRanges, APixelThatGoesOnBehindTheMemoryIsOutside) {
    const Handle board = Make();
    size_t bytes = 0;
    uint8_t* const memory = korv_board_frame_buffer(board.get(), &bytes);
    memory[bytes - 3] = memory[bytes - 2] = memory[bytes - 1] = 0xFF;
    const korv_board_picture picture = {sizeof picture,
                                        static_cast<uint32_t>(bytes) - 3,
                                        8,
                                        KORV_BOARD_RGB565,
                                        nullptr,
                                        0,
                                        0,
                                        2,
                                        1,
                                        KORV_BOARD_BYTES_RGB};
    std::vector<uint8_t> to(6, 0xEE);
    ASSERT_EQ(korv_board_read_picture(board.get(), &picture, to.data(), 6), KORV_BOARD_OK);
    EXPECT_EQ(to, (std::vector<uint8_t>{255, 255, 255, 0, 0, 0}));
}

} // namespace
