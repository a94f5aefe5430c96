#pragma once
// Calls of the C interface, words, configurations and snapshots by whatever choices: whatever it is
// told, it returns, and what the hardware would not like is counted.
#include "board/capi/korv_board.h"
#include "chip/register_table.h"
#include "chip/registers.h"
#include "chip/words.h"
#include "tests/board/capi/handle.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <vector>

namespace capi_rig {

// Where choices come from.
class Choices {
  public:
    // There are more.
    virtual bool More() const = 0;
    virtual uint32_t Word() = 0;
    // Below `end`, which is above 0.
    virtual uint32_t Below(uint32_t end) = 0;
    // A call may take seconds.
    virtual bool TakesItsTime() const = 0;

  protected:
    ~Choices() = default;
};

inline constexpr uint32_t kGuestWords = 4096;

class AnyCalls {
  public:
    explicit AnyCalls(Choices& choices) : choices_(choices), guest_(kGuestWords) {}

    // Makes `calls` calls, with a new board every few hundred.
    void Run(uint64_t calls) {
        for (uint64_t done = 0; done < calls && choices_.More();) {
            NewBoard();
            for (uint32_t left = Below(400); left != 0 && board_ && choices_.More(); --left) {
                Call();
                ++done;
            }
            Close();
        }
    }

    std::array<uint64_t, KORV_BOARD_FAULT_KINDS> faults{};
    std::array<uint64_t, KORV_BOARD_INTERNAL + 1> statuses{};
    uint64_t boards = 0, refusedConfigs = 0, callbacks = 0, drawn = 0;
    const char* broken = nullptr; // the first promise that was; none: null

  private:
    uint32_t Below(uint32_t end) { return choices_.Below(end); }
    bool Chance(uint32_t one) { return Below(one) == one - 1; }
    // Primitives and times without bounds.
    bool Wild(uint32_t one) { return choices_.TakesItsTime() && Chance(one); }
    void Hold(bool holds, const char* promise) {
        if (!holds && broken == nullptr) {
            broken = promise;
        }
    }
    uint32_t Any() {
        switch (Below(4)) {
        case 0:
            return Below(8);
        case 1:
            return choices_.Word() & choices_.Word();
        case 2:
            return 1u << Below(32);
        default:
            return choices_.Word();
        }
    }
    korv_board_status Note(korv_board_status status) {
        if (status < KORV_BOARD_OK || status >= KORV_BOARD_INTERNAL) {
            Hold(false, "a status that is none, or a bug of the library");
            return status;
        }
        ++statuses[static_cast<size_t>(status)];
        return status;
    }

    void NewBoard() {
        korv_board_config config;
        korv_board_config_init(&config, sizeof config);
        config.chip = Below(5);
        config.setup_unit = Below(2);
        config.frame_buffer_bytes = 4096 << Below(4);
        config.local_buffer_bytes = 4096 * Below(4);
        config.fifo_depth = 1 + Below(300);
        config.fifo_entries_per_tick = Chance(2) ? 0 : Below(4);
        config.fifo_ticks_per_entry = Chance(2) ? 0 : Below(5);
        config.pixels_per_tick = Chance(2) ? 0 : 1 + Below(64);
        config.fifo_report_lag = Below(4);
        config.fifo_report_cap = Below(40);
        config.dma_words_per_tick = Chance(2) ? 0 : Below(10);
        config.interrupt_latency = Below(20);
        config.stray_output_words = Below(3);
        config.microseconds_per_tick = Below(20);
        config.user = this;
        config.read_memory = Chance(4) ? nullptr : ReadMemory;
        config.interrupt = Chance(4) ? nullptr : Interrupt;
        if (Chance(10)) {
            // A field of any value, but for the pointers behind them.
            const size_t field = sizeof(uint32_t) * Below(offsetof(korv_board_config, user) / 4);
            const uint32_t value = Any();
            std::memcpy(reinterpret_cast<char*>(&config) + field, &value, sizeof value);
            config.frame_buffer_bytes = std::min(config.frame_buffer_bytes, 1u << 20);
            config.local_buffer_bytes = std::min(config.local_buffer_bytes, 1u << 20);
        }
        korv_board* board = nullptr;
        const korv_board_status status = Note(korv_board_create(&config, &board, nullptr, 0));
        Hold((status == KORV_BOARD_OK) == (board != nullptr), "a board, or a failure");
        (board != nullptr ? boards : refusedConfigs)++;
        board_.reset(board);
        config_ = config;
        if (board_) {
            korv_board_write(board, reg::IntEnable, 0x219);
            korv_board_write(board, reg::DisconnectControl, Below(2));
            const uint32_t draws[] = {tag::FBWriteMode, 1, tag::FBReadMode, 1};
            korv_board_write_fifo(board, draws, 4);
        }
        for (uint32_t i = 0; i < kGuestWords; ++i) {
            guest_[i] = 0;
        }
        const std::vector<uint32_t> words = Words(Below(400));
        std::copy(words.begin(), words.begin() + std::min<size_t>(words.size(), kGuestWords),
                  guest_.begin());
    }

