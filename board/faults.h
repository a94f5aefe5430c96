#pragma once
// The board's faults for people to read.
#include "board/values/fault_counts.h"

#include <string>

namespace board {

struct Faults : FaultCounts {
    bool Any() const;
    std::string Describe() const; // one line per fault, empty when healthy
};

} // namespace board
