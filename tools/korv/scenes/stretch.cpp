#include "tools/korv/images/patterns.h"
#include "tools/korv/scenes/scene.h"

#include <algorithm>

namespace korv {

namespace {

constexpr int kColumns = 4, kRows = 2;
constexpr LONG kLabelWidth = 152, kLabelHeight = 20;

// The picture's size in a cell, in parts of the cell's side.
struct Stretch {
    const char* label;
    double width, height;
    BlitEffects effects;
};
constexpr double kOriginal = 0.5, kLarge = 0.94, kSmall = 0.2;
constexpr Stretch kStretches[kRows][kColumns] = {
    {{"copied", kOriginal, kOriginal, {}},
     {"enlarged", kLarge, kLarge, {}},
     {"shrunk", kSmall, kSmall, {}},
     {"flattened", kLarge, kSmall, {}}},
    {{"mirror in x", kOriginal, kOriginal, {.mirrorLeftRight = true}},
     {"mirror in y", kOriginal, kOriginal, {.mirrorUpDown = true}},
     {"in both", kOriginal, kOriginal, {.mirrorLeftRight = true, .mirrorUpDown = true}},
     {"x, enlarged", kLarge, kLarge, {.mirrorLeftRight = true}}},
};

// A rectangle of that size in the middle of the cell whose corner is (left, top).
RECT InTheMiddle(LONG left, LONG top, LONG cellWidth, LONG cellHeight, LONG width, LONG height) {
    const LONG x = left + (cellWidth - width) / 2, y = top + (cellHeight - height) / 2;
    return {x, y, x + width, y + height};
}

} // namespace

// One picture in every size and turn that blits can give it.
void DrawStretches(Painter& painter) {
    painter.Clear(0xFF18202C);
    const LONG cellWidth = painter.Size().width / kColumns,
               cellHeight = painter.Size().height / kRows;
    const bool labelled = cellWidth > kLabelWidth && cellHeight > cellWidth + 2 * kLabelHeight;
    const LONG room = cellHeight - (labelled ? 2 * kLabelHeight : 0);
    const LONG cell = std::min(cellWidth, room);
    if (cell < 4) {
        return;
    }
    // A mirrored blit may read one column past the part that it is given: the picture goes on
    // around it.
    const LONG side = static_cast<LONG>(cell * kOriginal) & ~1;
    const ImageHandle picture = painter.MakeImage(LetterTile(static_cast<uint32_t>(side) + 2));
    const RECT part{1, 1, side + 1, side + 1};
    for (int row = 0; row < kRows; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            const Stretch& wanted = kStretches[row][column];
            const LONG left = column * cellWidth, top = row * cellHeight;
            const auto length = [&](double share) {
                return share == kOriginal ? side
                                          : std::max<LONG>(1, static_cast<LONG>(cell * share));
            };
            painter.Blit(InTheMiddle(left, top, cellWidth, room, length(wanted.width),
                                     length(wanted.height)),
                         picture, part, wanted.effects);
            if (!labelled) {
                continue;
            }
            const ImageHandle label =
                painter.MakeImage(Sign(kLabelWidth, kLabelHeight, wanted.label));
            painter.Blit(InTheMiddle(left, top + room, cellWidth, 2 * kLabelHeight, kLabelWidth,
                                     kLabelHeight),
                         label, {0, 0, kLabelWidth, kLabelHeight});
        }
    }
}

} // namespace korv
