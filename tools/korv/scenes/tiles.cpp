#include "tools/korv/images/patterns.h"
#include "tools/korv/painting/screen_batch.h"
#include "tools/korv/painting/texture_state.h"
#include "tools/korv/scenes/scene.h"

namespace korv {

CellNames TileCells(const Painter&) {
    return {3,
            {"repeated, nearest", "mirrored, nearest", "clamped, nearest", "repeated, mixed",
             "mirrored, mixed", "clamped, mixed"}};
}

// Three columns: repeated, mirrored, clamped. The upper row shows the nearest texels, the lower row
// mixes them. The image starts one image's width and height before its own corner.
void DrawTiles(Painter& painter) {
    constexpr uint32_t kSide = 64;
    constexpr DWORD kAddresses[] = {D3DTADDRESS_WRAP, D3DTADDRESS_MIRROR, D3DTADDRESS_CLAMP};
    constexpr DWORD kFilters[] = {D3DFILTER_NEAREST, D3DFILTER_LINEAR};
    constexpr double kFirst = -1, kLast = 2;
    painter.Clear(0xFF202020);
    TextureState state{.texture = painter.MakeTexture({LetterTile(kSide)}),
                       .blend = D3DTBLEND_DECAL,
                       .perspective = false};
    const double width = 1.0 * painter.Size().width / std::size(kAddresses),
                 height = 1.0 * painter.Size().height / std::size(kFilters);
    // At 600 by 400 pixels each image is as wide and as high as it has texels.
    const double gapX = width / 50, gapY = height / 50;
    ScreenBatch batch;
    for (size_t column = 0; column < std::size(kAddresses); ++column) {
        for (size_t row = 0; row < std::size(kFilters); ++row) {
            state.address = kAddresses[column];
            state.filter = kFilters[row];
            SetTexture(painter, state);
            batch.Tile(width * column + gapX, height * row + gapY, width * (column + 1) - gapX,
                       height * (row + 1) - gapY, kFirst, kFirst, kLast, kLast);
            batch.Draw(painter);
        }
    }
}

} // namespace korv
