#include "tools/korv/images/patterns.h"
#include "tools/korv/model/terrain.h"
#include "tools/korv/painting/strips.h"
#include "tools/korv/painting/texture_state.h"
#include "tools/korv/scenes/scene.h"

#include <numbers>

namespace korv {

// More than twenty thousand triangles, as strips, with fog; textured where the device can.
void DrawLandscape(Painter& painter) {
    constexpr int kCells = 112;
    constexpr D3DCOLOR kSky = 0xFFA8C0D8;
    painter.Clear(kSky);
    painter.State(D3DRENDERSTATE_ZENABLE, 1);
    painter.State(D3DRENDERSTATE_CULLMODE, D3DCULL_CW);
    const Camera camera = LookAt({0.5, -2.35, 0.95}, {-0.03, -0.12, -0.1},
                                 50 * std::numbers::pi / 180, 0.5, 8, painter.Size());
    DrawOptions options;
    options.light = {{-0.8, 0.2, 0.55}, 0.25, 1};
    options.fog = Fog{1.6, 5, kSky};
    if (!painter.TextureFormats().empty()) {
        SetTexture(painter,
                   {.texture = painter.MakeTexture({Ground(256)}), .filter = D3DFILTER_LINEAR});
    }
    DrawStrips(painter, Terrain(kCells), kCells, camera, options);
}

} // namespace korv
