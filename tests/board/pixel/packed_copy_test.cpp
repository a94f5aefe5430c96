// Packed copies: rectangles between any two places, with the words that a driver sends for them,
// against a copy of the pixels one by one through a second memory.
#include "tests/board/rig.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using rig::kPacked;
using rig::kReadSource;

struct Depth {
    uint32_t code;
    int bytes, perWord;
};
constexpr Depth k8{rig::k8Bits, 1, 4}, k16{rig::k16Bits, 2, 2}, k32{rig::k32Bits, 4, 1},
    k24{rig::k24Bits, 3, 1};

struct Surface {
    int base; // pixels
    uint32_t products;
    int pitch;
};
constexpr int kRows = 24;
constexpr Surface kLower{2048, rig::kPitch64, 64};
constexpr Surface kUpper{4096, rig::kPitch128, 128};

struct Rect {
    int left, top, right, bottom;
};

class Memory {
  public:
    explicit Memory(std::span<const uint8_t> bytes, int pixelBytes)
        : bytes_(bytes.begin(), bytes.end()), pixelBytes_(pixelBytes) {}
    uint32_t Pixel(const Surface& s, int x, int y) const {
        uint32_t value = 0;
        std::memcpy(&value, &bytes_[At(s, x, y)], static_cast<size_t>(pixelBytes_));
        return value;
    }
    void Set(const Surface& s, int x, int y, uint32_t value) {
        std::memcpy(&bytes_[At(s, x, y)], &value, static_cast<size_t>(pixelBytes_));
    }
    bool Holds(std::span<const uint8_t> other) const {
        return std::memcmp(bytes_.data(), other.data(), bytes_.size()) == 0;
    }

  private:
    size_t At(const Surface& s, int x, int y) const {
        return static_cast<size_t>((s.base + y * s.pitch + x) * pixelBytes_);
    }
    std::vector<uint8_t> bytes_;
    int pixelBytes_;
};

board::Config TinyConfig() {
    board::Config config = rig::SmallConfig(board::Chip::Permedia2);
    config.frameBufferBytes = 1u << 15;
    return config;
}

class PackedRig : public rig::Rig {
  public:
    explicit PackedRig(const Depth& which) : Rig(TinyConfig()), depth(which) {
        Send({{tag::FBReadPixel, depth.code}, {tag::FBWriteMode, 1}});
        Scramble();
    }
    void Scramble() {
        std::mt19937 random(1);
        for (size_t i = 0; i < board.FrameBuffer().size() / 4; ++i) {
            SetElement<uint32_t>(i, static_cast<uint32_t>(random()));
        }
    }

    // The words of a packed copy. `direction` is by the sign of the distance, or told.
    void Copy(const Surface& to, const Surface& from, Rect dest, int sourceLeft, int sourceTop,
              bool alwaysForward = false) {
        const int mask = depth.perWord - 1;
        int relative = (dest.left & mask) - (sourceLeft & mask);
        int distance = (sourceTop - dest.top) * from.pitch + (sourceLeft & ~mask) -
                       (dest.left & ~mask) + from.base - to.base;
        int first = dest.left / depth.perWord;
        int last = dest.right / depth.perWord + mask;
        if (depth.bytes == 3) {
            relative = 3 * sourceLeft / 4 * 4 / 3 - 4 * (dest.left / 4) + dest.left - sourceLeft;
            distance = (sourceTop - dest.top) * from.pitch - 4 * (dest.left / 4) + from.base -
                       to.base + sourceLeft;
            first = 3 * dest.left / 4;
            last = 3 * dest.right / 4 + 1;
        }
        const bool forward = alwaysForward || distance >= 0;
        const uint32_t bits = (static_cast<uint32_t>(relative) & 7) << 20 | kPacked | kReadSource;
        Send({{tag::FBWindowBase, static_cast<uint32_t>(to.base)},
              {tag::FBReadMode, from.products | bits},
              {tag::FBWriteConfig, to.products | bits},
              {tag::LogicalOpMode, 0},
              {tag::FBSourceOffset, static_cast<uint32_t>(distance)}});
        Draw(first, last, dest, forward, relative);
    }
    void Draw(int first, int last, Rect dest, bool forward, int relative) {
        const auto limit = static_cast<uint32_t>(forward ? dest.left : dest.right);
        const auto upper = static_cast<uint32_t>(forward ? dest.right : dest.left);
        Send({{tag::StartXDom, static_cast<uint32_t>(forward ? first : last) << 16},
              {tag::StartXSub, static_cast<uint32_t>(forward ? last : first) << 16},
              {tag::PackedDataLimits,
               ((static_cast<uint32_t>(relative) & 7) << 13 | upper) << 16 | limit},
              {tag::StartY, static_cast<uint32_t>(forward ? dest.top : dest.bottom - 1) << 16},
              {tag::dY, forward ? 0x10000 : 0xFFFF0000},
              {tag::Count, static_cast<uint32_t>(dest.bottom - dest.top)},
              {tag::Render, rig::kTrapezoid}});
        EXPECT_FALSE(board.FaultReport().Any()) << board.FaultReport().Describe();
    }

