#include "tools/korv/model/camera.h"
#include "tools/korv/model/shapes.h"
#include "tools/korv/painting/clip.h"

#include <gtest/gtest.h>

#include <numbers>

namespace korv {
namespace {

constexpr double kRightAngle = std::numbers::pi / 2;

Vec4 ToClip(const Camera& camera, const Vec3& p) {
    return camera.modelToClip * Vec4{p.x, p.y, p.z, 1};
}

TEST(Camera, TargetIsInTheMiddle) {
    const Camera camera = LookAt({3, -4, 5}, {1, 1, 1}, 1, 1, 10, {640, 480});
    const Vec4 p = ToClip(camera, {1, 1, 1});
    EXPECT_NEAR(p.x, 0, 1e-12);
    EXPECT_NEAR(p.y, 0, 1e-12);
    EXPECT_NEAR(p.w, std::sqrt(4 + 25 + 16), 1e-12);
}

TEST(Camera, DepthRunsFromNearPlaneToFarPlane) {
    const Camera camera = LookAt({0, 0, 0}, {0, 1, 0}, 1, 2, 10, {100, 100});
    EXPECT_NEAR(ToClip(camera, {0, 2, 0}).z, 0, 1e-12);
    const Vec4 far = ToClip(camera, {0, 10, 0});
    EXPECT_NEAR(far.z, far.w, 1e-12);
    EXPECT_LT(ToClip(camera, {0, 1, 0}).z, 0);
}

TEST(Camera, RightIsRightAndUpIsUp) {
    // From -y along y: x to the right, z up. With a right angle of view the border lies at 45
    // degrees.
    const Camera camera = LookAt({0, -1, 0}, {0, 0, 0}, kRightAngle, 0.1, 10, {200, 100});
    const Vec4 top = ToClip(camera, {0, 3, 4});
    EXPECT_NEAR(top.y, top.w, 1e-12);
    // The picture is twice as wide as high.
    const Vec4 right = ToClip(camera, {8, 3, 0});
    EXPECT_NEAR(right.x, right.w, 1e-12);
}

TEST(Camera, LooksStraightDownWithoutLosingItself) {
    const Camera camera = LookAt({0, 0, 5}, {0, 0, 0}, kRightAngle, 1, 10, {100, 100});
    const Vec4 p = ToClip(camera, {1, 0, 0});
    EXPECT_NEAR(std::hypot(p.x, p.y), 1, 1e-12);
}

TEST(Camera, FittedCameraShowsTheWholeModelFromEverySide) {
    const Mesh mesh = Torus(1, 0.4, 24, 12);
    for (const Extent extent : {Extent{640, 480}, Extent{100, 300}, Extent{64, 64}}) {
        for (double yaw = 0; yaw < 360; yaw += 45) {
            for (double pitch = -90; pitch <= 90; pitch += 45) {
                const Camera camera = FitCamera(BoundingSphere(mesh), {yaw, pitch, 1}, extent);
                for (const Vertex& v : mesh.vertices) {
                    EXPECT_EQ(Outcode(ToClip(camera, v.position)), 0u);
                }
            }
        }
    }
}

TEST(Camera, ZoomEnlarges) {
    const Sphere sphere{{0, 0, 0}, 1};
    const Vec3 p{0.2, 0.1, 0.3};
    const Vec4 whole = ToClip(FitCamera(sphere, {30, 25, 1}, {100, 100}), p);
    const Vec4 twice = ToClip(FitCamera(sphere, {30, 25, 2}, {100, 100}), p);
    EXPECT_NEAR(twice.x / twice.w, 2 * whole.x / whole.w, 1e-12);
    EXPECT_NEAR(twice.y / twice.w, 2 * whole.y / whole.w, 1e-12);
}

TEST(Mesh, BoundingSphereHoldsAllUsedVertices) {
    Mesh mesh;
    for (const Vec3& p : {Vec3{0, 0, 0}, Vec3{2, 0, 0}, Vec3{0, 2, 0}, Vec3{100, 0, 0}}) {
        mesh.vertices.push_back({p, {}, {}});
    }
    mesh.triangles = {{0, 1, 2}};
    const Sphere sphere = BoundingSphere(mesh);
    EXPECT_EQ(sphere.centre, (Vec3{1, 1, 0}));
    EXPECT_DOUBLE_EQ(sphere.radius, std::sqrt(2.0));
}

TEST(Mesh, SmoothNormalsWeighByAreaAndJoinAtSeams) {
    // Two triangles at a right angle along the x axis, each with vertices of its own; the second
    // has three times the area.
    Mesh mesh;
    for (const Vec3& p : {Vec3{0, 0, 0}, Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{1, 0, 0}, Vec3{0, 0, 0},
                          Vec3{0, 0, 3}}) {
        mesh.vertices.push_back({p, {}, {}});
    }
    mesh.triangles = {{0, 1, 2}, {3, 4, 5}};
    SmoothNormals(mesh);
    const Vec3 expected = Normalised({0, 3, 1});
    for (const int seam : {0, 1, 3, 4}) {
        EXPECT_NEAR(Length(mesh.vertices[seam].normal - expected), 0, 1e-12);
    }
    EXPECT_EQ(mesh.vertices[2].normal, (Vec3{0, 0, 1}));
}

TEST(Shapes, TrianglesTurnTheirFrontsOutwards) {
    for (const Shape& shape : NamedShapes()) {
        SCOPED_TRACE(shape.name);
        const Mesh mesh = shape.make();
        for (const auto& triangle : mesh.triangles) {
            const Vec3 normal = FaceNormal(mesh, triangle);
            for (uint32_t index : triangle) {
                EXPECT_NEAR(Length(mesh.vertices[index].normal), 1, 1e-9);
                EXPECT_GT(Dot(normal, mesh.vertices[index].normal), 0.3);
            }
        }
    }
}

TEST(Shapes, HaveNoBlackVertices) {
    for (const Shape& shape : NamedShapes()) {
        for (const Vertex& v : shape.make().vertices) {
            EXPECT_GT(Dot(v.colour, {1, 1, 1}), 1) << shape.name;
        }
    }
}

TEST(Shapes, HaveTheTrianglesTheyTell) {
    EXPECT_EQ(Icosphere(3).triangles.size(), 1280u);
    EXPECT_EQ(Icosphere(3).vertices.size(), 642u); // V = F / 2 + 2
    EXPECT_EQ(Torus(1, 0.4, 48, 24).triangles.size(), 48u * 24 * 2);
    EXPECT_EQ(Cube(8).triangles.size(), 6u * 8 * 8 * 2);
    EXPECT_EQ(FindShape("no such shape"), nullptr);
    EXPECT_EQ(FindShape("cube")->name, "cube");
}

} // namespace
} // namespace korv
