#pragma once
// Lines, and points as lines of one step: pixels along a walk with one step in X and one in Y.
#include "board/raster/edge.h"
#include "board/values/registers.h"

#include <cstdint>

namespace board {

// Half a pixel, or nothing: what RasterizerMode adds to the coordinates of lines and points before
// the pixel that they fall in is taken. 32.32.
int64_t LineBias(const RegisterFile& registers);

class LineWalker {
  public:
    // Starts at StartXDom, StartY with steps dXDom, dY.
    void Begin(const RegisterFile& registers);
    // Starts where the board has worked it out, bias included.
    void Begin(Edge x, Edge y) { x_ = x, y_ = y; }

    // Calls pixel(x, y) for `count` pixels and steps on after each.
    template <typename Pixel>
    void Walk(uint32_t count, Pixel&& pixel) {
        for (; count != 0; --count) {
            pixel(x_.Pixel(), y_.Pixel());
            x_.Step();
            y_.Step();
        }
    }
    void Visit(StateVisitor& visit) {
        auto& [x, y] = *this;
        visit.Within("x", x);
        visit.Within("y", y);
    }

  private:
    Edge x_{}, y_{};
};

} // namespace board
