#pragma once
// What can be plugged into the board's video port: a decoder that sends fields, line by line.
#include <cstdint>
#include <vector>

namespace board {

// How a source sends. A field begins with the edge of one reference signal, a line with that of
// the other.
struct VideoSignal {
    uint32_t fieldsPerSecond = 60;
    uint32_t linesPerField = 262;                             // blank ones included
    uint32_t portWidth = 8;                                   // bits: 8 or 16
    bool lineReferenceHigh = true, fieldReferenceHigh = true; // the level that counts
};

class VideoSource {
  public:
    virtual ~VideoSource() = default;
    virtual VideoSignal Signal() const = 0;
    // Line `line` (0 to linesPerField - 1) of field `field`, counted from power on, from the line's
    // first pixel on, blank ones included unless the source marks those that are none. A pixel is
    // Y in the low byte, above it U at even places and V at odd ones. `pixels` comes empty. Called
    // when the line has been sent; must not touch the board.
    virtual void Line(uint64_t field, uint32_t line, std::vector<uint16_t>& pixels) = 0;
};

} // namespace board
