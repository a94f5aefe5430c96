// Life, accesses and time of a board behind C functions.
#include "board/capi/korv_board.h"

#include "board/capi/handle.h"
#include "chip/registers.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>

using board::capi::Call;
using board::capi::Inside;
using board::capi::InsideScope;

static_assert(std::endian::native == std::endian::little, "memories are shared with the guest");
static_assert(KORV_BOARD_APERTURE_BYTES == reg::ApertureBytes);

namespace {

// The record as far as its maker knows it, the rest by default.
korv_board_config Whole(const korv_board_config& given) {
    korv_board_config whole{};
    korv_board_config_init(&whole, sizeof whole);
    std::memcpy(&whole, &given, std::min<size_t>(given.size, sizeof whole));
    return whole;
}

board::Timing TimingOf(const korv_board_config& config) {
    board::Timing timing;
    timing.fifoDepth = config.fifo_depth;
    timing.fifoDrainPerTick = config.fifo_entries_per_tick;
    timing.fifoTicksPerEntry = config.fifo_ticks_per_entry;
    timing.pixelsPerTick = config.pixels_per_tick;
    timing.fifoReportLag = config.fifo_report_lag;
    timing.fifoReportCap = config.fifo_report_cap;
    timing.dmaWordsPerTick = config.dma_words_per_tick;
    timing.interruptLatency = config.interrupt_latency;
    timing.strayOutputWords = config.stray_output_words;
    timing.microsecondsPerTick = config.microseconds_per_tick;
    return timing;
}

board::Config ConfigOf(const korv_board_config& config) {
    board::Config made;
    // What is no chip stays none when it is cut to the width of the enumeration.
    made.chip = static_cast<board::Chip>(std::min(config.chip, 255u));
    made.setupUnit = config.setup_unit != 0;
    made.frameBufferBytes = config.frame_buffer_bytes;
    made.localBufferBytes = config.local_buffer_bytes;
    made.refreshRate = config.refresh_rate;
    made.linesTotal = config.lines_total;
    made.linesBlank = config.lines_blank;
    made.timing = TimingOf(config);
    return made;
}

// Copies as much of the text as there is room for; the length of all of it.
size_t CopyText(const std::string& text, char* to, size_t bytes) {
    if (to != nullptr && bytes != 0) {
        const size_t length = std::min(text.size(), bytes - 1);
        std::memcpy(to, text.data(), length);
        to[length] = '\0';
    }
    return text.size();
}

void Connect(korv_board& handle, const korv_board_config& config) {
    if (config.read_memory != nullptr) {
        handle.board.SetMemoryReader([&handle, read = config.read_memory, user = config.user](
                                         uint32_t address, void* to, size_t bytes) {
            const InsideScope scope(handle.inside, Inside::Callback);
            return read(user, address, to, bytes) != 0;
        });
    }
    if (config.interrupt != nullptr) {
        handle.board.SetInterruptHandler(
            [&handle, interrupt = config.interrupt, user = config.user] {
                const InsideScope scope(handle.inside, Inside::Interrupt);
                interrupt(user);
            });
    }
}

bool IsAccess(uint32_t offset) {
    return offset < KORV_BOARD_APERTURE_BYTES && offset % sizeof(uint32_t) == 0;
}

// Microseconds that `ticks` ticks take: one each where the clock stands still.
uint64_t LengthOf(const korv_board& handle, uint32_t ticks) {
    return uint64_t{ticks} *
           std::max(handle.board.Board::Configuration().timing.microsecondsPerTick, 1u);
}

korv_board_status TooLong(korv_board& handle) {
    return handle.Fail(KORV_BOARD_BAD_ARGUMENT, "more time than " +
                                                    std::to_string(KORV_BOARD_LONGEST_ADVANCE) +
                                                    " microseconds at once");
}

} // namespace

uint32_t korv_board_api(void) {
    return KORV_BOARD_API;
}

const char* korv_board_status_text(korv_board_status status) {
    switch (status) {
    case KORV_BOARD_OK:
        return "done";
    case KORV_BOARD_BAD_ARGUMENT:
        return "an argument is null or out of range";
    case KORV_BOARD_BAD_CONFIG:
        return "a field of the configuration is out of range";
    case KORV_BOARD_NO_MEMORY:
        return "the host has no memory left";
    case KORV_BOARD_BAD_SNAPSHOT:
        return "the snapshot is damaged, or of another make of board";
    case KORV_BOARD_UNKNOWN_NAME:
        return "no register has this name";
    case KORV_BOARD_TOO_SMALL:
        return "the buffer is too small";
    case KORV_BOARD_STILL_BUSY:
        return "the board is not at rest yet";
    case KORV_BOARD_REENTERED:
        return "called by a callback that must not use the board so";
    case KORV_BOARD_INTERNAL:
        return "a bug of the board library";
    }
    return "no status";
}

