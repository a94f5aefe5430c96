#pragma once
// What a capture is made of: events, each a step of the board, and marks for people.
#include "board/config.h"
#include "board/video/video_source.h"
#include "stream/mark.h"

#include <cstdint>
#include <span>

namespace stream {

enum class EventKind : uint8_t {
    Read,         // the processor reads a register of the aperture
    Write,        // it writes one
    FifoWord,     // it writes a word into the FIFO window
    DmaWord,      // the transfer under way moves a word
    DmaFault,     // it ends early: nobody answers at its address
    Ticks,        // time passes, and the units go on
    Clock,        // the clock alone moves on
    Units,        // the units take a tick, the clock none
    Interrupt,    // the interrupt handler is called
    InterruptEnd, // it has returned
    Timing,       // how the board keeps time changes
    VideoSource,  // something is plugged into the video port, or unplugged
    VideoLine,    // a line that the port takes
    HostMemory,   // the chip can read memory of the machine at a bus address
    Store,        // the processor has stored into a memory behind the chip's back
    State,        // the board's whole state, memories apart, where a capture starts in the middle
    Mark,         // no step of the board
};

enum class Memory : uint8_t {
    FrameBuffer,
    LocalBuffer,
    Host, // of the machine, which the chip reads textures from; offsets are bus addresses
};

// What the fields hold depends on the kind; the others are zero. What it points at lives until the
// next event is read.
struct Event {
    EventKind kind = EventKind::Mark;
    // Read, Write, FifoWord: its tick stands before it, as an event of its own. Otherwise each of
    // them is a tick first.
    bool ticked = false;
    Memory memory = Memory::FrameBuffer; // Store
    // Read, Write: in the aperture, bytes. DmaWord: bus address, bytes. Store: in the memory,
    // bytes. HostMemory: bus address. VideoLine: number of the line in its field.
    uint32_t offset = 0;
    // Read, Write: of the register. FifoWord, DmaWord: the word. Ticks: how many. Clock:
    // microseconds. HostMemory: bytes.
    uint32_t value = 0;
    uint64_t field = 0;                         // VideoLine: number, from power on
    std::span<const uint8_t> bytes;             // Store, State
    std::span<const uint16_t> pixels;           // VideoLine
    const board::Timing* timing = nullptr;      // Timing
    const board::VideoSignal* signal = nullptr; // VideoSource; null: unplugged
    const Mark* mark = nullptr;                 // Mark

    bool IsWord() const { return kind == EventKind::FifoWord || kind == EventKind::DmaWord; }
};

// A point between two events, told by what lies before it.
struct Position {
    uint64_t event = 0; // events; marks and states are none
    uint64_t word = 0;  // words of the command stream, by FIFO and by DMA
    uint64_t call = 0, batch = 0, frame = 0, step = 0; // marks of these kinds

    bool operator==(const Position&) const = default;
    // Moves behind `event`.
    void Pass(const Event& passed);
};

inline void Position::Pass(const Event& passed) {
    if (passed.kind == EventKind::Mark) {
        switch (passed.mark->kind) {
        case MarkKind::Call:
            ++call;
            break;
        case MarkKind::Batch:
            ++batch;
            break;
        case MarkKind::Frame:
            ++frame;
            break;
        case MarkKind::Step:
            ++step;
            break;
        default:
            break;
        }
        return;
    }
    if (passed.kind != EventKind::State) {
        ++event;
        word += passed.IsWord() ? 1 : 0;
    }
}

} // namespace stream
