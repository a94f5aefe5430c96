#include "host/client/client_drawing.h"
#include "tools/korv/images/patterns.h"
#include "tools/korv/model/shapes.h"
#include "tools/korv/painting/pipeline.h"
#include "tools/korv/scenes/scene.h"

#include <algorithm>
#include <cmath>

namespace korv {

namespace {

constexpr uint32_t kGround = 0x213118;
// Triangles of one side before the other has its turn.
constexpr size_t kTrianglesByTurn = 100;

Mesh Knot() {
    Mesh mesh = TorusKnot(2, 3, 0.42, 128, 14);
    for (Vertex& vertex : mesh.vertices) {
        vertex.colour = {0.6 + 0.13 * vertex.position.x, 0.6 + 0.13 * vertex.position.y,
                         0.75 + 0.2 * vertex.position.z};
    }
    return mesh;
}

Mesh Ring() {
    Mesh mesh = Torus(1, 0.45, 72, 28);
    for (Vertex& vertex : mesh.vertices) {
        const double turn = std::atan2(vertex.position.y, vertex.position.x);
        vertex.colour = {0.6 + 0.4 * std::cos(3 * turn), 0.75, 0.55 - 0.4 * std::cos(3 * turn)};
    }
    return mesh;
}

std::vector<Batch> Projected(const Mesh& mesh, const Orbit& orbit, Extent extent,
                             bool backToFront) {
    return Process(mesh, FitCamera(BoundingSphere(mesh), orbit, extent), extent,
                   {.backToFront = backToFront});
}

// Front faces of the batches as the client takes them, `left` pixels further right.
std::vector<host::ClientVertex> FrontFaces(const std::vector<Batch>& batches, int left) {
    std::vector<host::ClientVertex> corners;
    for (const Batch& batch : batches) {
        for (const D3DTRIANGLE& triangle : batch.triangles) {
            const D3DTLVERTEX& a = batch.vertices[triangle.v1];
            const D3DTLVERTEX& b = batch.vertices[triangle.v2];
            const D3DTLVERTEX& c = batch.vertices[triangle.v3];
            if ((b.sx - a.sx) * (c.sy - a.sy) - (b.sy - a.sy) * (c.sx - a.sx) >= 0) {
                continue;
            }
            for (const D3DTLVERTEX* v : {&a, &b, &c}) {
                corners.push_back({v->sx + static_cast<float>(left), v->sy, v->color & 0xFFFFFF});
            }
        }
    }
    return corners;
}

// Triangles [from, to) of a batch, with their own vertices alone.
void DrawPart(Painter& painter, const Batch& batch, size_t from, size_t to) {
    const auto part = std::span(batch.triangles).subspan(from, to - from);
    painter.Triangles(batch.vertices, part);
}

// Paints the picture by hand into memory of the client's own, and has the driver copy it to (`x`,
// `y`) of the target.
void ShowByHand(host::ClientDrawing& drawing, const host::Picture& picture, LONG x, LONG y) {
    host::ServiceClient& client = drawing.Client();
    const host::ClientTarget& target = drawing.Target();
    const uint32_t bytes = target.bits / 8;
    host::ClientTarget buffer = target;
    buffer.height = picture.height;
    const auto memory = client.Allocate(buffer.pitch * bytes * buffer.height, true);
    if (!memory) {
        return;
    }
    buffer.offset = *memory;
    if (client.Lock() == host::LockAnswer::Taken) {
        for (uint32_t row = 0; row < picture.height; ++row) {
            for (uint32_t column = 0; column < picture.width; ++column) {
                const auto pixel = picture.At(column, row);
                host::WritePixel(client, buffer, static_cast<uint32_t>(x) + column, row,
                                 uint32_t{pixel[0]} << 16 | uint32_t{pixel[1]} << 8 | pixel[2]);
            }
        }
        client.Unlock();
    }
    // What the client has drawn there goes first.
    client.Finish();
    const uint32_t to = target.offset / bytes + static_cast<uint32_t>(y) * target.pitch;
    client.Copy({x, 0, x + static_cast<LONG>(picture.width), static_cast<LONG>(picture.height)}, to,
                buffer.offset / bytes);
    client.Free(*memory);
}

} // namespace

// Direct3D on the left and the client on the right, turn by turn in one chip.
void DrawTwoClients(Painter& painter) {
    constexpr D3DCOLOR kBackground = 0xFF182030;
    const Extent size = painter.Size();
    const int left = size.width / 2;
    painter.Clear(kBackground);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    painter.State(D3DRENDERSTATE_CULLMODE, D3DCULL_CW);
    SetLightStates(painter, {});
    const Extent leftHalf{std::max(left, 1), size.height};
    const std::vector<Batch> knot =
        Projected(Knot(), {.yaw = 20, .pitch = 50, .zoom = 1.1}, leftHalf, false);

    host::ClientDrawing* const drawing = painter.Client();
    std::vector<host::ClientVertex> ring;
    if (drawing != nullptr) {
        drawing->Rectangle({left, 0, size.width, size.height}, kGround);
        ring = FrontFaces(Projected(Ring(), {.yaw = 30, .pitch = 40, .zoom = 1.1},
                                    {size.width - left, size.height}, true),
                          left);
    }
    size_t drawn = 0; // corners
    for (const Batch& batch : knot) {
        for (size_t from = 0; from < batch.triangles.size(); from += kTrianglesByTurn) {
            DrawPart(painter, batch, from,
                     std::min(from + kTrianglesByTurn, batch.triangles.size()));
            const size_t count = std::min(3 * kTrianglesByTurn, ring.size() - drawn);
            if (count != 0) {
                drawing->Triangles(std::span(ring).subspan(drawn, count));
                drawing->Client().Send();
                drawn += count;
            }
        }
    }
    if (drawing == nullptr) {
        return;
    }
    drawing->Triangles(std::span(ring).subspan(drawn));
    const auto width = static_cast<uint32_t>(size.width - left) & ~1u;
    const auto height = static_cast<uint32_t>(size.height / 12);
    if (height >= 16 && width >= 64) {
        ShowByHand(*drawing, Sign(width, height, "BY HAND"), left,
                   size.height - static_cast<LONG>(height));
    }
}

} // namespace korv
