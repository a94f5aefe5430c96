#pragma once
// A board with a setup unit, ways to fill its vertices, and plain geometry to compare with.
#include "tests/board/rig.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace rig {

// DeltaMode: 16-bit depth, sub-pixel correction; quantities are added by their bits.
inline constexpr uint32_t kDeltaPermedia = 2 | 1 << 2 | 0xC00;
inline constexpr uint32_t kDeltaGlint = 1 | 3 << 2 | 0xC00;
inline constexpr uint32_t kDeltaFog = 1 << 4, kDeltaTexture = 1 << 5, kDeltaSmooth = 1 << 6,
                          kDeltaDepth = 1 << 7, kDeltaSpecular = 1 << 8, kDeltaAffine = 1 << 14,
                          kDeltaPerspective = 1 << 15, kDeltaRedHigh = 1 << 18;

inline constexpr uint32_t kTriangle = kTrapezoid | kSubPixel; // Render word
inline constexpr uint32_t kLine = kSubPixel;

// Words of a vertex group.
enum VertexWord : uint32_t { S, T, Q, Ks, R = 5, G, B, A, F, X, Y, Z, Packed = 0xE };

inline board::Config SetupConfig(board::Chip chip = board::Chip::Permedia2) {
    board::Config config = SmallConfig(chip);
    config.setupUnit = true;
    return config;
}

struct Point {
    double x, y;
};
using Corners = std::array<Point, 3>;

class SetupRig : public Rig {
  public:
    explicit SetupRig(uint32_t deltaMode = kDeltaPermedia) : Rig(SetupConfig()) {
        Send({{tag::FBReadPixel, k32Bits},
              {tag::FBReadMode, kPitch64},
              {tag::FBWriteMode, 1},
              {tag::ScissorMode, 2},
              {tag::ScreenSize, 64u << 16 | 64},
              {tag::DeltaMode, deltaMode}});
    }

    void Float(uint32_t slot, uint32_t word, double value) {
        Send(tag::V0Float + slot * 16 + word, std::bit_cast<uint32_t>(static_cast<float>(value)));
    }
    void Fixed(uint32_t slot, uint32_t word, uint32_t value) {
        Send(tag::V0Fixed + slot * 16 + word, value);
    }
    void Place(uint32_t slot, Point point) {
        Float(slot, X, point.x);
        Float(slot, Y, point.y);
    }
    void Place(const Corners& corners) {
        for (uint32_t slot = 0; slot < 3; ++slot) {
            Place(slot, corners[slot]);
        }
    }
    void PackedColour(uint32_t slot, uint32_t colour) { Fixed(slot, Packed, colour); }
};

// Adds 1 to every pixel that a primitive covers: additive blending of colour 1.
class SetupCounter : public SetupRig {
  public:
    SetupCounter() {
        Send({{tag::ColorDDAMode, 1},
              {tag::ConstantColor, 0x00000001},
              {tag::FBReadMode, kPitch64 | 0x400},
              {tag::AlphaBlendMode, 1 | 1 << 1 | 1 << 5}}); // one, one, 8:8:8:8
    }
    uint32_t Covered(int x, int y) { return Pixel(x, y) & 0xFF; }
};

// Twice the area of a, b, c; positive when c lies clockwise of a to b on the screen.
inline double Area2(Point a, Point b, Point c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// Is the point inside, or on a left or upper side? Exact while the products are.
inline bool InsideHalfOpen(Corners corners, Point p) {
    if (Area2(corners[0], corners[1], corners[2]) < 0) {
        std::swap(corners[1], corners[2]);
    }
    if (Area2(corners[0], corners[1], corners[2]) == 0) {
        return false;
    }
    for (int i = 0; i < 3; ++i) {
        const Point& from = corners[i];
        const Point& to = corners[(i + 1) % 3];
        const double side = Area2(from, to, p);
        const bool left = to.y < from.y; // clockwise, so going up
        const bool top = to.y == from.y && to.x > from.x;
        if (side < 0 || (side == 0 && !left && !top)) {
            return false;
        }
    }
    return true;
}

// The weights of the three corners at a point.
inline std::array<double, 3> Weights(const Corners& c, Point p) {
    const double area = Area2(c[0], c[1], c[2]);
    return {Area2(c[1], c[2], p) / area, Area2(c[2], c[0], p) / area, Area2(c[0], c[1], p) / area};
}

} // namespace rig
