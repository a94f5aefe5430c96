#include "tools/korv/painting/screen_batch.h"
#include "tools/korv/scenes/scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace korv {

// No order of drawing can get this right: two triangles cut each other along the middle, and in
// front of them three bars lie each over the next.
void DrawCrossing(Painter& painter) {
    const double width = painter.Size().width, height = painter.Size().height;
    painter.Clear(0xFF101418);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);

    ScreenBatch batch;
    const double top = height * 0.04, bottom = height * 0.96;
    batch.Triangle(batch.Add(width * 0.04, top, 0.6, 0xFF3060D0),
                   batch.Add(width * 0.96, height / 2, 0.95, 0xFF80C0FF),
                   batch.Add(width * 0.04, bottom, 0.6, 0xFF203880));
    batch.Triangle(batch.Add(width * 0.96, top, 0.6, 0xFFD06030),
                   batch.Add(width * 0.04, height / 2, 0.95, 0xFFFFD080),
                   batch.Add(width * 0.96, bottom, 0.6, 0xFF803020));

    constexpr D3DCOLOR kColours[] = {0xFFE04050, 0xFF40C060, 0xFFF0D040};
    const double reach = std::min(width, height) * 0.4, half = reach * 0.16;
    for (int bar = 0; bar < 3; ++bar) {
        const double angle = (bar * 120 + 20) * std::numbers::pi / 180;
        const double dx = std::cos(angle), dy = std::sin(angle);
        const auto at = [&](double along, double across, double z) {
            return batch.Add(width / 2 + dx * along - dy * across,
                             height / 2 + dy * along + dx * across, z, kColours[bar]);
        };
        // Off the centre, near at one end and far at the other.
        const double offset = reach * 0.36;
        const WORD a = at(-reach, offset - half, 0.1), b = at(reach, offset - half, 0.5),
                   c = at(reach, offset + half, 0.5), d = at(-reach, offset + half, 0.1);
        batch.Triangle(a, b, c);
        batch.Triangle(a, c, d);
    }
    batch.Draw(painter);
}

} // namespace korv
