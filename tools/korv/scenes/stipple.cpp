#include "tools/korv/painting/screen_batch.h"
#include "tools/korv/scenes/scene.h"

#include <fmt/format.h>

namespace korv {

namespace {

constexpr int kSide = 4;

constexpr D3DCOLOR AlphaOf(int step) {
    return static_cast<D3DCOLOR>(step * 0x11);
}

} // namespace

CellNames StippleCells(const Painter&) {
    CellNames cells{kSide, {}};
    for (int step = 0; step < kSide * kSide; ++step) {
        cells.names.push_back(fmt::format("alpha {:02X}", AlphaOf(step)));
    }
    return cells;
}

void DrawStippledAlpha(Painter& painter) {
    const double width = painter.Size().width, height = painter.Size().height;
    painter.Clear(0xFF203050);

    ScreenBatch batch;
    constexpr int kStripes = 8;
    for (int i = 0; i < kStripes; i += 2) {
        batch.Rectangle(width * i / kStripes, 0, width * (i + 1) / kStripes, height, 0xFFE0C060);
    }
    batch.Draw(painter);

    // Alpha goes up from left to right and then from top to bottom, one stipple pattern a panel.
    painter.State(D3DRENDERSTATE_STIPPLEDALPHA, 1);
    constexpr double kInset = 0.1;
    for (int step = 0; step < kSide * kSide; ++step) {
        const double left = step % kSide + kInset, top = step / kSide + kInset;
        const double edge = 1 - 2 * kInset;
        const D3DCOLOR alpha = AlphaOf(step) << 24;
        batch.Rectangle(width * left / kSide, height * top / kSide, width * (left + edge) / kSide,
                        height * (top + edge) / kSide, alpha | 0xC02828);
    }
    batch.Draw(painter);
}

} // namespace korv
