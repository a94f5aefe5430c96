#pragma once
// Bounds what a board does for one input, by counts and not by a clock.
#include "board/recorder.h"
#include "board/values/probe.h"

#include <algorithm>
#include <cstdint>

namespace fuzz {

// More time passes on the board than an input may have.
struct OutOfWork {};

// Stands at a board as its probe. What is beyond the limit is not drawn.
class DrawingLimit final : public board::PixelProbe {
  public:
    // `pixels` to be drawn, where a row counts as some more. `each`: one by one, as for a probe
    // that wants to see them.
    explicit DrawingLimit(uint64_t pixels = 1u << 19, bool each = false)
        : left_(pixels), each_(each) {}

    bool Skips(const board::PixelRow& row) override {
        constexpr int64_t kMostInMemory = 1 << 16;
        constexpr uint64_t kRow = 16;
        const uint64_t cost = kRow + static_cast<uint64_t>(std::clamp<int64_t>(row.right - row.left,
                                                                               0, kMostInMemory));
        const bool skips = cost > left_;
        left_ = skips ? 0 : left_ - cost;
        return skips;
    }
    bool Wants(const board::PixelRow&) override { return each_; }
    // Nothing more is drawn.
    bool Spent() const { return left_ == 0; }

  private:
    uint64_t left_;
    const bool each_;
};

// Stands at a board as its monitor. Throws OutOfWork through it: the board must not be used then.
class TickLimit final : public board::BusMonitor {
  public:
    explicit TickLimit(uint64_t ticks = 1u << 20) : left_(ticks) {}
    void OnTick() override {
        if (left_-- == 0) {
            throw OutOfWork();
        }
    }

  private:
    uint64_t left_;
};

} // namespace fuzz
