#pragma once
// A run of pixels in one row, walked from the dominant edge to the subordinate one.
#include "board/values/fixed.h"
#include "board/values/state_visitor.h"

#include <algorithm>
#include <cstdint>

namespace board {

// Beyond every coordinate that an edge of 32.32 can reach, and every distance between two.
inline constexpr int64_t kFarthestPixel = int64_t{1} << 34;

struct Span {
    int64_t y;
    int64_t left, right; // pixels left to right - 1
    bool leftward;       // walked from the right end
    int64_t lead;        // 16.16 from the dominant edge to the centre of the first covered pixel
    int64_t skipped;     // pixels that clipping took from the beginning of the walk

    bool Empty() const { return left >= right; }
    int64_t First() const { return leftward ? right - 1 : left; }

    // Keeps the pixels from `low` to `high` - 1.
    void Clip(int64_t low, int64_t high) {
        const int64_t newLeft = std::max(left, low);
        const int64_t newRight = std::min(right, high);
        skipped += leftward ? right - newRight : newLeft - left;
        left = newLeft;
        right = newRight;
    }
    void Visit(StateVisitor& visit) {
        auto& [row, from, to, backwards, toCentre, cut] = *this;
        visit.Value("y", row, -kFarthestPixel, kFarthestPixel);
        visit.Value("left", from, -kFarthestPixel, kFarthestPixel);
        visit.Value("right", to, -kFarthestPixel, kFarthestPixel);
        visit.Value("leftward", backwards);
        visit.Value("lead", toCentre, -kFarthestPixel, kFarthestPixel);
        visit.Value("skipped", cut, -kFarthestPixel, kFarthestPixel);
    }
};

} // namespace board
