#pragma once
// The outside tool of the driver's DMA trace.
#include <cstdint>
#include <functional>
#include <ostream>

namespace korv::trace {

struct Options {
    bool step = false;  // ask on standard input before each batch
    uint32_t limit = 0; // batches to trace; 0 for all
};

// Runs `program` in a process of its own, its DMA batches in lock-step with this one, and lists
// their words on `listing`; questions and complaints go to `err`. Returns the program's exit code,
// or 128 and the number of the signal that ended it or this trace. What the two processes share is
// gone afterwards. Throws UserError if there is no room for it.
int Run(const Options& options, const std::function<int()>& program, std::ostream& listing,
        std::ostream& err);

} // namespace korv::trace
