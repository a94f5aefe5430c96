#include "tools/korv/images/captions.h"

#include "tools/korv/images/text.h"

#include <algorithm>

namespace korv {

namespace {

constexpr uint32_t kMargin = 3; // pixels around a name

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines(1);
    for (const char c : text) {
        if (c == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += c;
        }
    }
    return lines;
}

bool Fits(const CellNames& cells, uint32_t cellWidth, uint32_t zoom) {
    return std::ranges::all_of(cells.names, [&](const std::string& name) {
        return std::ranges::all_of(Lines(name), [&](const std::string& line) {
            return TextWidth(line, zoom) + 2 * kMargin <= cellWidth;
        });
    });
}

} // namespace

host::Picture Captioned(const host::Picture& picture, const CellNames& cells) {
    const uint32_t cellWidth = picture.width / cells.columns;
    const uint32_t zoom = Fits(cells, cellWidth, kLargeText) ? kLargeText : kSmallText;
    if (cells.names.empty() || !Fits(cells, cellWidth, zoom)) {
        return picture;
    }
    size_t most = 0; // lines
    for (const std::string& name : cells.names) {
        most = std::max(most, Lines(name).size());
    }
    const auto count = static_cast<uint32_t>(cells.names.size());
    const uint32_t rows = (count + cells.columns - 1) / cells.columns;
    const uint32_t line = TextHeight(zoom);
    const uint32_t strip = static_cast<uint32_t>(most) * line + 2 * kMargin;

    host::Picture all = Paper(picture.width, picture.height + rows * strip);
    const size_t pitch = size_t{picture.width} * 4;
    for (uint32_t row = 0; row < rows; ++row) {
        const uint32_t top = picture.height * row / rows,
                       bottom = picture.height * (row + 1) / rows;
        std::copy(picture.rgba.data() + pitch * top, picture.rgba.data() + pitch * bottom,
                  all.rgba.data() + pitch * (top + (row + 1) * strip));
    }
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t row = i / cells.columns, column = i % cells.columns;
        const uint32_t x = picture.width * column / cells.columns + kMargin;
        uint32_t y = picture.height * row / rows + row * strip + kMargin;
        for (const std::string& text : Lines(cells.names[i])) {
            DrawText(all, x, y, text, zoom);
            y += line;
        }
    }
    return all;
}

} // namespace korv
