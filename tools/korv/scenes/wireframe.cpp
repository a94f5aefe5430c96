#include "tools/korv/model/shapes.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/scenes/scene.h"

namespace korv {

namespace {

// Draws the mesh around (`x`, 0, 0) in front of a camera that sees two of them side by side.
void Place(Painter& painter, Mesh mesh, double x) {
    for (Vertex& vertex : mesh.vertices) {
        vertex.position = vertex.position + Vec3{x, 0, 0};
        vertex.colour = {0.75 + 0.25 * vertex.normal.x, 0.8, 0.75 - 0.25 * vertex.normal.z};
    }
    DrawOptions options;
    options.light.ambient = 0.5;
    DrawMesh(painter, mesh,
             FitCamera({{0, 0, 0}, 2.2}, {.yaw = 0, .pitch = 25, .zoom = 1.3}, painter.Size()),
             options);
}

} // namespace

// A ball drawn as its edges on the left, as its corners on the right.
void DrawWireframe(Painter& painter) {
    painter.Clear(0xFF101820);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    painter.State(D3DRENDERSTATE_CULLMODE, D3DCULL_CW);
    painter.State(D3DRENDERSTATE_FILLMODE, D3DFILL_WIREFRAME);
    Place(painter, Icosphere(2), -1.15);
    painter.State(D3DRENDERSTATE_FILLMODE, D3DFILL_POINT);
    Place(painter, Icosphere(3), 1.15);
    painter.State(D3DRENDERSTATE_FILLMODE, D3DFILL_SOLID);
}

} // namespace korv
