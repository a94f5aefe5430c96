#include "tools/korv/painting/screen_batch.h"
#include "tools/korv/scenes/scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace korv {

namespace {

constexpr int kSlivers = 240;
// Centres off the pixels' own.
constexpr double kLeft = 0.2506, kRight = 0.7506, kMiddle = 0.5004;

// Triangles around (x, y) whose outer corners keep to no grid.
void Fan(ScreenBatch& batch, double x, double y, double radius, D3DCOLOR even, D3DCOLOR odd) {
    const auto rim = [&](int i, D3DCOLOR colour) {
        const double angle = 2 * std::numbers::pi * (i % kSlivers) / kSlivers;
        const double reach = radius * (0.97 + 0.03 * std::cos(i % kSlivers * 1.7));
        return batch.Add(x + reach * std::cos(angle), y + reach * std::sin(angle), 0.5, colour);
    };
    for (int i = 0; i < kSlivers; ++i) {
        const D3DCOLOR colour = i & 1 ? odd : even;
        batch.Triangle(batch.Add(x, y, 0.5, colour), rim(i, colour), rim(i + 1, colour));
    }
}

} // namespace

// On the left opaque slivers by turns in two colours: a gap would let the ground through. On the
// right each sliver adds the same colour: a pixel drawn twice would be brighter, a missed one dark.
void DrawSlivers(Painter& painter) {
    constexpr D3DCOLOR kBackground = 0xFF301030;
    const double width = painter.Size().width, height = painter.Size().height;
    const double radius = std::min(width / 2, height) * 0.46;
    painter.Clear(kBackground);
    painter.State(D3DRENDERSTATE_DITHERENABLE, 0);
    ScreenBatch batch;
    Fan(batch, width * kLeft, height * kMiddle, radius, 0xFFE8E0B0, 0xFF40A0C0);
    batch.Draw(painter);
    painter.State(D3DRENDERSTATE_SRCBLEND, D3DBLEND_ONE);
    painter.State(D3DRENDERSTATE_DESTBLEND, D3DBLEND_ONE);
    painter.State(D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    Fan(batch, width * kRight, height * kMiddle, radius, 0xFF105830, 0xFF105830);
    batch.Draw(painter);
}

} // namespace korv
