#include "tools/korv/images/patterns.h"
#include "tools/korv/painting/screen_batch.h"
#include "tools/korv/painting/texture_state.h"
#include "tools/korv/scenes/scene.h"

#include <cmath>
#include <numbers>

namespace korv {

namespace {

constexpr uint32_t kSpriteSide = 64, kWallSide = 128;

} // namespace

// Faces cut out by a colour key, turned and in several sizes, before a brick wall.
void DrawSprites(Painter& painter) {
    constexpr D3DCOLOR kKey = 0xFF00FF;
    const double width = painter.Size().width, height = painter.Size().height;
    painter.Clear(0xFF000000);
    ScreenBatch batch;
    SetTexture(painter, {.texture = painter.MakeTexture({Bricks(kWallSide)}),
                         .blend = D3DTBLEND_DECAL,
                         .perspective = false});
    batch.Tile(0, 0, width, height, 0, 0, 4, 3);
    batch.Draw(painter);

    TextureRequest sprite{Face(kSpriteSide, kKey)};
    sprite.colourKey = kKey;
    SetTexture(painter, {.texture = painter.MakeTexture(sprite),
                         .blend = D3DTBLEND_MODULATE,
                         .perspective = false});
    painter.State(D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT);
    constexpr int kColumns = 5, kRows = 4;
    constexpr D3DCOLOR kTints[] = {0xFFFFFFFF, 0xFFFF9090, 0xFF90FF90, 0xFFA0C0FF};
    const double cell = std::min(width / kColumns, height / kRows);
    for (int i = 0; i < kColumns * kRows; ++i) {
        const double x = width * (i % kColumns + 0.5) / kColumns,
                     y = height * (i / kColumns + 0.5) / kRows;
        const double reach = cell * (0.2 + 0.03 * (i % 6)), angle = i * std::numbers::pi / 10;
        const double dx = reach * std::cos(angle), dy = reach * std::sin(angle);
        const D3DCOLOR tint = kTints[i % std::size(kTints)];
        constexpr double kDepth = 0.5;
        const WORD a = batch.Add(x - dx + dy, y - dy - dx, kDepth, tint, 0, 0),
                   b = batch.Add(x + dx + dy, y + dy - dx, kDepth, tint, 1, 0),
                   c = batch.Add(x + dx - dy, y + dy + dx, kDepth, tint, 1, 1),
                   d = batch.Add(x - dx - dy, y - dy + dx, kDepth, tint, 0, 1);
        batch.Triangle(a, b, c);
        batch.Triangle(a, c, d);
    }
    batch.Draw(painter);
}

} // namespace korv
