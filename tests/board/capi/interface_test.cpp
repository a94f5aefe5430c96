// The board behind C functions.
#include "chip/registers.h"
#include "tests/board/capi/board_handle.h"

#include <cstring>
#include <utility>

namespace {

using namespace capi_rig;

// --- configuration ---

TEST(BoardInterface, DefaultsAreThoseThatTheHeaderTells) {
    korv_board_config config;
    std::memset(&config, 0xEE, sizeof config);
    ASSERT_EQ(korv_board_config_init(&config, sizeof config), KORV_BOARD_OK);
    EXPECT_EQ(config.size, sizeof config);
    EXPECT_EQ(config.chip, uint32_t{KORV_BOARD_PERMEDIA});
    EXPECT_EQ(config.setup_unit, 0u);
    EXPECT_EQ(config.frame_buffer_bytes, 8u << 20);
    EXPECT_EQ(config.local_buffer_bytes, 8u << 20);
    EXPECT_EQ(config.refresh_rate, 60u);
    EXPECT_EQ(config.lines_total, 525u);
    EXPECT_EQ(config.lines_blank, 45u);
    EXPECT_EQ(config.fifo_depth, 256u);
    EXPECT_EQ(config.fifo_entries_per_tick, 0u);
    EXPECT_EQ(config.stray_output_words, 0u);
    EXPECT_EQ(config.microseconds_per_tick, 1u);
    EXPECT_EQ(config.user, nullptr);
    EXPECT_EQ(config.read_memory, nullptr);
    EXPECT_EQ(config.interrupt, nullptr);
}

// A caller made with an earlier header has a shorter record.
TEST(BoardInterface, FieldsBehindTheCallersSizeHaveTheirDefaults) {
    korv_board_config config;
    std::memset(&config, 0xEE, sizeof config);
    const size_t known = offsetof(korv_board_config, fifo_depth);
    ASSERT_EQ(korv_board_config_init(&config, known), KORV_BOARD_OK);
    EXPECT_EQ(config.size, known);
    EXPECT_EQ(config.lines_blank, 45u);
    EXPECT_EQ(config.fifo_depth, 0xEEEEEEEEu); // untouched
    const Handle board = Make(config);
    ASSERT_TRUE(board);
    EXPECT_EQ(korv_board_read(board.get(), reg::InFIFOSpace), 256u);
    EXPECT_EQ(korv_board_config_init(&config, 3), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(korv_board_config_init(nullptr, sizeof config), KORV_BOARD_BAD_ARGUMENT);
}

TEST(BoardInterface, AFieldOutOfRangeIsNamed) {
    const auto refused = [](uint32_t korv_board_config::*field, uint32_t value) {
        korv_board_config config = DefaultConfig();
        config.*field = value;
        korv_board* board = reinterpret_cast<korv_board*>(1);
        char error[200] = "";
        EXPECT_EQ(korv_board_create(&config, &board, error, sizeof error), KORV_BOARD_BAD_CONFIG);
        EXPECT_EQ(board, nullptr);
        return std::string(error);
    };
    EXPECT_EQ(refused(&korv_board_config::chip, 5), "chip is 5, from 0 to 4 was expected");
    EXPECT_EQ(refused(&korv_board_config::chip, 256), "chip is 255, from 0 to 4 was expected");
    EXPECT_EQ(refused(&korv_board_config::frame_buffer_bytes, 4097),
              "a memory has 4097 bytes, whole pages of 4096 were expected");
    EXPECT_EQ(refused(&korv_board_config::frame_buffer_bytes, 0),
              "frameBufferBytes is 0, from 4096 to 268435456 was expected");
    EXPECT_EQ(refused(&korv_board_config::fifo_depth, 0),
              "fifoDepth is 0, from 1 to 65536 was expected");
    EXPECT_EQ(refused(&korv_board_config::lines_blank, 526),
              "linesBlank is 526, from 0 to 525 was expected");
}

TEST(BoardInterface, ABoardNeedsAPlaceForItAndAConfigurationOfSomeSize) {
    korv_board_config config = DefaultConfig();
    EXPECT_EQ(korv_board_create(&config, nullptr, nullptr, 0), KORV_BOARD_BAD_ARGUMENT);
    korv_board* board = nullptr;
    config.size = sizeof config.size - 1;
    EXPECT_EQ(korv_board_create(&config, &board, nullptr, 0), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(board, nullptr);
}

TEST(BoardInterface, ErrorTextsAreCutToTheirRoom) {
    korv_board_config config = DefaultConfig();
    config.chip = 9;
    korv_board* board = nullptr;
    char error[8] = "xxxxxxx";
    korv_board_create(&config, &board, error, sizeof error);
    EXPECT_STREQ(error, "chip is");
    EXPECT_EQ(korv_board_create(&config, &board, nullptr, 0), KORV_BOARD_BAD_CONFIG);
    EXPECT_EQ(korv_board_create(nullptr, &board, error, 5), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_STREQ(error, "no c");
}

// --- accesses ---

TEST(BoardInterface, WordsDraw) {
    const Handle board = Make();
    const std::vector<uint32_t> words = FillWords();
    ASSERT_EQ(korv_board_write_fifo(board.get(), words.data(), words.size()), KORV_BOARD_OK);
    EXPECT_EQ(PixelOf(board.get(), 8, 4), 0x336699u);
    EXPECT_EQ(PixelOf(board.get(), 71, 35), 0x336699u);
    EXPECT_EQ(PixelOf(board.get(), 7, 4), 0u);
    EXPECT_EQ(PixelOf(board.get(), 72, 35), 0u);
    EXPECT_EQ(PixelOf(board.get(), 8, 36), 0u);
}

TEST(BoardInterface, AccessesOutsideTheApertureAreRefused) {
    const Handle board = Make();
    EXPECT_EQ(korv_board_read(board.get(), 0xA000), 0xFFFFFFFFu);
    EXPECT_EQ(korv_board_read(board.get(), 0x12), 0xFFFFFFFFu);
    EXPECT_EQ(korv_board_write(board.get(), 0xFFFFFFFC, 1), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_STREQ(korv_board_error(board.get()), "an argument is null or out of range");
    EXPECT_EQ(korv_board_write_fifo(board.get(), nullptr, 1), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(korv_board_read(nullptr, 0), 0xFFFFFFFFu);
    EXPECT_EQ(korv_board_write(nullptr, 0, 0), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(FaultText(board.get()), "");
}

// --- DMA ---

struct Guest {
    std::vector<uint32_t> words = FillWords();
    uint32_t asked = 0;
    korv_board* board = nullptr;
    korv_board_status inside = KORV_BOARD_OK;
};

int ReadGuest(void* user, uint32_t address, void* to, size_t bytes) {
    Guest& guest = *static_cast<Guest*>(user);
    const uint32_t base = 0x4000;
    if (address < base || address + bytes > base + guest.words.size() * 4) {
        return 0;
    }
    std::memcpy(to, reinterpret_cast<const uint8_t*>(guest.words.data()) + (address - base), bytes);
    ++guest.asked;
    if (guest.board != nullptr) {
        guest.inside = korv_board_write(guest.board, reg::IntEnable, 0);
    }
    return 1;
}

void RunDma(korv_board* board, uint32_t words) {
    korv_board_write(board, reg::DMAAddress, 0x4000);
    korv_board_write(board, reg::DMACount, words);
}

TEST(BoardInterface, DmaReadsGuestMemoryByCallback) {
    Guest guest;
    korv_board_config config = DefaultConfig();
    config.user = &guest;
    config.read_memory = ReadGuest;
    const Handle board = Make(config);
    RunDma(board.get(), 20);
    EXPECT_EQ(guest.asked, 20u);
    EXPECT_EQ(PixelOf(board.get(), 71, 35), 0x336699u);
    EXPECT_EQ(korv_board_fault_count(board.get(), KORV_BOARD_BAD_DMA_ADDRESSES), 0u);
    RunDma(board.get(), 21);
    EXPECT_EQ(korv_board_fault_count(board.get(), KORV_BOARD_BAD_DMA_ADDRESSES), 1u);
    EXPECT_EQ(FaultText(board.get()), "1 DMA transfers from unmapped bus addresses\n");
}

TEST(BoardInterface, AMappedRangeComesBeforeTheCallback) {
    Guest guest;
    korv_board_config config = DefaultConfig();
    config.user = &guest;
    config.read_memory = ReadGuest;
    const Handle board = Make(config);
    std::vector<uint32_t> words = FillWords();
    words[7] = 0x112233;
    ASSERT_EQ(korv_board_map(board.get(), 0x4000, words.data(), words.size() * 4), KORV_BOARD_OK);
    RunDma(board.get(), 20);
    EXPECT_EQ(guest.asked, 0u);
    EXPECT_EQ(PixelOf(board.get(), 8, 4), 0x112233u);
    ASSERT_EQ(korv_board_map(board.get(), 0x4000, nullptr, 0), KORV_BOARD_OK);
    RunDma(board.get(), 20);
    EXPECT_EQ(guest.asked, 20u);
    EXPECT_EQ(PixelOf(board.get(), 8, 4), 0x336699u);
    EXPECT_EQ(korv_board_map(board.get(), 0, nullptr, 1), KORV_BOARD_BAD_ARGUMENT);
}

TEST(BoardInterface, WhoReadsMemoryMustNotTouchTheBoard) {
    Guest guest;
    korv_board_config config = DefaultConfig();
    config.user = &guest;
    config.read_memory = ReadGuest;
    const Handle board = Make(config);
    guest.board = board.get();
    RunDma(board.get(), 20);
    EXPECT_EQ(guest.inside, KORV_BOARD_REENTERED);
    EXPECT_EQ(PixelOf(board.get(), 8, 4), 0x336699u);
}

// --- interrupts ---

struct Handler {
    korv_board* board = nullptr;
    uint32_t calls = 0;
    uint32_t flags = 0;
    int level = -1;
    korv_board_status restored = KORV_BOARD_OK;
};

void Handle1(void* user) {
    Handler& handler = *static_cast<Handler*>(user);
    ++handler.calls;
    handler.level = korv_board_interrupt_level(handler.board);
    handler.flags = korv_board_read(handler.board, reg::IntFlags);
    handler.restored = korv_board_restore(handler.board, "x", 1);
    korv_board_destroy(handler.board); // nothing happens
    korv_board_write(handler.board, reg::IntFlags, handler.flags);
}

TEST(BoardInterface, TheInterruptCallbackMayUseTheBoard) {
    Handler handler;
    korv_board_config config = DefaultConfig();
    config.user = &handler;
    config.interrupt = Handle1;
    const Handle board = Make(config);
    handler.board = board.get();
    const uint32_t nothing = 0;
    korv_board_map(board.get(), 0x4000, &nothing, sizeof nothing);
    RunDma(board.get(), 1);
    EXPECT_EQ(handler.calls, 0u); // not enabled
    EXPECT_EQ(korv_board_interrupt_level(board.get()), 0);
    korv_board_write(board.get(), reg::IntFlags, 1);
    korv_board_write(board.get(), reg::IntEnable, 1);
    RunDma(board.get(), 1);
    EXPECT_EQ(handler.calls, 1u);
    EXPECT_EQ(handler.level, 1);
    EXPECT_EQ(handler.flags, 1u);
    EXPECT_EQ(handler.restored, KORV_BOARD_REENTERED);
    EXPECT_EQ(korv_board_interrupt_level(board.get()), 0); // cleared by the handler
}

// --- time ---

TEST(BoardInterface, TheClockIsTheBoardsOrTheCallers) {
    const Handle own = Make();
    korv_board_read(own.get(), 0);
    korv_board_read(own.get(), 0);
    korv_board_idle(own.get(), 10);
    EXPECT_EQ(korv_board_clock(own.get()), 12u);
    korv_board_config config = DefaultConfig();
    config.microseconds_per_tick = 0;
    const Handle given = Make(config);
    korv_board_read(given.get(), 0);
    korv_board_idle(given.get(), 10);
    EXPECT_EQ(korv_board_clock(given.get()), 0u);
    EXPECT_EQ(korv_board_advance(given.get(), 1000), KORV_BOARD_OK);
    EXPECT_EQ(korv_board_clock(given.get()), 1000u);
    // 60 frames of 525 lines a second: line 31 begins after 984 microseconds, line 32 after 1015.
    EXPECT_EQ(korv_board_read(given.get(), reg::LineCounter), 31u);
    EXPECT_EQ(korv_board_advance(given.get(), 60000001), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_STREQ(korv_board_error(given.get()), "more time than 60000000 microseconds at once");
    EXPECT_EQ(korv_board_clock(given.get()), 1000u);
}

TEST(BoardInterface, DrainWaitsAsLongAsItIsTold) {
    korv_board_config config = DefaultConfig();
    config.fifo_ticks_per_entry = 10;
    const Handle board = Make(config);
    EXPECT_EQ(korv_board_at_rest(board.get()), 1);
    Send(board.get(), {{tag::FogColor, 1}, {tag::FogColor, 2}, {tag::FogColor, 3}});
    EXPECT_EQ(korv_board_at_rest(board.get()), 0);
    EXPECT_EQ(korv_board_drain(board.get(), 5), KORV_BOARD_STILL_BUSY);
    EXPECT_EQ(korv_board_drain(board.get(), 100), KORV_BOARD_OK);
    EXPECT_EQ(korv_board_at_rest(board.get()), 1);
    uint32_t value = 0;
    EXPECT_EQ(korv_board_peek(board.get(), "FogColor", &value), KORV_BOARD_OK);
    EXPECT_EQ(value, 3u);
}

// --- looking in ---

TEST(BoardInterface, RegistersAreFoundByName) {
    uint32_t offset = 0;
    EXPECT_EQ(korv_board_find_register("InFIFOSpace", &offset), KORV_BOARD_OK);
    EXPECT_EQ(offset, 0x18u);
    EXPECT_EQ(korv_board_find_register("Render", &offset), KORV_BOARD_OK);
    EXPECT_EQ(offset, 0x8000u + 0x007 * 8);
    EXPECT_EQ(korv_board_find_register("V1Float", &offset), KORV_BOARD_OK);
    const uint32_t group = offset;
    EXPECT_EQ(korv_board_find_register("V1Float+15", &offset), KORV_BOARD_OK);
    EXPECT_EQ(offset, group + 15 * 8);
    for (const char* name : {"", "render", "V1Float+16", "V1Float+", "V1Float+5x", "Render+1",
                             "DeltaMode+1", "V1Float+-1", "+3"}) {
        offset = 77;
        EXPECT_EQ(korv_board_find_register(name, &offset), KORV_BOARD_UNKNOWN_NAME) << name;
        EXPECT_EQ(offset, 77u);
    }
    EXPECT_EQ(korv_board_find_register(nullptr, &offset), KORV_BOARD_BAD_ARGUMENT);
    uint32_t before = 0, count = 0;
    while (const char* name = korv_board_register_name(count, &offset)) {
        uint32_t found = 0;
        EXPECT_EQ(korv_board_find_register(name, &found), KORV_BOARD_OK) << name;
        EXPECT_EQ(found, offset);
        EXPECT_TRUE(count == 0 || offset > before) << name;
        before = offset;
        ++count;
    }
    EXPECT_GT(count, 200u);
}

TEST(BoardInterface, PeekingIsNoAccess) {
    const Handle board = Make();
    Send(board.get(), {{tag::FilterMode, ~0u}, {tag::Sync, 0x1234}});
    const uint64_t before = korv_board_clock(board.get());
    uint32_t value = 0;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(korv_board_peek(board.get(), "OutFIFOWords", &value), KORV_BOARD_OK);
        EXPECT_EQ(value, 2u);
        EXPECT_EQ(korv_board_peek(board.get(), "FIFOWindow", &value), KORV_BOARD_OK);
        EXPECT_EQ(value, uint32_t{tag::Sync});
    }
    EXPECT_EQ(korv_board_peek(board.get(), "Nowhere", &value), KORV_BOARD_UNKNOWN_NAME);
    EXPECT_STREQ(korv_board_error(board.get()), "no register has the name 'Nowhere'");
    EXPECT_EQ(korv_board_clock(board.get()), before);
    EXPECT_EQ(korv_board_read(board.get(), reg::OutFIFOWord), uint32_t{tag::Sync});
    EXPECT_EQ(korv_board_read(board.get(), reg::OutFIFOWord), 0x1234u);
}

TEST(BoardInterface, FaultsAreCountedAndTold) {
    const Handle board = Make();
    EXPECT_EQ(FaultText(board.get()), "");
    korv_board_write(board.get(), reg::DisconnectControl, 1);
    Send(board.get(), {{0x3AB, 1}, {0x3AB, 2}, {tag::DrawTriangle, 0x40}});
    const uint32_t malformed = 0x0400;
    korv_board_write_fifo(board.get(), &malformed, 1);
    EXPECT_EQ(korv_board_fault_count(board.get(), KORV_BOARD_UNKNOWN_REGISTERS), 2u);
    EXPECT_EQ(korv_board_fault_count(board.get(), KORV_BOARD_UNMODELLED_UNITS), 1u);
    EXPECT_EQ(korv_board_fault_count(board.get(), KORV_BOARD_MALFORMED_WORDS), 1u);
    EXPECT_EQ(korv_board_fault_count(board.get(), KORV_BOARD_FIFO_OVERFLOWS), 0u);
    EXPECT_EQ(korv_board_fault_count(board.get(), KORV_BOARD_FAULT_KINDS), 0u);
    EXPECT_EQ(FaultText(board.get()), "1 malformed tag words\n"
                                      "2 writes to unknown tag 3AB\n"
                                      "1 uses of setup unit, which is not modelled\n");
    char cut[6];
    EXPECT_EQ(korv_board_fault_text(board.get(), cut, sizeof cut), FaultText(board.get()).size());
    EXPECT_STREQ(cut, "1 mal");
}

// --- video ---

uint32_t GreyLine(void*, uint64_t field, uint32_t line, uint16_t* pixels, uint32_t capacity) {
    for (uint32_t i = 0; i < 8; ++i) {
        pixels[i] = static_cast<uint16_t>(0x8000 + field * 0x40 + line * 8 + i);
    }
    return capacity < 8 ? 0 : 8;
}

TEST(BoardInterface, VideoComesByCallback) {
    const Handle board = Make();
    korv_board_video video = {sizeof video, 60, 262, 8, 1, 1, nullptr, GreyLine};
    ASSERT_EQ(korv_board_set_video(board.get(), &video), KORV_BOARD_OK);
    korv_board_write(board.get(), reg::VSControl, 3 | 1 << 9 | 1 << 10);
    korv_board_write(board.get(), reg::VSEndLine, 4);
    korv_board_write(board.get(), reg::VSEndPixel, 8);
    korv_board_write(board.get(), reg::VSBufferStride, 2);
    korv_board_write(board.get(), reg::VSStreamControl, 1);
    korv_board_advance(board.get(), 20000); // into the second field
    const uint8_t* row = korv_board_frame_buffer(board.get(), nullptr) + 3 * 16;
    EXPECT_EQ(row[0] | row[1] << 8, 0x8000 + 0x40 + 3 * 8);
    video.port_width = 9;
    EXPECT_EQ(korv_board_set_video(board.get(), &video), KORV_BOARD_BAD_ARGUMENT);
    EXPECT_EQ(korv_board_set_video(board.get(), nullptr), KORV_BOARD_OK);
}

// A line of 8 pixels for a port that takes 12: the last four stay as they are.
TEST(BoardInterface, AShortVideoLineLeavesTheRestOfItsRow) {
    const Handle board = Make();
    const korv_board_video video = {sizeof video, 60, 262, 8, 1, 1, nullptr, GreyLine};
    ASSERT_EQ(korv_board_set_video(board.get(), &video), KORV_BOARD_OK);
    uint8_t* memory = korv_board_frame_buffer(board.get(), nullptr);
    std::memset(memory, 0xEE, 4 * 32);
    korv_board_write(board.get(), reg::VSControl, 3 | 1 << 9 | 1 << 10);
    korv_board_write(board.get(), reg::VSEndLine, 4);
    korv_board_write(board.get(), reg::VSEndPixel, 12);
    korv_board_write(board.get(), reg::VSBufferStride, 4);
    korv_board_write(board.get(), reg::VSStreamControl, 1);
    korv_board_advance(board.get(), 20000);
    const uint8_t* row = memory + 3 * 32;
    EXPECT_EQ(row[14] | row[15] << 8, 0x8000 + 0x40 + 3 * 8 + 7);
    for (int i = 16; i < 32; ++i) {
        EXPECT_EQ(row[i], 0xEE) << i;
    }
}

// --- snapshots ---

TEST(BoardInterface, SnapshotsGoOverIntoAnotherBoard) {
    const Handle first = Make(), second = Make();
    const std::vector<uint32_t> words = FillWords();
    korv_board_write_fifo(first.get(), words.data(), words.size() - 1); // Render waits for its data
    size_t needed = 0;
    EXPECT_EQ(korv_board_save(first.get(), 1, nullptr, 0, &needed), KORV_BOARD_TOO_SMALL);
    std::vector<uint8_t> bytes(needed);
    EXPECT_EQ(korv_board_save(first.get(), 1, bytes.data(), needed - 1, &needed),
              KORV_BOARD_TOO_SMALL);
    ASSERT_EQ(korv_board_save(first.get(), 1, bytes.data(), bytes.size(), &needed), KORV_BOARD_OK);
    EXPECT_EQ(needed, bytes.size());
    ASSERT_EQ(korv_board_restore(second.get(), bytes.data(), bytes.size()), KORV_BOARD_OK);
    korv_board_write_fifo(second.get(), &words.back(), 1);
    EXPECT_EQ(PixelOf(second.get(), 8, 4), 0x336699u);
    EXPECT_EQ(PixelOf(first.get(), 8, 4), 0u);
    EXPECT_EQ(korv_board_restore(second.get(), bytes.data(), 20), KORV_BOARD_BAD_SNAPSHOT);
    EXPECT_STREQ(korv_board_error(second.get()), "the snapshot is cut off");
    EXPECT_EQ(korv_board_restore(second.get(), nullptr, 0), KORV_BOARD_BAD_ARGUMENT);
}

// The form of a snapshot is the same for 32 and 64 bits. These numbers change with the state alone.
TEST(BoardInterface, SnapshotsAreTheSameBytesEverywhere) {
    const Handle board = Make();
    std::vector<uint8_t> bytes(1 << 20);
    size_t size = 0;
    ASSERT_EQ(korv_board_save(board.get(), 0, bytes.data(), bytes.size(), &size), KORV_BOARD_OK);
    uint32_t hash = 2166136261u; // FNV-1a
    for (size_t i = 0; i < size; ++i) {
        hash = (hash ^ bytes[i]) * 16777619u;
    }
    EXPECT_EQ(size, 51615u);
    EXPECT_EQ(hash, 3811856130u);
}

TEST(BoardInterface, ATimingOutOfRangeIsRefused) {
    const Handle board = Make();
    korv_board_config config = DefaultConfig();
    config.fifo_depth = 7;
    EXPECT_EQ(korv_board_set_timing(board.get(), &config), KORV_BOARD_OK);
    EXPECT_EQ(korv_board_read(board.get(), reg::InFIFOSpace), 7u);
    config.interrupt_latency = 1u << 20;
    EXPECT_EQ(korv_board_set_timing(board.get(), &config), KORV_BOARD_BAD_CONFIG);
}

TEST(BoardInterface, WhatIsMissingIsRefused) {
    const Handle board = Make();
    korv_board_config config = DefaultConfig();
    uint32_t word = 0;
    char pixels[4];
    korv_board_picture picture{};
    picture.size = sizeof picture;
    picture.pitch = 4;
    picture.format = KORV_BOARD_ARGB8888;
    picture.width = picture.height = 1;
    picture.picture_format = KORV_BOARD_BYTES_RGBA;
    ASSERT_EQ(korv_board_read_picture(board.get(), &picture, pixels, 4), KORV_BOARD_OK);
    korv_board_video video = {sizeof video, 60, 262, 8, 1, 1, nullptr, GreyLine};
    ASSERT_EQ(korv_board_set_video(board.get(), &video), KORV_BOARD_OK);
    ASSERT_EQ(korv_board_peek(board.get(), "FogMode", &word), KORV_BOARD_OK);
    ASSERT_EQ(korv_board_write_fifo(board.get(), nullptr, 0), KORV_BOARD_OK);
    ASSERT_STREQ(korv_board_error(board.get()), "");

    config.size = sizeof config.size - 1;
    --picture.size;
    korv_board_picture whole = picture;
    ++whole.size;
    --video.size;
    const std::pair<const char*, korv_board_status> calls[] = {
        {"no timing", korv_board_set_timing(board.get(), nullptr)},
        {"a timing without a size", korv_board_set_timing(board.get(), &config)},
        {"no words", korv_board_write_fifo(board.get(), nullptr, 1)},
        {"no memory", korv_board_map(board.get(), 0, nullptr, 4)},
        {"no name", korv_board_peek(board.get(), nullptr, &word)},
        {"no place for a value", korv_board_peek(board.get(), "FogMode", nullptr)},
        {"no picture", korv_board_read_picture(board.get(), nullptr, pixels, 4)},
        {"half a picture", korv_board_read_picture(board.get(), &picture, pixels, 4)},
        {"no place for pixels", korv_board_read_picture(board.get(), &whole, nullptr, 4)},
        {"half a source", korv_board_set_video(board.get(), &video)},
        {"no snapshot", korv_board_restore(board.get(), nullptr, 100)},
        {"a write nowhere", korv_board_write(board.get(), 2, 0)},
        {"no place for an offset", korv_board_find_register("FogMode", nullptr)},
    };
    for (const auto& [what, status] : calls) {
        EXPECT_EQ(status, KORV_BOARD_BAD_ARGUMENT) << what;
    }
    EXPECT_STRNE(korv_board_error(board.get()), "");
}

TEST(BoardInterface, NullIsNoBoard) {
    EXPECT_STREQ(korv_board_error(nullptr), "");
    EXPECT_EQ(korv_board_clock(nullptr), 0u);
    EXPECT_EQ(korv_board_frame_buffer(nullptr, nullptr), nullptr);
    EXPECT_EQ(korv_board_fault_text(nullptr, nullptr, 0), 0u);
    EXPECT_EQ(korv_board_save(nullptr, 0, nullptr, 0, nullptr), KORV_BOARD_BAD_ARGUMENT);
    korv_board_destroy(nullptr);
    EXPECT_EQ(korv_board_api(), uint32_t{KORV_BOARD_API});
    for (int status = KORV_BOARD_OK; status <= KORV_BOARD_INTERNAL; ++status) {
        EXPECT_STRNE(korv_board_status_text(static_cast<korv_board_status>(status)), "no status");
    }
}

} // namespace
