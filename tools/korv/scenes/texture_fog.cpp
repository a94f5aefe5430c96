#include "tools/korv/images/patterns.h"
#include "tools/korv/model/shapes.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/painting/texture_state.h"
#include "tools/korv/scenes/scene.h"

#include <numbers>

namespace korv {

namespace {

// A floor `half` to each side, from y = `first` to `last`, in squares of edge 2, a texture on each.
Mesh TexturedFloor(int half, int first, int last) {
    Mesh mesh;
    for (int y = first; y < last; y += 2) {
        for (int x = -half; x < half; x += 2) {
            const auto a = static_cast<uint32_t>(mesh.vertices.size());
            for (const auto& [u, v] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
                mesh.vertices.push_back(
                    {{x + 2.0 * u, y + 2.0 * v, 0}, {0, 0, 1}, {1, 1, 1}, 1.0 * u, 1.0 - v});
            }
            mesh.triangles.push_back({a, a + 1, a + 2});
            mesh.triangles.push_back({a, a + 2, a + 3});
        }
    }
    return mesh;
}

Mesh Moved(Mesh mesh, const Vec3& by, double scale) {
    for (Vertex& vertex : mesh.vertices) {
        vertex.position = vertex.position * scale + by;
    }
    return mesh;
}

} // namespace

// A textured floor that goes off into fog, and on it, close by, glossy things without fog.
void DrawTextureFog(Painter& painter) {
    constexpr D3DCOLOR kMist = 0xFFB8C0C8;
    painter.Clear(kMist);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    const Camera camera =
        LookAt({0, -2, 2}, {0, 6, 0.6}, 50 * std::numbers::pi / 180, 0.5, 60, painter.Size());
    const TextureHandle bricks = painter.MakeTexture({Bricks(128)});
    const TextureHandle ground = painter.MakeTexture({Ground(128)});
    DrawOptions options;
    options.light.ambient = 0.45;
    options.fog = Fog{4, 24, kMist};
    SetTexture(painter, {.texture = ground, .filter = D3DFILTER_LINEAR});
    DrawMesh(painter, TexturedFloor(16, -4, 28), camera, options);
    SetTexture(painter, {.texture = bricks, .filter = D3DFILTER_LINEAR});
    for (int i = 0; i < 4; ++i) {
        for (const double side : {-3.2, 3.2}) {
            DrawMesh(painter, Moved(Cube(4), {side, 5.0 + 5 * i, 1}, 0.8), camera, options);
        }
    }

    options.fog.reset();
    options.light.gloss = 0.8;
    DrawMesh(painter, Moved(Torus(1.0, 0.4, 48, 24), {-1.2, 3.6, 0.5}, 0.8), camera, options);
    DrawMesh(painter, Moved(Icosphere(3), {1.3, 3.8, 0.9}, 0.8), camera, options);
}

} // namespace korv
