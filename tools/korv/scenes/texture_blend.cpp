#include "tools/korv/images/patterns.h"
#include "tools/korv/painting/screen_batch.h"
#include "tools/korv/painting/texture_state.h"
#include "tools/korv/scenes/scene.h"

namespace korv {

CellNames TextureBlendCells(const Painter&) {
    return {3, {"decal", "copy", "modulate", "decal-alpha", "modulate-alpha"}};
}

// Each way of mixing texture and light: decal, copy and modulate above, decal-alpha and
// modulate-alpha below. The light goes from white on the left to blue on the right, the texture
// fades out from left to right; its alpha lets the ground through where alpha comes out.
void DrawTextureBlends(Painter& painter) {
    constexpr uint32_t kSide = 64;
    constexpr DWORD kBlends[] = {D3DTBLEND_DECAL, D3DTBLEND_COPY, D3DTBLEND_MODULATE,
                                 D3DTBLEND_DECALALPHA, D3DTBLEND_MODULATEALPHA};
    constexpr int kColumns = 3, kRows = 2;
    painter.Clear(0xFF503010);
    TextureState state{.texture = painter.MakeTexture({FadingStripes(kSide)}),
                       .perspective = false};
    painter.State(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
    painter.State(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
    painter.State(D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    const double width = 1.0 * painter.Size().width / kColumns,
                 height = 1.0 * painter.Size().height / kRows;
    const double gap = width / 40;
    ScreenBatch batch;
    for (size_t i = 0; i < std::size(kBlends); ++i) {
        state.blend = kBlends[i];
        SetTexture(painter, state);
        const double left = width * (i % kColumns) + gap, top = height * (i / kColumns) + gap,
                     right = left + width - 2 * gap, bottom = top + height - 2 * gap;
        constexpr D3DCOLOR kLeft = 0xFFFFFFFF, kRight = 0xFF2040FF;
        constexpr double kDepth = 0.5;
        const WORD a = batch.Add(left, top, kDepth, kLeft, 0, 0),
                   b = batch.Add(right, top, kDepth, kRight, 1, 0),
                   c = batch.Add(right, bottom, kDepth, kRight, 1, 1),
                   d = batch.Add(left, bottom, kDepth, kLeft, 0, 1);
        batch.Triangle(a, b, c);
        batch.Triangle(a, c, d);
        batch.Draw(painter);
    }
}

} // namespace korv
