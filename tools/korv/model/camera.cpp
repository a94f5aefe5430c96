#include "tools/korv/model/camera.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace korv {

namespace {

constexpr double kRadians = std::numbers::pi / 180;

} // namespace

Camera LookAt(const Vec3& eye, const Vec3& target, double fieldOfView, double nearPlane,
              double farPlane, Extent extent) {
    const Vec3 back = Normalised(eye - target);
    Vec3 right = Cross({0, 0, 1}, back);
    if (Length(right) < 1e-9) {
        right = Cross({0, 1, 0}, back);
    }
    right = Normalised(right);
    const Vec3 up = Cross(back, right);
    const auto row = [&](const Vec3& axis) {
        return std::array<double, 4>{axis.x, axis.y, axis.z, -Dot(axis, eye)};
    };
    const Mat4 view{{row(right), row(up), row(back), {0, 0, 0, 1}}};

    const double smaller = std::min(extent.width, extent.height);
    const double focal = 1 / std::tan(fieldOfView / 2);
    const double depth = farPlane / (farPlane - nearPlane);
    const Mat4 projection{{{{focal * smaller / extent.width, 0, 0, 0},
                            {0, focal * smaller / extent.height, 0, 0},
                            {0, 0, -depth, -depth * nearPlane},
                            {0, 0, -1, 0}}}};
    return {projection * view, nearPlane, farPlane, eye, target, fieldOfView};
}

Camera Walked(const Camera& camera, const Orbit& by, Extent extent) {
    constexpr double kHighest = 89.9 * kRadians;
    if (by.yaw == 0 && by.pitch == 0 && by.zoom == 1) {
        return camera;
    }
    const Vec3 offset = camera.eye - camera.target;
    const double distance = Length(offset);
    const double yaw = std::atan2(offset.x, -offset.y) + by.yaw * kRadians;
    const double height = std::asin(std::clamp(offset.z / distance, -1.0, 1.0));
    const double pitch = std::clamp(height + by.pitch * kRadians, -kHighest, kHighest);
    const Vec3 towardsEye{std::cos(pitch) * std::sin(yaw), -std::cos(pitch) * std::cos(yaw),
                          std::sin(pitch)};
    return LookAt(camera.target + towardsEye * distance, camera.target,
                  2 * std::atan(std::tan(camera.fieldOfView / 2) / by.zoom), camera.nearPlane,
                  camera.farPlane, extent);
}

Camera FitCamera(const Sphere& sphere, const Orbit& orbit, Extent extent) {
    constexpr double kFieldOfView = 40 * kRadians, kMargin = 1.02;
    const double radius = (sphere.radius > 0 ? sphere.radius : 1) * kMargin;
    const double distance = radius / std::sin(kFieldOfView / 2);
    const double yaw = orbit.yaw * kRadians, pitch = orbit.pitch * kRadians;
    const Vec3 towardsEye{std::cos(pitch) * std::sin(yaw), -std::cos(pitch) * std::cos(yaw),
                          std::sin(pitch)};
    // Zooming narrows the view from the same place, so that perspective and depth range stay.
    const double fieldOfView = 2 * std::atan(std::tan(kFieldOfView / 2) / orbit.zoom);
    return LookAt(sphere.centre + towardsEye * distance, sphere.centre, fieldOfView,
                  distance - radius, distance + radius, extent);
}

} // namespace korv
