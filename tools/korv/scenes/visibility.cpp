#include "tools/korv/model/shapes.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/painting/screen_batch.h"
#include "tools/korv/scenes/scene.h"

#include <algorithm>
#include <cmath>

namespace korv {

namespace {

constexpr Vec3 kStone{0.45, 0.5, 0.6}, kFloor{0.28, 0.3, 0.34}, kBall{0.95, 0.8, 0.35};
constexpr double kBallRadius = 0.38;
constexpr int kTowers = 6;

Mesh Placed(Mesh mesh, const Vec3& centre, const Vec3& scale, const Vec3& colour) {
    for (Vertex& vertex : mesh.vertices) {
        const Vec3& p = vertex.position;
        vertex.position = centre + Vec3{p.x * scale.x, p.y * scale.y, p.z * scale.z};
        vertex.colour = colour;
    }
    return mesh;
}

// Towers of different heights in a row across the middle.
void DrawTowers(Painter& painter, const Camera& camera) {
    DrawMesh(painter, Placed(Cube(1), {0, 0, -0.1}, {9, 9, 0.1}, kFloor), camera,
             {.shading = Shading::Flat, .light = {}, .fog = {}});
    for (int i = 0; i < kTowers; ++i) {
        const double height = 0.8 + 0.5 * ((i * 5 + 2) % 4);
        DrawMesh(painter,
                 Placed(Cube(1), {(i - (kTowers - 1) / 2.0) * 2.1, -0.6, height},
                        {0.75, 0.5, height}, kStone),
                 camera, {.shading = Shading::Flat, .light = {}, .fog = {}});
    }
}

// The frame around the batches on the screen.
void Frame(ScreenBatch& marks, const std::vector<Batch>& batches, D3DCOLOR colour, Extent extent) {
    float left = static_cast<float>(extent.width), right = 0;
    float top = static_cast<float>(extent.height), bottom = 0;
    for (const Batch& batch : batches) {
        for (const D3DTLVERTEX& vertex : batch.vertices) {
            left = std::min(left, vertex.sx), right = std::max(right, vertex.sx);
            top = std::min(top, vertex.sy), bottom = std::max(bottom, vertex.sy);
        }
    }
    const float line = std::max(1.0f, std::round(static_cast<float>(extent.height) / 300));
    if (right - left < 3 * line || bottom - top < 3 * line) {
        return;
    }
    marks.Rectangle(left, top, right, top + line, colour);
    marks.Rectangle(left, bottom - line, right, bottom, colour);
    marks.Rectangle(left, top + line, left + line, bottom - line, colour);
    marks.Rectangle(right - line, top + line, right, bottom - line, colour);
}

} // namespace

// Balls behind a row of towers. Of each the chip is asked whether any pixel of the box
// around it would be seen: those of a green frame are drawn, those of a red one are left out.
void DrawVisibility(Painter& painter) {
    constexpr D3DCOLOR kBackground = 0xFF141C28, kSeen = 0xFF50E070, kHidden = 0xFFF04050;
    constexpr int kRows = 3, kColumns = 11;
    painter.Clear(kBackground);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    painter.State(D3DRENDERSTATE_CULLMODE, D3DCULL_CW);
    const Extent extent = painter.Size();
    const Camera camera = LookAt({3, -17, 4}, {0.2, 0, 1.4}, 0.5, 2, 40, extent);
    DrawTowers(painter, camera);

    ScreenBatch marks;
    const Mesh box = Cube(1), ball = Icosphere(2);
    for (int row = 0; row < kRows; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            const Vec3 centre{(column - (kColumns - 1) / 2.0 + 0.35 * row) * 1.15, 1.2 + 1.5 * row,
                              kBallRadius * (1 + 2 * ((column * 2 + row) % 4))};
            const Vec3 scale{kBallRadius, kBallRadius, kBallRadius};
            const auto boxes =
                Process(Placed(box, centre, scale, {}), painter.Seen(camera), extent, {});
            const bool seen = std::ranges::any_of(boxes, [&](const Batch& batch) {
                return painter.WouldShow(batch.vertices, batch.triangles);
            });
            if (seen) {
                DrawMesh(painter, Placed(ball, centre, scale, kBall), camera, {});
            }
            Frame(marks, boxes, seen ? kSeen : kHidden, extent);
        }
    }
    painter.State(D3DRENDERSTATE_ZENABLE, 0);
    painter.State(D3DRENDERSTATE_CULLMODE, D3DCULL_NONE);
    painter.State(D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT);
    marks.Draw(painter);
}

} // namespace korv
