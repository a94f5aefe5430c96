#include "tools/korv/painting/clip.h"

#include <gtest/gtest.h>

#include <random>

namespace korv {
namespace {

ClipVertex At(double x, double y, double z, double w, Vec3 colour = {}) {
    return {{x, y, z, w}, colour, 1, 1};
}

// Area of a polygon on the screen's plane, positive when it turns counter-clockwise.
double Area(const std::vector<ClipVertex>& polygon) {
    double doubled = 0;
    for (size_t i = 0; i < polygon.size(); ++i) {
        const Vec4& a = polygon[i].position;
        const Vec4& b = polygon[(i + 1) % polygon.size()].position;
        doubled += a.x / a.w * (b.y / b.w) - b.x / b.w * (a.y / a.w);
    }
    return doubled / 2;
}

TEST(Clip, OutcodeIsZeroInsideAndOnTheBorder) {
    EXPECT_EQ(Outcode({0, 0, 0.5, 1}), 0u);
    EXPECT_EQ(Outcode({1, -1, 0, 1}), 0u);
    EXPECT_EQ(Outcode({-2, 2, 2, 2}), 0u);
}

TEST(Clip, OutcodeTellsThePlanesApart) {
    const uint32_t sides[] = {Outcode({0, 0, -0.1, 1}), Outcode({0, 0, 1.1, 1}),
                              Outcode({-1.1, 0, 0, 1}), Outcode({1.1, 0, 0, 1}),
                              Outcode({0, -1.1, 0, 1}), Outcode({0, 1.1, 0, 1})};
    uint32_t all = 0;
    for (uint32_t side : sides) {
        EXPECT_NE(side, 0u);
        EXPECT_EQ(all & side, 0u);
        all |= side;
    }
    EXPECT_EQ(Outcode({1.1, 1.1, 0, 1}), sides[3] | sides[5]);
}

TEST(Clip, TriangleInsideStaysAsItIs) {
    const auto polygon = ClipTriangle(At(0, 0, 0.5, 1), At(0.5, 0, 0.5, 1), At(0, 0.5, 0.5, 1));
    ASSERT_EQ(polygon.size(), 3u);
    EXPECT_EQ(polygon[1].position.x, 0.5);
}

TEST(Clip, TriangleBeyondOnePlaneIsGone) {
    EXPECT_TRUE(ClipTriangle(At(2, 0, 0, 1), At(3, 0, 0, 1), At(2, 1, 0, 1)).empty());
    EXPECT_TRUE(ClipTriangle(At(0, 0, -1, 1), At(1, 0, -2, 1), At(0, 1, -1, 1)).empty());
}

TEST(Clip, OneCornerOutsideLeavesFourCorners) {
    // The corner at x = 3 is cut at x = 1: half of the two edges that lead there.
    const auto polygon =
        ClipTriangle(At(-1, 0, 0.5, 1), At(3, 0, 0.5, 1, {1, 0, 0}), At(-1, 1, 0.5, 1));
    ASSERT_EQ(polygon.size(), 4u);
    EXPECT_DOUBLE_EQ(polygon[1].position.x, 1);
    EXPECT_DOUBLE_EQ(polygon[1].colour.x, 0.5);
    EXPECT_DOUBLE_EQ(polygon[2].position.x, 1);
    EXPECT_DOUBLE_EQ(polygon[2].position.y, 0.5);
    EXPECT_DOUBLE_EQ(Area(polygon), 2 - 0.5);
}

TEST(Clip, VerticesBehindTheEyeAreCutAtTheNearPlane) {
    const auto polygon = ClipTriangle(At(0, 0, 1, 2), At(0, 1, 1, 2), At(0, 0, -3, -1));
    ASSERT_GE(polygon.size(), 3u);
    for (const ClipVertex& v : polygon) {
        EXPECT_GT(v.position.w, 0);
        EXPECT_GE(v.position.z, 0);
    }
}

TEST(Clip, TriangleAroundTheViewBecomesTheView) {
    const auto polygon = ClipTriangle(At(-10, -10, 0.5, 1), At(10, -10, 0.5, 1), At(0, 30, 0.5, 1));
    EXPECT_DOUBLE_EQ(Area(polygon), 4);
}

TEST(Clip, SharedEdgeIsCutAtTheSamePlaceFromBothSides) {
    const ClipVertex inside = At(0.3, 0.1, 0.4, 1.1), outside = At(2.7, 0.9, 0.6, 1.3);
    const auto one = ClipTriangle(inside, outside, At(0, 0.5, 0.5, 1));
    const auto other = ClipTriangle(outside, inside, At(0, -0.5, 0.5, 1));
    ASSERT_EQ(one.size(), 4u);
    ASSERT_EQ(other.size(), 4u);
    // The first starts at `inside`, the second ends its shared edge there.
    const Vec4 a = one[1].position, b = other[0].position;
    EXPECT_EQ(a.x, b.x);
    EXPECT_EQ(a.y, b.y);
    EXPECT_EQ(a.w, b.w);
}

TEST(Clip, AnyTriangleEndsUpInsideAndKeepsItsTurn) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> place(-3, 3), depth(-0.5, 1.5);
    size_t kept = 0;
    for (int round = 0; round < 2000; ++round) {
        ClipVertex corner[3];
        for (ClipVertex& c : corner) {
            c = At(place(random), place(random), depth(random), 1);
        }
        const auto polygon = ClipTriangle(corner[0], corner[1], corner[2]);
        const double whole = Area({corner[0], corner[1], corner[2]});
        for (const ClipVertex& v : polygon) {
            EXPECT_LE(std::abs(v.position.x), v.position.w + 1e-9);
            EXPECT_LE(std::abs(v.position.y), v.position.w + 1e-9);
            EXPECT_GE(v.position.z, -1e-9);
            EXPECT_LE(v.position.z, v.position.w + 1e-9);
        }
        if (polygon.empty()) {
            continue;
        }
        ++kept;
        EXPECT_GE(Area(polygon) * whole, -1e-9);
        EXPECT_LE(std::abs(Area(polygon)), std::abs(whole) + 1e-9);
    }
    EXPECT_GT(kept, 500u);
}

} // namespace
} // namespace korv
