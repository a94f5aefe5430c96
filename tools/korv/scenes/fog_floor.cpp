#include "tools/korv/model/shapes.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/scenes/scene.h"

#include <numbers>

namespace korv {

namespace {

constexpr Vec3 kLightTile{0.95, 0.9, 0.75}, kDarkTile{0.3, 0.16, 0.12};

// Tiles of edge 1 from y = `first` to `last`, `half` to each side of the y axis. Each has its own
// four corners, as its colour ends at its edge.
Mesh TiledFloor(int half, int first, int last) {
    Mesh mesh;
    for (int y = first; y < last; ++y) {
        for (int x = -half; x < half; ++x) {
            const auto a = static_cast<uint32_t>(mesh.vertices.size());
            const Vec3& colour = (x + y) & 1 ? kDarkTile : kLightTile;
            for (const auto& [dx, dy] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
                mesh.vertices.push_back({{1.0 * x + dx, 1.0 * y + dy, 0}, {0, 0, 1}, colour});
            }
            mesh.triangles.push_back({a, a + 1, a + 2});
            mesh.triangles.push_back({a, a + 2, a + 3});
        }
    }
    return mesh;
}

Mesh Ball(const Vec3& centre, double radius, const Vec3& colour) {
    Mesh mesh = Icosphere(2);
    for (Vertex& vertex : mesh.vertices) {
        vertex.position = vertex.position * radius + centre;
        vertex.colour = colour;
    }
    return mesh;
}

} // namespace

void DrawFogFloor(Painter& painter) {
    constexpr D3DCOLOR kMist = 0xFFB4BCC8;
    painter.Clear(kMist);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    constexpr double kNear = 0.5, kFar = 60;
    const Camera camera = LookAt({0.6, -1, 1.7}, {0, 8, 0.4}, 50 * std::numbers::pi / 180, kNear,
                                 kFar, painter.Size());
    DrawOptions options;
    options.fog = Fog{4, 26, kMist};
    // The nearest rows lie behind the eye.
    DrawMesh(painter, TiledFloor(16, -4, 30), camera, options);
    const Vec3 colours[] = {{0.9, 0.25, 0.2}, {0.25, 0.7, 0.3}, {0.25, 0.4, 0.9}};
    for (int i = 0; i < 8; ++i) {
        const double side = i & 1 ? 1.6 : -1.4;
        DrawMesh(painter, Ball({side, 3.5 + 3 * i, 0.7}, 0.7, colours[i % 3]), camera, options);
    }
}

} // namespace korv
