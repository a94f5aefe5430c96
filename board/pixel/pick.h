#pragma once
// Picking: has any pixel inside a region been drawn since the last reset?
#include "board/pixel/scissor.h"
#include "board/values/registers.h"
#include "board/values/state_visitor.h"

#include <algorithm>
#include <cstdint>

namespace board {

class PickUnit {
  public:
    // Takes the region from MinRegion (inclusive) and MaxRegion (exclusive).
    void Configure(const RegisterFile& registers);
    // Takes the lower right corner in: of a board that is wrong on purpose.
    void Extend() {
        ++region_.right;
        ++region_.bottom;
    }
    bool Enabled() const { return enabled_; }
    // A pixel has passed every test. True: it lies inside the region.
    bool Note(int64_t x, int64_t y) {
        const bool inside =
            x >= region_.left && x < region_.right && y >= region_.top && y < region_.bottom;
        picked_ |= inside;
        return inside;
    }
    // Widens `low` to `high` - 1 by the pixels of row y that it may still take note of.
    void Reach(int64_t y, int64_t& low, int64_t& high) const {
        if (enabled_ && !picked_ && y >= region_.top && y < region_.bottom) {
            low = std::min(low, region_.left);
            high = std::max(high, region_.right);
        }
    }
    void Reset() { picked_ = false; }
    bool Picked() const { return picked_; }
    // Configure follows a restore.
    void Visit(StateVisitor& visit) {
        auto& [region, enabled, picked] = *this;
        visit.Value("picked", picked);
    }

  private:
    ClipRectangle region_{};
    bool enabled_ = false;
    bool picked_ = false;
};

} // namespace board
