#include "tools/korv/images/patterns.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/painting/texture_state.h"
#include "tools/korv/scenes/scene.h"

#include <numbers>

namespace korv {

namespace {

constexpr D3DCOLOR kSky = 0xFF8090B0;

// A strip of floor from x = `left` to `right` in squares of edge 2: large ones, so that the screen
// shows how texels run across a triangle.
Mesh Strip(double left, double right) {
    constexpr int kRows = 8;
    constexpr double kEdge = 2;
    Mesh mesh;
    for (double x = left; x < right; x += kEdge) {
        for (int row = 0; row < kRows; ++row) {
            const auto a = static_cast<uint32_t>(mesh.vertices.size());
            for (const auto& [u, v] : {std::pair{0, 1}, {1, 1}, {1, 0}, {0, 0}}) {
                mesh.vertices.push_back({{x + u * kEdge, row * kEdge + (1 - v) * kEdge, 0},
                                         {0, 0, 1},
                                         {1, 1, 1},
                                         1.0 * u,
                                         1.0 * v});
            }
            mesh.triangles.push_back({a, a + 1, a + 2});
            mesh.triangles.push_back({a, a + 2, a + 3});
        }
    }
    return mesh;
}

} // namespace

// On the left in perspective; on the right the same floor with its texture linear on the screen, so
// that it breaks along the triangles' edges.
void DrawTextureFloor(Painter& painter) {
    constexpr uint32_t kTextureSide = 128;
    painter.Clear(kSky);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    const Camera camera =
        LookAt({0, -0.8, 2.2}, {0, 4.5, 0}, 60 * std::numbers::pi / 180, 0.5, 40, painter.Size());
    TextureState state{.texture = painter.MakeTexture({LabelledChecker(kTextureSide)}),
                       .filter = D3DFILTER_LINEAR};
    DrawOptions options;
    options.light = {{0, 0, 1}, 1, 0};
    SetTexture(painter, state);
    DrawMesh(painter, Strip(-12, 0), camera, options);
    state.perspective = false;
    SetTexture(painter, state);
    DrawMesh(painter, Strip(0, 12), camera, options);
}

} // namespace korv
