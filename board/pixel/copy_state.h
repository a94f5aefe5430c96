#pragma once
// Copies inside the frame buffer: where a pixel's source lies. The mode words are decoded once per
// primitive.
#include "board/pixel/packed_limits.h"
#include "board/pixel/source_key.h"
#include "board/values/fault_counts.h"
#include "board/values/memory.h"
#include "board/values/registers.h"

#include <cstdint>

namespace board {

struct CopyState {
    enum class Way : uint8_t {
        None,
        Pixels, // the source lies a fixed distance from the pixel
        Packed, // the same in whole words, spans counting columns of words
        Texels, // the source is found by the texture coordinates S and T
    };
    Way way;
    Plane source; // of Pixels and Texels with the distance in its base, of Packed without
    SourceKey key;

    // Of Packed.
    PackedLimits limits;
    int64_t byteShift; // bytes from a byte of the destination's row to the one that goes there
    int64_t wordShift; // words from a destination's column to the source word that it fetches
};

// The copy that FBReadMode asks for, if any. `target` is where it goes. Settings that the board
// cannot honour are counted in `faults`.
CopyState DecodeCopy(const DeviceRow& chip, const RegisterFile& registers, const Plane& target,
                     FaultCounts& faults);

} // namespace board
