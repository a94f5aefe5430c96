#pragma once
// What a board is made of and how it keeps time.
#include "board/values/state_visitor.h"
#include "chip/devices.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace board {

using Chip = ChipModel;

// How the board keeps time. A tick is one register access by the processor, or one unit of Idle().
// Zero rates mean "at once". The defaults are a board that is always ready; tests set others.
struct Timing {
    uint32_t fifoDepth = 256;      // entries (decoded register writes) of the input FIFO
    uint32_t fifoDrainPerTick = 0; // entries executed per tick
    // Ticks that an entry takes, for paces below one a tick: with 2 or more it is the rate,
    // whatever fifoDrainPerTick says.
    uint32_t fifoTicksPerEntry = 0;
    // Pixels that the pipeline draws per tick: whatever draws keeps the FIFO waiting as long.
    uint32_t pixelsPerTick = 0;
    uint32_t fifoReportLag = 0;       // InFIFOSpace reports the space of this many reads ago
    uint32_t fifoReportCap = 0;       // InFIFOSpace never reports more than this (0 = no cap)
    uint32_t dmaWordsPerTick = 0;     // words moved from memory per tick
    uint32_t interruptLatency = 0;    // ticks from the raising of the line to the handler
    uint32_t strayOutputWords = 0;    // words of other tags put before each answer
    uint32_t microsecondsPerTick = 1; // how far the board's clock moves per tick

    // Entries are executed as they arrive.
    constexpr bool PipelineAtOnce() const {
        return fifoDrainPerTick == 0 && fifoTicksPerEntry == 0 && pixelsPerTick == 0;
    }
    bool operator==(const Timing&) const = default;
    void Visit(StateVisitor& visit);
};

struct Config {
    Chip chip = Chip::Permedia;
    bool setupUnit = false; // a setup unit sits in front of the rasteriser
    uint32_t frameBufferBytes = 8u << 20;
    uint32_t localBufferBytes = 8u
                                << 20; // 0 on the Permedia family: depth lives in the frame buffer
    uint32_t refreshRate = 60;         // frames per second
    uint32_t linesTotal = 525;         // scan lines per frame, blank included
    uint32_t linesBlank = 45;          // of them in vertical blank, counted from line 0
    Timing timing;

    // What is wrong with a configuration that comes from outside. A board takes it for granted that
    // nothing is.
    std::optional<std::string> Problem() const;
    void Visit(StateVisitor& visit);
};

// Memory for the board to use instead of its own: zeroes, of the configuration's sizes, which
// outlive the board. Empty: its own.
struct LentMemories {
    std::span<uint8_t> frameBuffer, localBuffer;
};

} // namespace board
