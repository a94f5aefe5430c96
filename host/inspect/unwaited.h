#pragma once
// The few routines of the driver that ask for less FIFO space than they use, and are meant to.
#include "board/board.h"

#include <cstdint>
#include <span>

namespace host {

struct UnwaitedByDesign {
    const char* routine;
    const char* reason;
    bool (*has)(const board::Config& config); // boards that the routine is for
    // Where the missing space is felt: FIFO words of these registers, by tag.
    std::span<const uint32_t> registers;
    // So many entries too few are asked for, at most, each time that `per` is written.
    uint64_t missing;
    uint32_t per;
};
std::span<const UnwaitedByDesign> AllUnwaitedByDesign();

// The board's faults without those of the list. Registers of an entry whose count goes beyond what
// the routine can explain stay, and so does every mapped write.
board::Faults UnexpectedFaults(const board::Board& board);

} // namespace host
