#include "tools/korv/images/patterns.h"
#include "tools/korv/scenes/scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace korv {

namespace {

constexpr int kFaces = 14;

} // namespace

// Faces in two sizes on a ring, copied over what Direct3D has drawn.
void DrawKeyedBlits(Painter& painter) {
    constexpr D3DCOLOR kKey = 0xFF00FF;
    DrawKnot(painter);
    const double width = painter.Size().width, height = painter.Size().height;
    const LONG large = static_cast<LONG>(std::min(width, height) / 6) & ~1, small = large / 2 & ~1;
    if (small == 0) {
        return;
    }
    const ImageHandle images[] = {painter.MakeImage(Face(static_cast<uint32_t>(large), kKey)),
                                  painter.MakeImage(Face(static_cast<uint32_t>(small), kKey))};
    for (int i = 0; i < kFaces; ++i) {
        const double angle = 2 * std::numbers::pi * i / kFaces;
        const LONG side = i % 2 == 0 ? large : small;
        const auto x = static_cast<LONG>(width / 2 + std::cos(angle) * (width - large) / 2 -
                                         side / 2.0),
                   y = static_cast<LONG>(height / 2 + std::sin(angle) * (height - large) / 2 -
                                         side / 2.0);
        painter.Blit({x, y, x + side, y + side}, images[i % 2], {0, 0, side, side},
                     {.colourKey = kKey});
    }
}

} // namespace korv