    void Close() {
        if (!board_) {
            return;
        }
        for (int kind = 0; kind < KORV_BOARD_FAULT_KINDS; ++kind) {
            faults[static_cast<size_t>(kind)] +=
                korv_board_fault_count(board_.get(), static_cast<korv_board_fault>(kind));
        }
        size_t bytes = 0;
        const uint8_t* memory = korv_board_frame_buffer(board_.get(), &bytes);
        drawn += static_cast<uint64_t>(
            std::count_if(memory, memory + bytes, [](uint8_t byte) { return byte != 0; }));
        board_.reset();
    }

    // Data for a register. Primitives stay small but for a few: hours of drawing are no hang, and
    // take hours.
    uint32_t DataFor(uint32_t tagNumber) {
        switch (tagNumber) {
        case tag::Count:
        case tag::Continue:
        case tag::ContinueNewDom:
        case tag::ContinueNewSub:
        case tag::ContinueNewLine:
            return Below(24);
        case tag::StartXDom:
        case tag::StartXSub:
        case tag::StartY:
            return Wild(100) ? Any() : Below(64) << 16 | Below(0x10000);
        case tag::dXDom:
        case tag::dXSub:
            return Wild(100) ? Any() : Below(0x40000) - 0x20000;
        case tag::FBWriteMode:
        case tag::FBHardwareWriteMask:
        case tag::FBSoftwareWriteMask:
            return Chance(8) ? Any() : ~0u;
        case tag::Render:
            return Chance(2) ? 0x40 | (Any() & 0x1F021) : Any();
        default:
            return IsVertex(tagNumber) && !Wild(500) ? Coordinate(tagNumber) : Any();
        }
    }
    static bool IsVertex(uint32_t tagNumber) {
        return tagNumber >= kVertexStoreFirst && tagNumber < kVertexStoreEnd;
    }
    // 0 to 44, in the form of the group.
    uint32_t Coordinate(uint32_t tagNumber) {
        const bool isFloat = tagNumber >= tag::V0Float;
        return isFloat ? std::bit_cast<uint32_t>(static_cast<float>(Below(64)) * 0.7f)
                       : Below(44) << 16 | Below(0x10000);
    }
    uint32_t AnyTag() {
        if (Chance(30)) {
            return Below(kTagMask + 1);
        }
        const uint32_t often[] = {tag::Render, tag::Render,       tag::Count,    tag::StartXDom,
                                  tag::Color,  tag::DrawTriangle, tag::Continue, tag::StartXSub};
        if (Chance(3)) {
            return often[Below(std::size(often))];
        }
        // The first from some place on that has one.
        size_t place = Below(std::size(kRegisters));
        while (!kRegisters[place].HasTag()) {
            place = (place + 1) % std::size(kRegisters);
        }
        const Register& entry = kRegisters[place];
        return entry.Tag() + (entry.use == Use::Vertex ? Below(16) : 0);
    }
    // About `count` words of all three forms, and some of none. What is cut off goes on with the
    // next ones.
    std::vector<uint32_t> Words(uint32_t count) {
        std::vector<uint32_t> words;
        while (words.size() < count) {
            const uint32_t tagNumber = AnyTag();
            if (Chance(60)) {
                words.push_back(Any() | 0x4000); // malformed
            } else if (Chance(6)) {
                const uint32_t length = 1 + Below(20);
                words.push_back(HoldTag(tagNumber, length));
                for (uint32_t i = 0; i < length; ++i) {
                    words.push_back(DataFor(tagNumber));
                }
            } else if (Chance(6)) {
                const uint32_t mask = Any() & 0xFFFF;
                words.push_back(IndexedTag(tagNumber & ~0xFu, mask));
                for (uint32_t i = 0; i < 16; ++i) {
                    if ((mask >> i & 1) != 0) {
                        words.push_back(DataFor((tagNumber & ~0xFu) + i));
                    }
                }
            } else {
                words.push_back(tagNumber);
                words.push_back(DataFor(tagNumber));
            }
        }
        return words;
    }

