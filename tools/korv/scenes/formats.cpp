#include "tools/korv/images/patterns.h"
#include "tools/korv/painting/screen_batch.h"
#include "tools/korv/painting/texture_state.h"
#include "tools/korv/scenes/scene.h"

#include <algorithm>
#include <cmath>

namespace korv {

namespace {

constexpr uint32_t kTextureSide = 128, kSignWidth = 128, kSignHeight = 32;

struct Field {
    double left, top, width, height;
};

// Stripes, so that alpha shows.
void Behind(ScreenBatch& batch, const Field& field) {
    constexpr int kStripes = 8;
    for (int i = 0; i < kStripes; ++i) {
        batch.Rectangle(field.left + field.width * i / kStripes, field.top,
                        field.left + field.width * (i + 1) / kStripes, field.top + field.height,
                        i & 1 ? 0xFF303848 : 0xFF707888);
    }
}

void Whole(Painter& painter, ScreenBatch& batch, const TextureState& state, const Field& field) {
    SetTexture(painter, state);
    batch.Tile(field.left, field.top, field.left + field.width, field.top + field.height, 0, 0, 1,
               1);
    batch.Draw(painter);
}

// As wide as high.
int ColumnsFor(size_t formats) {
    return std::max(1, static_cast<int>(std::ceil(std::sqrt(static_cast<double>(formats)))));
}

} // namespace

CellNames FormatCells(const Painter& painter) {
    const std::vector<std::string> formats = painter.TextureFormats();
    return {static_cast<uint32_t>(ColumnsFor(formats.size())), formats};
}

// For each format that the device announces: a colour wheel, stripes that fade out, and a sign with
// its name, all three in that format.
void DrawTextureFormats(Painter& painter) {
    const std::vector<std::string> formats = painter.TextureFormats();
    const int columns = ColumnsFor(formats.size());
    const int rows = std::max(1, (static_cast<int>(formats.size()) + columns - 1) / columns);
    const double width = 1.0 * painter.Size().width / columns,
                 height = 1.0 * painter.Size().height / rows;
    painter.Clear(0xFF202028);
    // Colours as they are, with the texture's alpha over the target.
    painter.State(D3DRENDERSTATE_SHADEMODE, D3DSHADE_FLAT);
    painter.State(D3DRENDERSTATE_SRCBLEND, D3DBLEND_SRCALPHA);
    painter.State(D3DRENDERSTATE_DESTBLEND, D3DBLEND_INVSRCALPHA);
    ScreenBatch batch;
    for (size_t i = 0; i < formats.size(); ++i) {
        const double left = width * (static_cast<int>(i) % columns),
                     top = height * (static_cast<int>(i) / columns);
        const double gap = width / 32, half = (width - 3 * gap) / 2;
        const double sign = height * 0.2, tall = height - sign - 3 * gap;
        const Field wheel{left + gap, top + gap, half, tall},
            fading{left + 2 * gap + half, top + gap, half, tall},
            name{left + gap, top + 2 * gap + tall, width - 2 * gap, sign};
        ClearTexture(painter);
        painter.State(D3DRENDERSTATE_ALPHABLENDENABLE, 0);
        Behind(batch, fading);
        batch.Draw(painter);
        const auto make = [&](host::Picture image) {
            return TextureState{.texture = painter.MakeTexture({std::move(image), formats[i]}),
                                .perspective = false};
        };
        Whole(painter, batch, make(ColourWheel(kTextureSide)), wheel);
        Whole(painter, batch, make(Sign(kSignWidth, kSignHeight, formats[i])), name);
        painter.State(D3DRENDERSTATE_ALPHABLENDENABLE, 1);
        Whole(painter, batch, make(FadingStripes(kTextureSide)), fading);
    }
}

} // namespace korv
