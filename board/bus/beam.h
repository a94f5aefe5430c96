#pragma once
// Where the beam is at a time of the board's clock.
#include <cstdint>

namespace board {

struct Beam {
    uint32_t refreshRate; // frames per second
    uint32_t linesTotal;  // scan lines per frame, blank included

    // Line at `microseconds`, 0 to linesTotal - 1. A frame begins with its blank lines.
    uint32_t Line(uint64_t microseconds) const {
        const uint64_t lines = microseconds * refreshRate * linesTotal / kMicrosecondsPerSecond;
        return static_cast<uint32_t>(lines % linesTotal);
    }
    // Frames begun since power on, the first not counted.
    uint64_t Frame(uint64_t microseconds) const {
        return microseconds * refreshRate / kMicrosecondsPerSecond;
    }
    // First microsecond of frame `frame`.
    uint64_t FrameStart(uint64_t frame) const {
        return (frame * kMicrosecondsPerSecond + refreshRate - 1) / refreshRate;
    }

    static constexpr uint64_t kMicrosecondsPerSecond = 1000000;
};

} // namespace board
