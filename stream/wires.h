#pragma once
// The outlines of what a board draws.
#include "board/values/probe.h"
#include "stream/surfaces.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace stream {

// Of each primitive: the first and the last row, and both ends of the rows between. What is drawn
// in words of several pixels, as packed copies, has none.
class Wires final : public board::PixelProbe {
  public:
    // The size of the frame buffer in bytes.
    explicit Wires(size_t frameBytes) : lines_(frameBytes) {}

    enum class Line : uint8_t { None, Wire, Latest }; // Latest: of the primitive drawn last
    // Of each pixel of a surface, row by row. StreamError if it is not in the frame buffer.
    std::vector<Line> Of(const SurfaceLayout& surface);

    bool Wants(const board::PixelRow& row) override;
    void OnPrimitive(board::PrimitiveKind) override;

  private:
    void Mark(const board::Plane& pixels, int64_t x, int64_t y);
    void MarkRow(const board::Plane& pixels, int64_t y, int64_t left, int64_t right);
    // The latest row was a primitive's last.
    void EndPrimitive();

    std::vector<uint8_t> lines_;   // by byte, 1: some primitive's
    std::vector<uint32_t> latest_; // bytes of the primitive under way
    struct Row {
        board::Plane pixels;
        int64_t y, left, right;
    };
    std::optional<Row> row_; // the latest
    bool first_ = true;      // the next row is a primitive's first
};

} // namespace stream
