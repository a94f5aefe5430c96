#pragma once
// Small vectors and 4x4 matrices for the tool's own transform and lighting.
#include <array>
#include <cmath>

namespace korv {

struct Vec3 {
    double x = 0, y = 0, z = 0;

    Vec3 operator+(const Vec3& v) const { return {x + v.x, y + v.y, z + v.z}; }
    Vec3 operator-(const Vec3& v) const { return {x - v.x, y - v.y, z - v.z}; }
    Vec3 operator*(double s) const { return {x * s, y * s, z * s}; }
    bool operator==(const Vec3&) const = default;
};

struct Vec4 {
    double x = 0, y = 0, z = 0, w = 0;

    Vec4 operator+(const Vec4& v) const { return {x + v.x, y + v.y, z + v.z, w + v.w}; }
    Vec4 operator-(const Vec4& v) const { return {x - v.x, y - v.y, z - v.z, w - v.w}; }
    Vec4 operator*(double s) const { return {x * s, y * s, z * s, w * s}; }
};

inline double Dot(const Vec3& a, const Vec3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec3 Cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(const Vec3& v) {
    return std::sqrt(Dot(v, v));
}
// `v` at length 1; a vector without direction stays as it is.
inline Vec3 Normalised(const Vec3& v) {
    const double length = Length(v);
    return length > 0 ? v * (1 / length) : v;
}

// Row-major, for column vectors: (a * b) * v applies b first.
struct Mat4 {
    std::array<std::array<double, 4>, 4> m{};

    Vec4 operator*(const Vec4& v) const {
        const auto row = [&](int r) {
            return m[r][0] * v.x + m[r][1] * v.y + m[r][2] * v.z + m[r][3] * v.w;
        };
        return {row(0), row(1), row(2), row(3)};
    }
    Mat4 operator*(const Mat4& b) const {
        Mat4 product;
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 4; ++c) {
                for (int k = 0; k < 4; ++k) {
                    product.m[r][c] += m[r][k] * b.m[k][c];
                }
            }
        }
        return product;
    }
};

} // namespace korv