    // What a copy through a second memory leaves.
    Memory Expected(const Surface& to, const Surface& from, Rect dest, int sourceLeft,
                    int sourceTop) {
        const Memory before(board.FrameBuffer(), depth.bytes);
        Memory after = before;
        for (int y = dest.top; y < dest.bottom; ++y) {
            for (int x = dest.left; x < dest.right; ++x) {
                after.Set(to, x, y,
                          before.Pixel(from, x - dest.left + sourceLeft, y - dest.top + sourceTop));
            }
        }
        return after;
    }

    Depth depth;
};

void ExpectCopy(PackedRig& r, const Surface& to, const Surface& from, Rect dest, int sourceLeft,
                int sourceTop) {
    const Memory expected = r.Expected(to, from, dest, sourceLeft, sourceTop);
    r.Copy(to, from, dest, sourceLeft, sourceTop);
    ASSERT_TRUE(expected.Holds(r.board.FrameBuffer()))
        << r.depth.bytes << " bytes, " << dest.left << ',' << dest.top << " to " << dest.right
        << ',' << dest.bottom << " from " << sourceLeft << ',' << sourceTop;
}

TEST(PackedCopy, MovesPixelsBetweenAnyTwoPlacesInTheirWords) {
    for (const Depth& depth : {k8, k16, k24, k32}) {
        PackedRig r(depth);
        for (int to = 4; to < 8; ++to) {
            for (int from = 4; from < 8; ++from) {
                r.Scramble();
                for (int width = 1; width < 10; ++width) {
                    ExpectCopy(r, kLower, kUpper, {to, 2, to + width, 4}, from, 5);
                    ExpectCopy(r, kUpper, kLower, {to, 6, to + width, 8}, from, 1);
                }
            }
        }
    }
}

TEST(PackedCopy, RandomRectanglesOfOtherPitchesArriveWhole) {
    std::mt19937 random(5);
    const auto below = [&random](int n) { return static_cast<int>(random() % n); };
    PackedRig rigs[] = {PackedRig(k8), PackedRig(k16), PackedRig(k24), PackedRig(k32)};
    for (int i = 0; i < 200; ++i) {
        const int width = 1 + below(40), height = 1 + below(12);
        const int left = below(64 - width), top = below(kRows - height);
        ExpectCopy(rigs[i % 4], i % 3 == 0 ? kUpper : kLower, i % 3 == 0 ? kLower : kUpper,
                   {left, top, left + width, top + height}, below(64 - width),
                   below(kRows - height));
    }
}

TEST(PackedCopy, OverlapInOneSurfaceIsNoMatterWhenTheSignGivesTheDirection) {
    for (const Depth& depth : {k8, k16, k24, k32}) {
        PackedRig r(depth);
        for (int dx = -9; dx <= 9; ++dx) {
            for (int dy = -2; dy <= 2; ++dy) {
                r.Scramble();
                for (int left = 12; left < 16; ++left) {
                    ExpectCopy(r, kLower, kLower, {left + dx, 6 + dy, left + dx + 21, 14 + dy},
                               left, 6);
                }
            }
        }
    }
}

