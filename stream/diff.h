#pragma once
// Where two streams differ: in what they send to registers, aligned by it and not by position, or
// in what they draw under.
#include "stream/sent.h"

#include <functional>
#include <set>
#include <vector>

namespace stream {

// One register, on one side or on both.
struct Changed {
    std::optional<Sent> a, b; // both: of one register, or stores into one place
    // With `state`: of this drawing command, the pixels or texels differ that were sent before it.
    bool data = false;
};

// Places at which the streams part, up to where they are one again.
struct Hunk {
    Position a, b;
    std::vector<Changed> changes; // in order
};

struct DiffTotals {
    uint64_t same = 0; // writes, or with `state` primitives
    uint64_t hunks = 0;
    uint64_t changed = 0, onlyA = 0, onlyB = 0;
    bool Equal() const { return hunks == 0; }
};

struct DiffOptions {
    // Offsets of registers that are not compared; Sent::kStore for what the processor stored.
    std::set<uint32_t> ignored;
    // Compare what each primitive is drawn under, not what is sent. A register that goes on to
    // differ in the same way is told once.
    bool state = false;
    // Stop behind the first hunk.
    bool first = false;
};

// Compares what is left of two streams, and hands over each difference as it is found. Both are
// read at once, a few thousand writes at a time.
DiffTotals Diff(Source& a, Source& b, const DiffOptions& options,
                const std::function<void(const Hunk&)>& found);

} // namespace stream
