#pragma once
// What a stream is made of, in numbers.
#include "stream/changes.h"
#include "stream/drawn_counts.h"
#include "stream/player.h"
#include "stream/primitives.h"

#include <array>
#include <vector>

namespace stream {

// Counts of a part of a stream.
struct StreamCounts {
    uint64_t words = 0, fifoWords = 0, dmaWords = 0;
    // Words by what they are.
    uint64_t pairTags = 0, holdTags = 0, indexedTags = 0, malformed = 0, data = 0;
    uint64_t reads = 0, writes = 0; // accesses of the aperture
    // Of data words and written registers: those that gave a register the value that it had.
    uint64_t unchanged = 0;
    uint64_t calls = 0, batches = 0, fifoBatches = 0, primitives = 0, flips = 0, interrupts = 0;
    // Bytes that the processor stored behind the chip's back, by Memory.
    std::array<uint64_t, 3> stored{};
    uint64_t videoLines = 0;
    DrawnCounts drawn; // of a stream that was played

    StreamCounts operator-(const StreamCounts& before) const;
};

// Of the writes of one register.
struct RegisterCounts {
    uint64_t writes = 0, unchanged = 0;
};

struct Statistics {
    StreamCounts all;
    // Frame by frame; what stands behind the last one's end is the last of them, if it is anything.
    std::vector<StreamCounts> frames;
    std::vector<RegisterCounts> registers; // by offset / 4 in the aperture
};

// Reads all that is left of the stream.
Statistics CountStream(Source& source);
// The same, and plays it: what is drawn is counted, too.
Statistics CountStream(Player& player);

} // namespace stream