korv_board_status korv_board_config_init(korv_board_config* config, size_t size) {
    if (config == nullptr || size < sizeof config->size) {
        return KORV_BOARD_BAD_ARGUMENT;
    }
    const board::Config model;
    korv_board_config defaults{};
    defaults.size = static_cast<uint32_t>(std::min(size, sizeof defaults));
    defaults.chip = static_cast<uint32_t>(model.chip);
    defaults.frame_buffer_bytes = model.frameBufferBytes;
    defaults.local_buffer_bytes = model.localBufferBytes;
    defaults.refresh_rate = model.refreshRate;
    defaults.lines_total = model.linesTotal;
    defaults.lines_blank = model.linesBlank;
    defaults.fifo_depth = model.timing.fifoDepth;
    defaults.microseconds_per_tick = model.timing.microsecondsPerTick;
    std::memcpy(config, &defaults, defaults.size);
    return KORV_BOARD_OK;
}

korv_board_status korv_board_create(const korv_board_config* config, korv_board** board,
                                    char* error, size_t error_bytes) {
    const auto fail = [&](korv_board_status status, const std::string& text) {
        CopyText(text, error, error_bytes);
        return status;
    };
    if (board != nullptr) {
        *board = nullptr;
    }
    KORV_TRY {
        if (config == nullptr || board == nullptr || config->size < sizeof config->size) {
            return fail(KORV_BOARD_BAD_ARGUMENT, "no configuration, or none with a size");
        }
        const korv_board_config whole = Whole(*config);
        const board::Config made = ConfigOf(whole);
        if (const std::optional<std::string> problem = made.Problem()) {
            return fail(KORV_BOARD_BAD_CONFIG, *problem);
        }
        auto handle = std::make_unique<korv_board>(made);
        Connect(*handle, whole);
        *board = handle.release();
        return KORV_BOARD_OK;
    }
    KORV_CATCH(const std::bad_alloc&, { return KORV_BOARD_NO_MEMORY; })
    KORV_CATCH(..., { return KORV_BOARD_INTERNAL; })
}

void korv_board_destroy(korv_board* board) {
    if (board != nullptr && board->inside == Inside::Nobody) {
        delete board;
    }
}

const char* korv_board_error(const korv_board* board) {
    return board != nullptr ? board->error.c_str() : "";
}

korv_board_status korv_board_set_timing(korv_board* board, const korv_board_config* config) {
    return Call(board, [&] {
        if (config == nullptr || config->size < sizeof config->size) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT);
        }
        board::Config changed = board->board.Configuration();
        changed.timing = TimingOf(Whole(*config));
        if (const std::optional<std::string> problem = changed.Problem()) {
            return board->Fail(KORV_BOARD_BAD_CONFIG, *problem);
        }
        board->board.SetTiming(changed.timing);
        return KORV_BOARD_OK;
    });
}

uint32_t korv_board_read(korv_board* board, uint32_t offset) {
    uint32_t value = ~uint32_t{0};
    Call(board, [&] {
        if (!IsAccess(offset)) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT);
        }
        value = board->board.Board::Read(offset);
        return KORV_BOARD_OK;
    });
    return value;
}

korv_board_status korv_board_write(korv_board* board, uint32_t offset, uint32_t value) {
    return Call(board, [&] {
        if (!IsAccess(offset)) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT);
        }
        board->board.Board::Write(offset, value);
        return KORV_BOARD_OK;
    });
}

korv_board_status korv_board_write_fifo(korv_board* board, const uint32_t* words, size_t count) {
    return Call(board, [&] {
        if (words == nullptr && count != 0) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT);
        }
        board->board.Board::WriteFifo(words, count);
        return KORV_BOARD_OK;
    });
}

korv_board_status korv_board_map(korv_board* board, uint32_t bus_address, const void* memory,
                                 size_t bytes) {
    return Call(board, [&] {
        if (memory == nullptr && bytes != 0) {
            return board->Fail(KORV_BOARD_BAD_ARGUMENT);
        }
        board->board.MapMemory(bus_address, memory, bytes);
        return KORV_BOARD_OK;
    });
}

int korv_board_interrupt_level(const korv_board* board) {
    return board != nullptr && board->board.Board::InterruptLevel() ? 1 : 0;
}

uint64_t korv_board_clock(const korv_board* board) {
    return board != nullptr ? board->board.Board::Microseconds() : 0;
}

korv_board_status korv_board_idle(korv_board* board, uint32_t ticks) {
    return Call(board, [&] {
        if (LengthOf(*board, ticks) > KORV_BOARD_LONGEST_ADVANCE) {
            return TooLong(*board);
        }
        board->board.Idle(ticks);
        return KORV_BOARD_OK;
    });
}

