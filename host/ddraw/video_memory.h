#pragma once
// The runtime's own bookkeeping of the video memory that the driver leaves to it.
#include <cstdint>
#include <map>
#include <vector>

namespace host {

// A memory that is handed out in blocks of bytes, first fit.
class LinearMemory {
  public:
    // Manages [start, start + bytes), all free.
    void Reset(uint32_t start, uint32_t bytes);
    // Address of a block, a multiple of 256 above the start; 0 if there is no room.
    uint32_t Allocate(uint32_t bytes);
    // Gives a block back. False for an address that was not handed out.
    bool Free(uint32_t address);
    uint32_t Start() const { return start_; }
    uint32_t Bytes() const { return bytes_; }

  private:
    uint32_t start_ = 0, bytes_ = 0;
    std::map<uint32_t, uint32_t> taken_; // address to bytes
};

// The frame buffer behind the screen, handed out in rectangles that share the screen's pitch.
class RectangleMemory {
  public:
    // Manages `lines` lines of `pitch` bytes from `start`, all free. Alignment counts from `base`.
    void Reset(uint32_t base, uint32_t start, uint32_t pitch, uint32_t lines);
    // Address of a rectangle of `width` bytes by `lines`, its offset from the base a multiple of
    // `alignment`; 0 if there is no room.
    uint32_t Allocate(uint32_t width, uint32_t lines, uint32_t alignment = 1);
    // Address of `bytes` in one stretch: whole lines.
    uint32_t AllocateBytes(uint32_t bytes);
    bool Free(uint32_t address);

  private:
    struct Rectangle {
        uint32_t left, top, right, bottom; // bytes, lines; right and bottom exclusive
    };
    bool IsFree(const Rectangle& wanted) const;
    uint32_t AddressOf(const Rectangle& r) const { return start_ + r.top * pitch_ + r.left; }

    uint32_t base_ = 0, start_ = 0, pitch_ = 0, lines_ = 0;
    std::vector<Rectangle> taken_;
};

} // namespace host