    void StartDma(korv_board* board) {
        Note(korv_board_write(board, reg::DMAAddress, Chance(5) ? Any() : 4 * Below(3000)));
        Note(korv_board_write(board, reg::DMACount, Chance(20) ? Any() : Below(300)));
        if (Chance(4)) {
            Note(korv_board_write(board, reg::DMACount, Below(300)));
        }
    }

    void Access(korv_board* board) {
        const Register& entry = kRegisters[Below(std::size(kRegisters))];
        const uint32_t offset = Chance(20) ? Any() : entry.offset;
        if (Chance(2)) {
            korv_board_read(board, offset);
            return;
        }
        if (offset == reg::DMACount) {
            StartDma(board);
            return;
        }
        const bool mapped = offset >= reg::MappedRegisters && offset < reg::ApertureBytes;
        Note(korv_board_write(board, offset,
                              mapped             ? DataFor((offset - reg::MappedRegisters) / 8)
                              : InWindow(offset) ? HoldTag(tag::FogColor, 1)
                                                 : Any()));
    }
    // A word there goes into the stream as it is: it must not become the rows of a primitive.
    static bool InWindow(uint32_t offset) {
        return offset >= reg::FIFOWindow && offset < reg::FIFOWindow + reg::FIFOPageBytes;
    }

    void Call() {
        korv_board* board = board_.get();
        switch (Below(22)) {
        case 0:
        case 1:
        case 2:
        case 3:
        case 4:
        case 5: {
            const std::vector<uint32_t> words = Words(Below(120));
            Note(korv_board_write_fifo(board, words.data(), words.size()));
            break;
        }
        case 6:
        case 7:
            Access(board);
            break;
        case 8:
            StartDma(board);
            break;
        case 9:
            Note(korv_board_idle(board, Wild(50) ? Any() : Below(300)));
            break;
        case 10:
            Note(korv_board_advance(board, Wild(50) ? Any() % 100000000 : Below(30000)));
            break;
        case 11:
            Note(korv_board_drain(board, Below(2000)));
            break;
        case 12:
            Map(board);
            break;
        case 13:
            Video(board);
            break;
        case 14:
            Picture(board);
            break;
        case 15:
            Snapshot(board);
            break;
        case 16: {
            korv_board_config config = config_;
            config.fifo_depth = Any() % 300;
            config.dma_words_per_tick = Below(6);
            config.microseconds_per_tick = Below(30);
            config.fifo_entries_per_tick = Below(3);
            Note(korv_board_set_timing(board, Chance(20) ? nullptr : &config));
            break;
        }
        case 17: {
            uint32_t value = 0;
            Note(korv_board_peek(board, kRegisters[Below(std::size(kRegisters))].name, &value));
            const char name[] = {static_cast<char>(Any()), '+', static_cast<char>(Any()), '\0'};
            Note(korv_board_find_register(name, &value));
            break;
        }
        case 18:
            FaultText(board);
            Hold(korv_board_error(board) != nullptr, "there is always a text");
            korv_board_fault_count(board, static_cast<korv_board_fault>(Below(12)));
            break;
        case 19:
            Nulls(board);
            break;
        case 20: {
            size_t bytes = 0;
            if (uint8_t* memory = korv_board_frame_buffer(board, &bytes)) {
                memory[Below(static_cast<uint32_t>(bytes))] = static_cast<uint8_t>(Any());
            }
            if (uint8_t* memory = korv_board_local_buffer(board, &bytes)) {
                memory[Below(static_cast<uint32_t>(bytes))] = static_cast<uint8_t>(Any());
            }
            break;
        }
        default:
            korv_board_clock(board);
            korv_board_at_rest(board);
            korv_board_shown_base(board);
            korv_board_interrupt_level(board);
            break;
        }
    }
    void Map(korv_board* board) {
        const uint32_t place = Below(kGuestWords);
        const size_t bytes = Chance(3) ? 0 : Below((kGuestWords - place) * 4 + 1);
        const uint32_t address = Chance(3) ? Any() : 0x1000 * Below(4);
        Note(korv_board_map(board, address, Chance(30) ? nullptr : &guest_[place], bytes));
    }
    void Video(korv_board* board) {
        korv_board_video video = {
            sizeof video, 1 + Below(100), 1 + Below(400), Chance(2) ? 8u : 16u,
            Below(2),     Below(2),       this,           VideoLine};
        if (Chance(5)) {
            video.lines_per_field = Any();
            video.port_width = Below(20);
        }
        Note(korv_board_set_video(board, Chance(4) ? nullptr : &video));
        korv_board_write(board, reg::VSControl, Below(8) | Any() << 9);
        korv_board_write(board, reg::VSEndLine, Chance(5) ? Any() : Below(300));
        korv_board_write(board, reg::VSEndPixel, Chance(5) ? Any() : Below(100));
        korv_board_write(board, reg::VSBufferBase0, Chance(5) ? Any() : Below(1000));
        korv_board_write(board, reg::VSBufferStride, Any());
        korv_board_write(board, reg::VSStreamControl, Any() | 1);
    }
    void Picture(korv_board* board) {
        const korv_board_picture picture = {sizeof picture,
                                            Any(),
                                            Any(),
                                            Below(8),
                                            nullptr,
                                            Any(),
                                            Any(),
                                            Chance(20) ? Any() : Below(40),
                                            Chance(20) ? Any() : Below(40),
                                            Below(4)};
        std::vector<uint8_t> to(size_t{40} * 160);
        // Only as many rows as there is room for.
        if (picture.height <= 40) {
            Note(korv_board_read_picture(board, &picture, to.data(), 160));
        }
    }
    void Snapshot(korv_board* board) {
        size_t needed = 0;
        const int memories = static_cast<int>(Below(2));
        std::vector<uint8_t> bytes(Chance(5) ? Below(1000) : 1u << 20);
        const auto saved =
            Note(korv_board_save(board, memories, bytes.data(), bytes.size(), &needed));
        if (saved == KORV_BOARD_OK) {
            bytes.resize(needed);
            last_.swap(bytes);
        }
        if (last_.empty()) {
            return;
        }
        std::vector<uint8_t> changed = last_;
        if (Chance(2)) {
            // Not in values: those that say how much is to be drawn would be drawn.
            changed[Below(60)] = static_cast<uint8_t>(Any());
            changed.resize(Chance(2) ? changed.size()
                                     : Below(static_cast<uint32_t>(changed.size())));
        }
        Note(korv_board_restore(board, changed.data(), changed.size()));
    }
    void Nulls(korv_board* board) {
        Note(korv_board_write_fifo(board, nullptr, Below(2)));
        Note(korv_board_write(nullptr, Any(), Any()));
        Note(korv_board_peek(board, nullptr, nullptr));
        Note(korv_board_read_picture(board, nullptr, nullptr, Any()));
        Note(korv_board_restore(board, nullptr, Any()));
        Note(korv_board_save(board, 1, nullptr, 0, nullptr));
        Note(korv_board_create(nullptr, nullptr, nullptr, Any()));
    }