korv_board_status korv_board_advance(korv_board* board, uint32_t microseconds) {
    return Call(board, [&] {
        if (microseconds > KORV_BOARD_LONGEST_ADVANCE) {
            return TooLong(*board);
        }
        board->board.Advance(microseconds);
        return KORV_BOARD_OK;
    });
}

int korv_board_at_rest(const korv_board* board) {
    return board != nullptr && board->board.Board::AtRest() ? 1 : 0;
}

korv_board_status korv_board_drain(korv_board* board, uint32_t most_ticks) {
    return Call(board, [&] {
        if (LengthOf(*board, most_ticks) > KORV_BOARD_LONGEST_ADVANCE) {
            return TooLong(*board);
        }
        while (!board->board.AtRest()) {
            if (most_ticks-- == 0) {
                return board->Fail(KORV_BOARD_STILL_BUSY);
            }
            board->board.Idle(1);
        }
        return KORV_BOARD_OK;
    });
}

uint8_t* korv_board_frame_buffer(korv_board* board, size_t* bytes) {
    const std::span<uint8_t> memory =
        board != nullptr ? board->board.FrameBuffer() : std::span<uint8_t>{};
    if (bytes != nullptr) {
        *bytes = memory.size();
    }
    return memory.data();
}

uint8_t* korv_board_local_buffer(korv_board* board, size_t* bytes) {
    const std::span<uint8_t> memory =
        board != nullptr ? board->board.LocalBuffer() : std::span<uint8_t>{};
    if (bytes != nullptr) {
        *bytes = memory.size();
    }
    return memory.data();
}

uint32_t korv_board_shown_base(const korv_board* board) {
    return board != nullptr ? board->board.Board::ShownBase() : 0;
}

korv_board_status korv_board_save(korv_board* board, int memories, void* to, size_t capacity,
                                  size_t* needed) {
    return Call(board, [&] {
        using Contents = board::Board::Contents;
        const std::vector<uint8_t> bytes =
            board->board.Save(memories != 0 ? Contents::WithMemories : Contents::StateAlone);
        if (needed != nullptr) {
            *needed = bytes.size();
        }
        if (to == nullptr || capacity < bytes.size()) {
            return board->Fail(KORV_BOARD_TOO_SMALL);
        }
        std::memcpy(to, bytes.data(), bytes.size());
        return KORV_BOARD_OK;
    });
}

korv_board_status korv_board_restore(korv_board* board, const void* snapshot, size_t bytes) {
    return Call(
        board,
        [&] {
            if (snapshot == nullptr) {
                return board->Fail(KORV_BOARD_BAD_ARGUMENT);
            }
            const auto problem =
                board->board.Restore({static_cast<const uint8_t*>(snapshot), bytes});
            return problem ? board->Fail(KORV_BOARD_BAD_SNAPSHOT, *problem) : KORV_BOARD_OK;
        },
        Inside::Nobody);
}

uint64_t korv_board_fault_count(const korv_board* board, korv_board_fault fault) {
    if (board == nullptr) {
        return 0;
    }
    uint64_t count = 0;
    KORV_TRY {
        const board::Faults faults = board->board.FaultReport();
        switch (fault) {
        case KORV_BOARD_FIFO_OVERFLOWS:
            return faults.fifoOverflows;
        case KORV_BOARD_BAD_DMA_ADDRESSES:
            return faults.badDmaAddresses;
        case KORV_BOARD_DMA_RESTARTS:
            return faults.dmaRestarts;
        case KORV_BOARD_BAD_MEMORY_ACCESSES:
            return faults.badMemoryAccesses;
        case KORV_BOARD_MALFORMED_WORDS:
            return faults.malformedWords;
        case KORV_BOARD_UNKNOWN_REGISTERS:
            for (const auto& [number, times] : faults.unknownRegisters) {
                count += times;
            }
            break;
        case KORV_BOARD_UNWAITED_ENTRIES:
            for (const auto& [number, of] : faults.unwaited) {
                count += of.entries;
            }
            break;
        case KORV_BOARD_UNMODELLED_UNITS:
            for (const auto& [unit, times] : faults.unmodelled) {
                count += times;
            }
            break;
        case KORV_BOARD_FAULT_KINDS:
            break;
        }
    }
    KORV_CATCH(..., {})
    return count;
}

size_t korv_board_fault_text(const korv_board* board, char* to, size_t bytes) {
    size_t length = CopyText({}, to, bytes);
    KORV_TRY {
        if (board != nullptr) {
            length = CopyText(board->board.FaultReport().Describe(), to, bytes);
        }
    }
    KORV_CATCH(..., {})
    return length;
}
