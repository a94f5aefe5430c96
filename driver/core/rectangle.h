#pragma once
// How a rectangle of a blit or a load is drawn: its edges, its rows and the word that starts it,
// from either end.
//
// Sink is whatever takes a register's tag and data by Tag(): the stream (StreamWriter) or the
// mapped registers (MappedWriter).
#include "driver/core/dma.h"

#include <cstdint>

// A copy within one memory walks from the end that keeps it from reading what it has written.
enum class BlitDirection {
    Forward,  // top to bottom, left to right
    Backward, // bottom to top, right to left
};

inline int32_t WidthOf(const RECTL& rect) {
    return rect.right - rect.left;
}
inline int32_t HeightOf(const RECTL& rect) {
    return rect.bottom - rect.top;
}

// A coordinate in 16.16.
constexpr uint32_t Fixed16(int32_t coordinate) {
    return static_cast<uint32_t>(coordinate) << 16;
}

// Register writes past the stream, with the interface of a StreamWriter.
class MappedWriter {
  public:
    explicit MappedWriter(DriverData* driver) : driver_(driver) {}

    // Reads the space of the input FIFO until `entries` are free.
    void Wait(uint32_t entries) { PollFIFOSpace(driver_->Registers, entries); }
    void Tag(uint32_t tagNumber, uint32_t data) { WriteChipRegister(driver_, tagNumber, data); }

  private:
    DriverData* driver_;
};

// The edges at which rows start and end, in the chip's columns.
template <class Sink>
inline void WriteColumns(Sink& out, BlitDirection direction, int32_t left, int32_t right) {
    const bool forward = direction == BlitDirection::Forward;
    out.Tag(tag::StartXDom, Fixed16(forward ? left : right));
    out.Tag(tag::StartXSub, Fixed16(forward ? right : left));
}

// The rows from `top` on, and the draw word, behind the columns.
template <class Sink>
inline void DrawRows(Sink& out, BlitDirection direction, int32_t top, int32_t height,
                     uint32_t render) {
    const bool forward = direction == BlitDirection::Forward;
    out.Tag(tag::StartY, Fixed16(forward ? top : top + height - 1));
    out.Tag(tag::dY, Fixed16(forward ? 1 : -1));
    out.Tag(tag::Count, static_cast<uint32_t>(height));
    out.Tag(tag::Render, render);
}
template <class Sink>
inline void DrawRows(Sink& out, int32_t top, int32_t height, uint32_t render) {
    DrawRows(out, BlitDirection::Forward, top, height, render);
}

// All of a rectangle.
template <class Sink>
inline void DrawRectangle(Sink& out, BlitDirection direction, const RECTL& rect, uint32_t render) {
    WriteColumns(out, direction, rect.left, rect.right);
    DrawRows(out, direction, rect.top, HeightOf(rect), render);
}
