#include "tests/tools/recording_painter.h"
#include "tools/korv/model/shapes.h"
#include "tools/korv/painting/pipeline.h"

#include <gtest/gtest.h>

#include <numbers>

namespace korv {
namespace {

constexpr double kQuarterTurn = std::numbers::pi / 2;
constexpr Extent kSize{200, 100};

// At the origin, looking along y, 45 degrees to top and bottom.
Camera Straight() {
    return LookAt({0, 0, 0}, {0, 1, 0}, kQuarterTurn, 1, 9, kSize);
}

Mesh OneTriangle(const Vec3& a, const Vec3& b, const Vec3& c) {
    Mesh mesh;
    for (const Vec3& p : {a, b, c}) {
        mesh.vertices.push_back({p, {0, -1, 0}, {1, 0.5, 0}});
    }
    mesh.triangles = {{0, 1, 2}};
    return mesh;
}

DrawOptions FullLight() {
    DrawOptions options;
    options.light = {{0, -1, 0}, 1, 0};
    return options;
}

TEST(Pipeline, PackColourRoundsAndClamps) {
    EXPECT_EQ(PackColour({1, 0.5, 0}), 0xFFFF8000u);
    EXPECT_EQ(PackColour({2, -1, 0.002}, 0.5), 0x80FF0001u);
}

TEST(Pipeline, ProjectsToPixelsDepthAndReciprocalDistance) {
    // Two away, half of the way up: a quarter from the top.
    const auto batches =
        Process(OneTriangle({0, 2, 1}, {-4, 2, -2}, {4, 2, -2}), Straight(), kSize, FullLight());
    ASSERT_EQ(batches.size(), 1u);
    const D3DTLVERTEX& v = batches[0].vertices[0];
    EXPECT_FLOAT_EQ(v.sx, 100);
    EXPECT_FLOAT_EQ(v.sy, 25);
    EXPECT_FLOAT_EQ(v.rhw, 0.5f);
    // far / (far - near) * (1 - near / distance)
    EXPECT_FLOAT_EQ(v.sz, 9.0f / 8 * 0.5f);
    EXPECT_EQ(v.color, 0xFFFF8000u);
    EXPECT_EQ(v.specular, 0xFF000000u);
    EXPECT_FLOAT_EQ(batches[0].vertices[1].sx, 0);
    EXPECT_FLOAT_EQ(batches[0].vertices[1].sy, 100);
}

TEST(Pipeline, LightIsAmbientPlusDiffuseByTheCosine) {
    DrawOptions options;
    options.light = {{0, -2, 0}, 0.25, 0.5};
    Mesh mesh = OneTriangle({0, 2, 1}, {-1, 2, -1}, {1, 2, -1});
    mesh.vertices[0].normal = {0, -1, 0};                 // straight at the lamp
    mesh.vertices[1].normal = {0, -0.5, std::sqrt(0.75)}; // 60 degrees
    mesh.vertices[2].normal = Normalised({0, -1e-9, -1}); // almost across
    for (Vertex& v : mesh.vertices) {
        v.colour = {1, 1, 1};
    }
    const auto batches = Process(mesh, Straight(), kSize, options);
    EXPECT_EQ(batches[0].vertices[0].color & 0xFF, 191u); // 0.75
    EXPECT_EQ(batches[0].vertices[1].color & 0xFF, 128u); // 0.5
    EXPECT_EQ(batches[0].vertices[2].color & 0xFF, 64u);  // 0.25
}

TEST(Pipeline, TextureCoordinatesAreCutWithTheTriangle) {
    // The lower edge is cut where it leaves the view, at equal shares of u and v.
    Mesh mesh = OneTriangle({0, 2, 0}, {-8, 2, -1}, {8, 2, -1});
    mesh.vertices[0].u = mesh.vertices[0].v = 0.5;
    mesh.vertices[1].v = mesh.vertices[2].v = 1;
    mesh.vertices[2].u = 1;
    // At the sides of the picture x is 4: half of the way out.
    for (const Batch& batch : Process(mesh, Straight(), kSize, FullLight())) {
        for (const D3DTLVERTEX& v : batch.vertices) {
            const double x = (v.sx / 100 - 1) * 4;
            const double z = (1 - v.sy / 50) * 2;
            EXPECT_NEAR(v.tu, 0.5 + x / 16, 1e-6);
            EXPECT_NEAR(v.tv, 0.5 - z / 2, 1e-6);
        }
    }
}

TEST(Pipeline, HighlightStandsWhereTheLampIsMirrored) {
    DrawOptions options = FullLight();
    options.light.gloss = 0.5;
    options.light.shininess = 10;
    // Seen from the lamp, the first vertex faces both; the second leans by 60 degrees.
    Mesh mesh = OneTriangle({0, 2, 0}, {-0.01, 2, 0}, {0.01, 2, -0.01});
    mesh.vertices[1].normal = {0, -0.5, std::sqrt(0.75)};
    const auto batches = Process(mesh, Straight(), kSize, options);
    EXPECT_EQ(batches[0].vertices[0].specular, 0xFF808080u);
    EXPECT_EQ(batches[0].vertices[1].specular, 0xFF000000u); // 0.5 / 1024
    options.light.gloss = 0;
    EXPECT_EQ(Process(mesh, Straight(), kSize, options)[0].vertices[0].specular, 0xFF000000u);
}

TEST(Pipeline, NormalsAwayFromTheLampGetAmbientLightOnly) {
    Mesh mesh = OneTriangle({0, 2, 1}, {-1, 2, -1}, {1, 2, -1});
    mesh.vertices[1].normal = {0, 1, 0};
    DrawOptions options;
    options.light = {{0, -1, 0}, 0.5, 0.5};
    const auto batches = Process(mesh, Straight(), kSize, options);
    EXPECT_EQ(batches[0].vertices[0].color, 0xFFFF8000u);
    EXPECT_EQ(batches[0].vertices[1].color, 0xFF804000u);
}

TEST(Pipeline, FlatTrianglesAreLitByTheirOwnPlane) {
    // Counter-clockwise from the front: the plane faces the lamp, whatever the vertices say.
    Mesh mesh = OneTriangle({0, 2, 1}, {-1, 2, -1}, {1, 2, -1});
    for (Vertex& v : mesh.vertices) {
        v.normal = {0, 1, 0};
    }
    DrawOptions options;
    options.shading = Shading::Flat;
    options.light = {{0, -1, 0}, 0, 1};
    EXPECT_EQ(Process(mesh, Straight(), kSize, options)[0].vertices[2].color, 0xFFFF8000u);
}

TEST(Pipeline, FogFallsLinearlyIntoSpecularAlpha) {
    DrawOptions options = FullLight();
    options.fog = Fog{2, 6, 0};
    const auto batches =
        Process(OneTriangle({0, 2, 1}, {0, 3, 0}, {0.5, 7, 0}), Straight(), kSize, options);
    EXPECT_EQ(batches[0].vertices[0].specular, 0xFF000000u);
    EXPECT_EQ(batches[0].vertices[1].specular, 0xBF000000u); // three quarters
    EXPECT_EQ(batches[0].vertices[2].specular, 0x00000000u);
}

TEST(Pipeline, SharedVerticesAreSentOnceWhenSmoothAndApartWhenFlat) {
    const Mesh mesh = Ripples(8);
    const Camera camera = FitCamera(BoundingSphere(mesh), {}, kSize);
    DrawOptions options;
    EXPECT_EQ(Process(mesh, camera, kSize, options)[0].vertices.size(), 81u);
    options.shading = Shading::Flat;
    const auto flat = Process(mesh, camera, kSize, options);
    ASSERT_EQ(flat[0].triangles.size(), 128u);
    EXPECT_EQ(flat[0].vertices.size(), 384u);
    for (const D3DTRIANGLE& t : flat[0].triangles) {
        EXPECT_EQ(flat[0].vertices[t.v1].color, flat[0].vertices[t.v2].color);
        EXPECT_EQ(flat[0].vertices[t.v1].color, flat[0].vertices[t.v3].color);
    }
}

TEST(Pipeline, ClippedTrianglesStayInsideTheTarget) {
    const auto batches = Process(OneTriangle({-30, 5, -8}, {30, 5, -8}, {0, -3, 30}), Straight(),
                                 kSize, FullLight());
    ASSERT_EQ(batches.size(), 1u);
    ASSERT_GE(batches[0].triangles.size(), 2u);
    for (const D3DTLVERTEX& v : batches[0].vertices) {
        EXPECT_GE(v.sx, 0);
        EXPECT_LE(v.sx, kSize.width);
        EXPECT_GE(v.sy, 0);
        EXPECT_LE(v.sy, kSize.height);
        EXPECT_GE(v.sz, 0);
        EXPECT_LE(v.sz, 1);
    }
}

TEST(Pipeline, InvisibleMeshGivesNoBatch) {
    EXPECT_TRUE(
        Process(OneTriangle({0, -2, 1}, {1, -2, 0}, {0, -3, 0}), Straight(), kSize, FullLight())
            .empty());
}

TEST(Pipeline, BackToFrontPutsTheFarTriangleFirst) {
    Mesh mesh = OneTriangle({0, 2, 1}, {-1, 2, -1}, {1, 2, -1});
    for (const Vec3& p : {Vec3{0, 5, 1}, Vec3{-1, 5, -1}, Vec3{1, 5, -1}}) {
        mesh.vertices.push_back({p, {0, -1, 0}, {0, 1, 0}});
    }
    mesh.triangles.push_back({3, 4, 5});
    DrawOptions options = FullLight();
    const auto asGiven = Process(mesh, Straight(), kSize, options);
    EXPECT_FLOAT_EQ(asGiven[0].vertices[asGiven[0].triangles[0].v1].rhw, 0.5f);
    options.backToFront = true;
    const auto sorted = Process(mesh, Straight(), kSize, options);
    EXPECT_FLOAT_EQ(sorted[0].vertices[sorted[0].triangles[0].v1].rhw, 0.2f);
}

TEST(Pipeline, LargeMeshIsCutIntoBatchesThatIndicesCanHold) {
    const Mesh mesh = Torus(1, 0.4, 320, 160); // 102400 triangles, 51200 vertices
    const Camera camera = FitCamera(BoundingSphere(mesh), {}, kSize);
    for (const Shading shading : {Shading::Flat, Shading::Gouraud}) {
        DrawOptions options;
        options.shading = shading;
        RecordingPainter painter(kSize);
        DrawMesh(painter, mesh, camera, options);
        EXPECT_GT(painter.calls, 1u);
        EXPECT_LE(painter.largestCall, 65535u);
        EXPECT_EQ(painter.badIndices, 0u);
        EXPECT_EQ(painter.corners.size(), mesh.triangles.size() * 3);
    }
}

TEST(Pipeline, FogIsTurnedOnBeforeItsColourIsTold) {
    RecordingPainter painter(kSize);
    DrawOptions options = FullLight();
    options.fog = Fog{1, 9, 0x123456};
    DrawMesh(painter, OneTriangle({0, 2, 1}, {-1, 2, -1}, {1, 2, -1}), Straight(), options);
    const std::vector<RecordingPainter::StateChange> expected{
        {D3DRENDERSTATE_SHADEMODE, D3DSHADE_GOURAUD},
        {D3DRENDERSTATE_FOGENABLE, 1},
        {D3DRENDERSTATE_FOGCOLOR, 0x123456},
        {D3DRENDERSTATE_SPECULARENABLE, 0}};
    EXPECT_EQ(painter.states, expected);
}

} // namespace
} // namespace korv
