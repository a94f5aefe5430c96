#include "tools/korv/model/shapes.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/scenes/scene.h"

namespace korv {

namespace {

void Knot(Painter& painter, Shading shading) {
    constexpr D3DCOLOR kBackground = 0xFF182030;
    Mesh mesh = TorusKnot(2, 3, 0.42, 128, 14);
    for (Vertex& vertex : mesh.vertices) {
        vertex.colour = {0.6 + 0.13 * vertex.position.x, 0.6 + 0.13 * vertex.position.y,
                         0.75 + 0.2 * vertex.position.z};
    }
    painter.Clear(kBackground);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    // Only the near half of the tube shows: its back is the side that turns clockwise.
    painter.State(D3DRENDERSTATE_CULLMODE, D3DCULL_CW);
    DrawOptions options;
    options.shading = shading;
    DrawMesh(
        painter, mesh,
        FitCamera(BoundingSphere(mesh), {.yaw = 20, .pitch = 50, .zoom = 1.15}, painter.Size()),
        options);
}

} // namespace

void DrawKnot(Painter& painter) {
    Knot(painter, Shading::Gouraud);
}

void DrawKnotFlat(Painter& painter) {
    Knot(painter, Shading::Flat);
}

} // namespace korv
