#include "tools/korv/model/triangulate.h"

#include <cmath>
#include <numeric>

namespace korv {

namespace {

using Triangle = std::array<uint32_t, 3>;

struct Point {
    double x, y;
};

// Twice the area, above 0 if the corners run counter-clockwise.
double Turn(const Point& a, const Point& b, const Point& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// The polygon seen along the axis from which its area looks largest, running counter-clockwise.
std::vector<Point> Flatten(std::span<const Vec3> corners) {
    Vec3 normal;
    for (size_t i = 0; i < corners.size(); ++i) {
        normal =
            normal + Cross(corners[i] - corners[0], corners[(i + 1) % corners.size()] - corners[0]);
    }
    const double x = std::abs(normal.x), y = std::abs(normal.y), z = std::abs(normal.z);
    std::vector<Point> points;
    for (const Vec3& corner : corners) {
        const Vec3 c = corner - corners[0];
        Point point = z >= x && z >= y ? Point{c.x, c.y}
                      : x >= y         ? Point{c.y, c.z}
                                       : Point{c.z, c.x};
        const double axis = z >= x && z >= y ? normal.z : x >= y ? normal.x : normal.y;
        if (axis < 0) {
            point.x = -point.x;
        }
        points.push_back(point);
    }
    return points;
}

bool IsConvex(const std::vector<Point>& points) {
    const size_t n = points.size();
    for (size_t i = 0; i < n; ++i) {
        if (Turn(points[i], points[(i + 1) % n], points[(i + 2) % n]) < 0) {
            return false;
        }
    }
    // A star turns one way, too, but more than once: it is not seen all from its first corner.
    for (size_t i = 2; i < n; ++i) {
        if (Turn(points[0], points[i - 1], points[i]) < 0) {
            return false;
        }
    }
    return true;
}

void Fan(const std::vector<uint32_t>& left, std::vector<Triangle>& triangles) {
    for (size_t i = 2; i < left.size(); ++i) {
        triangles.push_back({left[0], left[i - 1], left[i]});
    }
}

// The corner between two others can be cut off: it points outwards and nothing lies in the way.
bool IsEar(const std::vector<Point>& points, const std::vector<uint32_t>& left,
           const Triangle& ear) {
    const Point &a = points[ear[0]], &b = points[ear[1]], &c = points[ear[2]];
    if (Turn(a, b, c) <= 0) {
        return false;
    }
    for (const uint32_t corner : left) {
        const Point& p = points[corner];
        const auto same = [&](const Point& q) { return p.x == q.x && p.y == q.y; };
        if (!same(a) && !same(b) && !same(c) && Turn(a, b, p) >= 0 && Turn(b, c, p) >= 0 &&
            Turn(c, a, p) >= 0) {
            return false;
        }
    }
    return true;
}

std::vector<Triangle> CutEars(const std::vector<Point>& points) {
    std::vector<uint32_t> left(points.size());
    std::iota(left.begin(), left.end(), 0);
    std::vector<Triangle> triangles;
    size_t at = 0, tried = 0;
    while (left.size() > 3 && tried < left.size()) {
        const size_t n = left.size();
        at %= n;
        const Triangle ear{left[(at + n - 1) % n], left[at], left[(at + 1) % n]};
        if (IsEar(points, left, ear)) {
            triangles.push_back(ear);
            left.erase(left.begin() + static_cast<std::ptrdiff_t>(at));
            tried = 0;
        } else {
            ++at;
            ++tried;
        }
    }
    // One that crosses itself has no ear in the end.
    Fan(left, triangles);
    return triangles;
}

double SquaredLength(const Vec3& v) {
    return Dot(v, v);
}

} // namespace

std::vector<Triangle> Triangulate(std::span<const Vec3> corners) {
    if (corners.size() == 3) {
        return {{0, 1, 2}};
    }
    const std::vector<Point> points = Flatten(corners);
    if (!IsConvex(points)) {
        return CutEars(points);
    }
    if (corners.size() == 4 &&
        SquaredLength(corners[2] - corners[0]) >= SquaredLength(corners[3] - corners[1])) {
        return {{0, 1, 3}, {1, 2, 3}};
    }
    std::vector<uint32_t> all(corners.size());
    std::iota(all.begin(), all.end(), 0);
    std::vector<Triangle> triangles;
    Fan(all, triangles);
    return triangles;
}

} // namespace korv
