#pragma once
// What goes wrong on the board, counted by the units that notice it. All zero on a healthy run.
#include "board/values/state_visitor.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace board {

// Entries of one register that the processor wrote without having asked for their room.
struct UnwaitedEntries {
    uint64_t entries = 0;
    // Of the first: its index among all words that went into the FIFO window, or among all mapped
    // register writes.
    uint64_t firstPlace = 0;

    bool operator==(const UnwaitedEntries&) const = default;
};

// Entries that the processor wrote, by tag.
using EntryCounts = std::array<uint64_t, 0x400>;

struct FaultCounts {
    uint64_t fifoOverflows = 0;     // register writes lost because the input FIFO was full
    uint64_t badDmaAddresses = 0;   // transfers from bus addresses that nobody mapped
    uint64_t dmaRestarts = 0;       // transfers started while another one was running
    uint64_t badMemoryAccesses = 0; // pixel or depth accesses outside the memories
    uint64_t malformedWords = 0;    // stream words that are no tag word
    // Tag or aperture offset (>= 0x8000 is mapped) -> writes.
    std::map<uint32_t, uint64_t> unknownRegisters;
    // Tag (words of the FIFO window) or aperture offset (mapped writes) -> entries that were never
    // waited for.
    std::map<uint32_t, UnwaitedEntries> unwaited;
    // Unit that was asked for and does not exist here -> times.
    std::map<std::string, uint64_t> unmodelled;

    void Visit(StateVisitor& visit);
};

} // namespace board
