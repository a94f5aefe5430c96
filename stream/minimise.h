#pragma once
// Finds a small stream with which something still happens, by leaving out what makes no difference
// to that.
#include "stream/source.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace stream {

// Of `count` pieces those that are needed: leaves out runs of them, long ones first, as long as
// holds(those left, ascending) is true. It is, for all of them. Leaving out any one more makes it
// false.
std::vector<size_t> NeededPieces(size_t count,
                                 const std::function<bool(const std::vector<size_t>&)>& holds);

struct Minimised {
    std::string capture; // its bytes
    // Words of the command stream, before and behind.
    uint64_t wordsBefore = 0, words = 0;
    uint64_t tries = 0;
    // The words had to stay as they were carried, and whole batches go.
    bool asCarried = false;
};

// `part` stands at its start. `holds` is asked with the bytes of captures, and true for what is
// there at first: StreamError otherwise. Where it stays true, all words go by FIFO, without
// transfers, interrupts, reads and the passing of time, and what is left out are first batches,
// then primitives, then bursts, then the single registers of these, and stores of the processor.
// Checksums of marks are those of the board that plays what is left.
Minimised Minimise(Source& part, const std::string& maker,
                   const std::function<bool(const std::string&)>& holds);

} // namespace stream