TEST(PackedCopy, ForwardCopyToLaterWordsSmears) {
    PackedRig r(k8);
    const Memory before(r.board.FrameBuffer(), 1);
    // Eight pixels further in the row: words that were written are read again.
    r.Copy(kLower, kLower, {8, 0, 40, 1}, 0, 0, true);
    for (int x = 8; x < 40; ++x) {
        ASSERT_EQ(r.board.FrameBuffer()[static_cast<size_t>(kLower.base + x)],
                  before.Pixel(kLower, x % 8, 0));
    }
    // A row further: every row becomes the first.
    r.Copy(kLower, kLower, {0, 1, 16, 20}, 0, 0, true);
    for (int y = 1; y < 20; ++y) {
        for (int x = 0; x < 16; ++x) {
            ASSERT_EQ(r.board.FrameBuffer()[static_cast<size_t>(kLower.base + y * 64 + x)],
                      before.Pixel(kLower, x % 8, 0));
        }
    }
}

TEST(PackedCopy, ScissorAndHardwareMaskCutThePixels) {
    PackedRig r(k16);
    const Memory before(r.board.FrameBuffer(), 2);
    r.Send({{tag::ScissorMode, 1},
            {tag::ScissorMinXY, 3u << 16 | 5},
            {tag::ScissorMaxXY, 6u << 16 | 12},
            {tag::FBHardwareWriteMask, 0x00FFFF00}});
    r.Copy(kLower, kUpper, {2, 1, 20, 9}, 7, 0);
    Memory expected = before;
    for (int y = 3; y < 6; ++y) {
        for (int x = 5; x < 12; ++x) {
            const uint32_t mask = x % 2 == 0 ? 0xFF00 : 0x00FF;
            const uint32_t under = before.Pixel(kLower, x, y);
            const uint32_t over = before.Pixel(kUpper, x + 5, y - 1);
            expected.Set(kLower, x, y, (under & ~mask) | (over & mask));
        }
    }
    EXPECT_TRUE(expected.Holds(r.board.FrameBuffer()));
}

TEST(PackedCopy, WithoutAWriteConfigFBReadModeCountsForBothSides) {
    PackedRig r(k8);
    // A patched destination before, whose FBWriteConfig must be no matter.
    r.Send({{tag::FBReadMode, rig::kPitch32}, {tag::FBWriteConfig, rig::kPitch32 | 0x2040000}});
    const Memory expected = r.Expected(kLower, kLower, {5, 3, 30, 9}, 34, 10);
    const int relative = (5 & 3) - (34 & 3);
    r.Send({{tag::FBWindowBase, static_cast<uint32_t>(kLower.base)},
            {tag::FBReadMode,
             rig::kPitch64 | (static_cast<uint32_t>(relative) & 7) << 20 | kPacked | kReadSource},
            {tag::FBSourceOffset, 7 * 64 + 32 - 4}});
    r.Draw(1, 30 / 4 + 3, {5, 3, 30, 9}, true, relative);
    EXPECT_TRUE(expected.Holds(r.board.FrameBuffer()));
}

TEST(PackedCopy, OneSidedPackingIsCountedAsAFaultAndDrawsNothing) {
    PackedRig r(k8);
    const std::vector<uint8_t> before(r.board.FrameBuffer().begin(), r.board.FrameBuffer().end());
    r.Send({{tag::FBReadMode, rig::kPitch64 | kPacked | kReadSource},
            {tag::FBWriteConfig, rig::kPitch64}});
    r.Rectangle(0, 0, 4, 1);
    EXPECT_EQ(r.board.FaultReport().unmodelled.at("packed copy that is no plain one"), 1u);
    EXPECT_TRUE(std::ranges::equal(before, r.board.FrameBuffer()));
}

} // namespace
