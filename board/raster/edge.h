#pragma once
// A coordinate that steps: an edge's X from row to row, or one axis of a line from pixel to pixel.
#include "board/values/fixed.h"
#include "board/values/state_visitor.h"

#include <cstdint>

namespace board {

// Both 32.32, so that the steps of a whole screen add up to nothing that a pixel could show.
struct Edge {
    int64_t position;
    int64_t step;

    void Step() { position = WrapAdd(position, step); }
    int64_t Pixel() const { return position >> 32; }
    void Visit(StateVisitor& visit) {
        auto& [at, by] = *this;
        visit.Value("position", at);
        visit.Value("step", by);
    }
};

// From two register words (16.16).
constexpr Edge EdgeOfWords(uint32_t position, uint32_t step) {
    return {Signed(position) * kOnePixel, Signed(step) * kOnePixel};
}

inline constexpr double kEdgeOne = 4294967296.0;        // a pixel
inline constexpr int64_t kHalfPixel = int64_t{1} << 31; // of an edge

} // namespace board