    static int ReadMemory(void* user, uint32_t address, void* to, size_t bytes) {
        AnyCalls& self = *static_cast<AnyCalls*>(user);
        ++self.callbacks;
        if (address % 4 != 0 || address / 4 >= kGuestWords) {
            return 0;
        }
        std::memcpy(to, &self.guest_[address / 4], bytes);
        if (self.Chance(50)) {
            self.Hold(self.Note(korv_board_write(self.board_.get(), 0, 0)) == KORV_BOARD_REENTERED,
                      "a callback that reads memory must not touch the board");
        }
        return 1;
    }
    static void Interrupt(void* user) {
        AnyCalls& self = *static_cast<AnyCalls*>(user);
        ++self.callbacks;
        korv_board* board = self.board_.get();
        if (board == nullptr) {
            return;
        }
        korv_board_destroy(board);
        korv_board_write(board, reg::IntFlags, korv_board_read(board, reg::IntFlags));
        if (self.Chance(4)) {
            self.Access(board);
        }
        if (self.Chance(10)) {
            self.Hold(self.Note(korv_board_restore(board, "", 0)) == KORV_BOARD_REENTERED,
                      "the interrupt callback must not restore");
        }
    }
    static uint32_t VideoLine(void* user, uint64_t field, uint32_t line, uint16_t* pixels,
                              uint32_t capacity) {
        AnyCalls& self = *static_cast<AnyCalls*>(user);
        const uint32_t count = line % 100;
        for (uint32_t i = 0; i < count && i < capacity; ++i) {
            pixels[i] = static_cast<uint16_t>(field + i);
        }
        return self.Chance(100) ? 0xFFFFFFFF : count;
    }

    Choices& choices_;
    std::vector<uint32_t> guest_;
    std::vector<uint8_t> last_; // snapshot, perhaps of another board
    korv_board_config config_{};
    Handle board_;
};

} // namespace capi_rig
