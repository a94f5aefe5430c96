#pragma once
// View and projection: from model space to clip space to the screen.
#include "tools/korv/model/mesh.h"
#include "tools/korv/model/vec.h"

namespace korv {

// Clip space is (x, y, z, w) with -w <= x, y <= w and 0 <= z <= w inside the view; w is the
// distance from the eye along the line of sight, y points up.
struct Camera {
    Mat4 modelToClip;
    double nearPlane = 0; // distances from the eye along the line of sight
    double farPlane = 0;
    Vec3 eye;               // in model space
    Vec3 target;            // what it looks at
    double fieldOfView = 0; // radians, of the picture's smaller side
};

struct Extent {
    int width = 0, height = 0; // pixels
    bool operator==(const Extent&) const = default;
};

// A camera at `eye` that looks at `target`, with the z axis upwards (the y axis if that is the line
// of sight). `fieldOfView` is the angle, in radians, of the smaller side of `extent`.
Camera LookAt(const Vec3& eye, const Vec3& target, double fieldOfView, double nearPlane,
              double farPlane, Extent extent);

// Where a fitted camera stands.
struct Orbit {
    double yaw = 30;   // degrees about the z axis, 0 on the -y side
    double pitch = 25; // degrees above the plane z = 0
    double zoom = 1;   // above 1 the model outgrows the picture
};

// `camera` after a walk around its target: so many degrees further about the z axis and higher (not
// over the top), and the picture enlarged by `zoom`. With yaw and pitch 0 and zoom 1 it stays as it
// is.
Camera Walked(const Camera& camera, const Orbit& by, Extent extent);

// A camera on `orbit` about `sphere` that shows it whole at zoom 1.
Camera FitCamera(const Sphere& sphere, const Orbit& orbit, Extent extent);

} // namespace korv
