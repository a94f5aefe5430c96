#include "driver/core/source_clip.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    RECTL source, clippedSource, clippedDest;
};

constexpr RECTL kDest = {100, 200, 110, 220}; // left, top, right, bottom

bool Same(const RECTL& a, const RECTL& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

TEST(SourceClip, TakesAwayWhatLiesAboveAndLeft) {
    const Case cases[] = {
        {{0, 0, 10, 20}, {0, 0, 10, 20}, kDest},
        {{5, 6, 15, 26}, {5, 6, 15, 26}, kDest},
        {{-3, 6, 7, 26}, {0, 6, 7, 26}, {103, 200, 110, 220}},
        {{5, -4, 15, 16}, {5, 0, 15, 16}, {100, 204, 110, 220}},
        {{-1, -1, 9, 19}, {0, 0, 9, 19}, {101, 201, 110, 220}},
        // Up to the edge, of which nothing is left.
        {{-10, 0, 0, 20}, {0, 0, 0, 20}, {110, 200, 110, 220}},
        {{0, -20, 10, 0}, {0, 0, 10, 0}, {100, 220, 110, 220}},
        // Turned over, with one edge on the surface's.
        {{0, 0, -1, 20}, {0, 0, -1, 20}, kDest},
        {{0, 0, 10, -1}, {0, 0, 10, -1}, kDest},
    };
    for (const Case& c : cases) {
        CopyRects clipped{};
        EXPECT_TRUE(ClipToSource(c.source, kDest, clipped));
        const size_t index = static_cast<size_t>(&c - cases);
        EXPECT_TRUE(Same(clipped.Source, c.clippedSource)) << index;
        EXPECT_TRUE(Same(clipped.Dest, c.clippedDest)) << index;
    }
}

TEST(SourceClip, LeavesNothingOfWhatLiesWhollyAboveOrLeft) {
    for (const RECTL& source :
         {RECTL{-10, 0, -1, 20}, {0, -20, 10, -1}, {-10, -20, -1, -1}, {-1, 0, -5, 20}}) {
        CopyRects clipped{};
        EXPECT_FALSE(ClipToSource(source, kDest, clipped));
    }
}

} // namespace
