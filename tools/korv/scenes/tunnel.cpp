#include "tools/korv/images/patterns.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/painting/texture_state.h"
#include "tools/korv/scenes/scene.h"

#include <cmath>
#include <numbers>

namespace korv {

namespace {

constexpr double kFullTurn = 2 * std::numbers::pi;

// A tube of radius 1 around the y axis, seen from inside: half of its wall, from angle `from`.
Mesh Wall(double from) {
    constexpr int kSides = 16, kRings = 60;
    constexpr double kStep = 0.5;
    Mesh mesh;
    for (int ring = 0; ring <= kRings; ++ring) {
        for (int side = 0; side <= kSides; ++side) {
            const double angle = from + kFullTurn / 2 * side / kSides;
            const Vec3 out{std::cos(angle), 0, std::sin(angle)};
            mesh.vertices.push_back({out + Vec3{0, ring * kStep, 0},
                                     out * -1,
                                     {1, 1, 1},
                                     2.0 * side / kSides,
                                     ring * kStep});
        }
    }
    const auto index = [](int ring, int side) {
        return static_cast<uint32_t>(ring * (kSides + 1) + side);
    };
    for (int ring = 0; ring < kRings; ++ring) {
        for (int side = 0; side < kSides; ++side) {
            const uint32_t a = index(ring, side), b = index(ring, side + 1),
                           c = index(ring + 1, side + 1), d = index(ring + 1, side);
            mesh.triangles.push_back({a, c, b});
            mesh.triangles.push_back({a, d, c});
        }
    }
    return mesh;
}

} // namespace

// A brick tunnel: its upper half with smaller levels of the image for what is far, its lower half
// without, so that bricks flicker there.
void DrawTunnel(Painter& painter) {
    painter.Clear(0xFF000000);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    const Camera camera =
        LookAt({0.1, 0.6, -0.1}, {0, 8, 0.2}, 80 * std::numbers::pi / 180, 0.2, 40, painter.Size());
    DrawOptions options;
    options.light = {{0, 0, 1}, 1, 0};
    options.fog = Fog{3, 32, 0xFF000000};
    TextureRequest request{Bricks(256)};
    SetTexture(painter, {.texture = painter.MakeTexture(request), .filter = D3DFILTER_NEAREST});
    DrawMesh(painter, Wall(kFullTurn / 2), camera, options);
    request.mipMapped = true;
    SetTexture(painter, {.texture = painter.MakeTexture(request), .filter = D3DFILTER_MIPLINEAR});
    DrawMesh(painter, Wall(0), camera, options);
}

} // namespace korv
