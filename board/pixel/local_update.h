#pragma once
// Words of the local buffer that are written past the depth test: fills and copies on the Glint
// family.
#include "board/values/fault_counts.h"
#include "board/values/memory.h"
#include "board/values/registers.h"

#include <cstdint>

namespace board {

// In force while the Window word forces the update and LBWriteMode lets it through. Elements are
// 32-bit words whatever the depth format.
struct LocalUpdate {
    enum class Way : uint8_t {
        None,
        Fill, // with the Depth register
        Copy, // from LBSourceOffset words further
    };
    Way way;
    Plane target;
    int64_t sourceBase; // of the target's layout
    uint32_t fill;
};

// Settings that the board cannot honour are counted in `faults`.
LocalUpdate DecodeLocalUpdate(const DeviceRow& chip, const RegisterFile& registers,
                              Memories& memories, FaultCounts& faults);

// Updates the words of a span inside the clip rectangle, in the order of the walk. `watch` as in
// watch.h.
template <class Watch>
void UpdateLocalSpan(const LocalUpdate& update, const Span& span, FaultCounts& faults,
                     Watch& watch);

} // namespace board
