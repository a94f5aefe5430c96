#include "tools/korv/images/patterns.h"
#include "tools/korv/images/test_card.h"
#include "tools/korv/scenes/scene.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv {

namespace {

constexpr Extent kField{160, 120};

struct Look {
    const char* label;
    VideoEffects effects;
};
constexpr Look kLooks[] = {
    {"as sent", {}},
    {"mirror in x", {.mirrorLeftRight = true}},
    {"half, in y", {.mirrorUpDown = true, .halved = true}},
};
static_assert(kAnimationFrames % std::size(kLooks) == 0);

// The largest rectangle with the sides of a field that fits in, in the middle of the width.
RECT AreaFor(Extent room) {
    const LONG width =
        std::max(1, std::min(room.width, room.height * kField.width / kField.height));
    const LONG height = std::clamp<LONG>(width * kField.height / kField.width, 1, room.height);
    const LONG left = (room.width - width) / 2;
    return {left, 0, left + width, height};
}

} // namespace

CellNames VideoCells(const Painter&) {
    CellNames cells{kFilmColumns, {}};
    for (int field = 0; field < kAnimationFrames; ++field) {
        cells.names.push_back(fmt::format("field {}", field));
    }
    return cells;
}

// A test card as the video port takes it in, field by field, each on the screen.
void DrawVideo(Painter& painter) {
    constexpr LONG kLabelWidth = 152, kLabelHeight = 20;
    constexpr D3DCOLOR kBackground = 0xFF18202C;
    const Extent size = painter.Size();
    const RECT area = AreaFor(size);
    const bool labelled = size.width >= kLabelWidth && size.height >= area.bottom + kLabelHeight;
    TestCard card(kField.width, kField.height);
    for (const Look& look : kLooks) {
        const char* text = painter.ShowsVideo() ? look.label : "no video";
        const ImageHandle label =
            labelled ? painter.MakeImage(Sign(kLabelWidth, kLabelHeight, text)) : ImageHandle{};
        if (painter.ShowsVideo()) {
            painter.PlayVideo(card, kField, look.effects);
        }
        for (size_t frame = 0; frame < kAnimationFrames / std::size(kLooks); ++frame) {
            painter.Clear(kBackground);
            if (painter.ShowsVideo()) {
                painter.DrawField(area);
            }
            if (labelled) {
                const LONG left = (size.width - kLabelWidth) / 2,
                           top = (size.height + area.bottom - kLabelHeight) / 2;
                painter.Blit({left, top, left + kLabelWidth, top + kLabelHeight}, label,
                             {0, 0, kLabelWidth, kLabelHeight});
            }
            painter.Flip();
        }
    }
    painter.StopVideo();
}

} // namespace korv
