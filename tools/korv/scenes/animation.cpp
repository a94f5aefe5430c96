#include "tools/korv/model/shapes.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/scenes/scene.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv {

// A knot that Direct3D draws, and below it a bar of two fills that tells how far it has turned.
void DrawAnimationFrame(Painter& painter, int frame) {
    constexpr D3DCOLOR kBackground = 0xFF182030, kRail = 0xFF384860, kBar = 0xFFF0C040;
    painter.Clear(kBackground);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    painter.State(D3DRENDERSTATE_CULLMODE, D3DCULL_CW);
    Mesh mesh = TorusKnot(2, 3, 0.42, 96, 12);
    for (Vertex& vertex : mesh.vertices) {
        vertex.colour = {0.7 + 0.1 * vertex.position.x, 0.55 + 0.13 * vertex.position.y,
                         0.45 - 0.3 * vertex.position.z};
    }
    const double yaw = 360.0 * frame / kAnimationFrames;
    DrawMesh(
        painter, mesh,
        FitCamera(BoundingSphere(mesh), {.yaw = yaw, .pitch = 35, .zoom = 1.1}, painter.Size()),
        {});
    const LONG width = painter.Size().width, height = painter.Size().height;
    const LONG top = height - std::max(height / 16, 1);
    const LONG reached = width * (frame + 1) / kAnimationFrames;
    if (reached > 0) {
        painter.Fill({0, top, reached, height}, kBar);
    }
    if (reached < width) {
        painter.Fill({reached, top, width, height}, kRail);
    }
}

CellNames AnimationCells(const Painter&) {
    CellNames cells{kFilmColumns, {}};
    for (int frame = 0; frame < kAnimationFrames; ++frame) {
        cells.names.push_back(fmt::format("flip {}", frame));
    }
    return cells;
}

// Draws each picture behind the one on show.
void DrawAnimation(Painter& painter) {
    for (int frame = 0; frame < kAnimationFrames; ++frame) {
        DrawAnimationFrame(painter, frame);
        painter.Flip();
    }
}

} // namespace korv
