#include "tools/korv/images/contact_sheet.h"

#include "tools/korv/images/text.h"

#include <algorithm>
#include <sstream>

#define STB_IMAGE_RESIZE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include <stb_image_resize.h>
#pragma GCC diagnostic pop

namespace korv {

namespace {

// Pixels.
constexpr uint32_t kGap = 12, kHeadingHeight = 24, kRemarkMargin = 3;

// Copies a picture, its upper left corner to (left, top).
void Paste(host::Picture& sheet, const host::Picture& picture, uint32_t left, uint32_t top) {
    for (uint32_t y = 0; y < picture.height; ++y) {
        std::copy_n(&picture.rgba[y * picture.width * 4], picture.width * 4,
                    &sheet.rgba[((top + y) * sheet.width + left) * 4]);
    }
}

// Words in lines of at most `width` pixels, where that is possible.
std::vector<std::string> Wrapped(const std::string& text, uint32_t width, uint32_t zoom) {
    std::istringstream words(text);
    std::vector<std::string> lines;
    for (std::string word; words >> word;) {
        if (lines.empty() || TextWidth(lines.back() + " " + word, zoom) > width) {
            lines.push_back(word);
        } else {
            lines.back() += " " + word;
        }
    }
    return lines;
}

// Sets the remark at the lower edge of `cell` or in its middle.
void SetRemark(host::Picture& cell, const std::string& text, bool inTheMiddle) {
    // The longest word decides about the size.
    const uint32_t room = cell.width - std::min(cell.width, 2 * kRemarkMargin);
    const auto fits = [&](uint32_t zoom) {
        const auto lines = Wrapped(text, room, zoom);
        return lines.size() * TextHeight(zoom) + 2 * kRemarkMargin <= cell.height &&
               std::ranges::all_of(
                   lines, [&](const std::string& line) { return TextWidth(line, zoom) <= room; });
    };
    const uint32_t zoom = fits(kLargeText) ? kLargeText : kSmallText;
    const auto lines = Wrapped(text, room, zoom);
    uint32_t widest = 0;
    for (const std::string& line : lines) {
        widest = std::max(widest, TextWidth(line, zoom));
    }
    // What is still too large is cut off at the cell's edges.
    const uint32_t width = std::min(widest + 2 * kRemarkMargin, cell.width);
    const uint32_t height = std::min(
        static_cast<uint32_t>(lines.size()) * TextHeight(zoom) + 2 * kRemarkMargin, cell.height);
    host::Picture plate = Paper(width, height);
    for (size_t i = 0; i < lines.size(); ++i) {
        DrawText(plate, kRemarkMargin, kRemarkMargin + static_cast<uint32_t>(i) * TextHeight(zoom),
                 lines[i], zoom);
    }
    const uint32_t left = (cell.width - width) / 2, below = cell.height - height;
    Paste(cell, plate, inTheMiddle ? left : 0, inTheMiddle ? below / 2 : below);
}

} // namespace

host::Picture Scaled(const host::Picture& picture, uint32_t width, uint32_t height) {
    host::Picture scaled{width, height, std::vector<uint8_t>(width * height * 4)};
    stbir_resize_uint8_srgb(picture.rgba.data(), static_cast<int>(picture.width),
                            static_cast<int>(picture.height), 0, scaled.rgba.data(),
                            static_cast<int>(width), static_cast<int>(height), 0, 4,
                            STBIR_ALPHA_CHANNEL_NONE, 0);
    return scaled;
}

host::Picture Strip(const std::vector<host::Picture>& pictures, uint32_t columns) {
    const uint32_t width = pictures.front().width, height = pictures.front().height;
    const auto rows = (static_cast<uint32_t>(pictures.size()) + columns - 1) / columns;
    host::Picture strip{width * columns, height * rows, {}};
    strip.rgba.resize(size_t{strip.width} * strip.height * 4);
    for (uint32_t i = 0; i < pictures.size(); ++i) {
        Paste(strip, pictures[i], i % columns * width, i / columns * height);
    }
    return strip;
}

ContactSheet::ContactSheet(std::vector<std::string> columns, std::vector<std::string> rows,
                           uint32_t width, uint32_t height, uint32_t longest)
    : columns_(std::move(columns)), rows_(std::move(rows)) {
    const uint32_t longer = std::max(width, height), reduced = std::min(longer, longest);
    pictureWidth_ = std::max(1u, width * reduced / longer);
    pictureHeight_ = std::max(1u, height * reduced / longer);
    cellWidth_ = pictureWidth_;
    cellHeight_ = std::max(pictureHeight_, kHeadingHeight);
    for (const std::string& column : columns_) {
        cellWidth_ = std::max(cellWidth_, TextWidth(column));
    }
    headingWidth_ = 0;
    for (const std::string& row : rows_) {
        headingWidth_ = std::max(headingWidth_, TextWidth(row));
    }
}

host::Picture ContactSheet::Reduced(const host::Picture& picture) const {
    return Scaled(picture, pictureWidth_, pictureHeight_);
}

void ContactSheet::PutReduced(size_t column, size_t row, host::Picture reduced) {
    cells_[{column, row}] = std::move(reduced);
}

void ContactSheet::Remark(size_t column, size_t row, std::string text) {
    remarks_[{column, row}] = std::move(text);
}

uint32_t ContactSheet::CellX(size_t column) const {
    return kGap + headingWidth_ + kGap + static_cast<uint32_t>(column) * (cellWidth_ + kGap);
}

uint32_t ContactSheet::CellY(size_t row) const {
    return kGap + kHeadingHeight + static_cast<uint32_t>(row) * (cellHeight_ + kGap);
}

host::Picture ContactSheet::Draw() const {
    host::Picture sheet = Paper(CellX(columns_.size()), CellY(rows_.size()));
    for (size_t column = 0; column < columns_.size(); ++column) {
        DrawText(sheet, CellX(column), kGap, columns_[column]);
    }
    for (size_t row = 0; row < rows_.size(); ++row) {
        DrawText(sheet, kGap, CellY(row), rows_[row]);
    }
    for (const auto& [place, cell] : cells_) {
        Paste(sheet, cell, CellX(place.first), CellY(place.second));
    }
    for (const auto& [place, text] : remarks_) {
        const auto picture = cells_.find(place);
        const bool empty = picture == cells_.end();
        host::Picture cell = empty ? Paper(cellWidth_, cellHeight_) : picture->second;
        SetRemark(cell, text, empty);
        Paste(sheet, cell, CellX(place.first), CellY(place.second));
    }
    return sheet;
}

} // namespace korv
