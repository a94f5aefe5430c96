#include "tools/korv/images/contact_sheet.h"

#include "tools/korv/images/text.h"

#include <algorithm>

#define STB_IMAGE_RESIZE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include <stb_image_resize.h>
#pragma GCC diagnostic pop

namespace korv {

namespace {

// Pixels.
constexpr uint32_t kGap = 12, kHeadingHeight = 24;
constexpr uint8_t kPaper[4] = {0x28, 0x2C, 0x34, 0xFF};

// Copies a picture, its upper left corner to (left, top).
void Paste(host::Picture& sheet, const host::Picture& picture, uint32_t left, uint32_t top) {
    for (uint32_t y = 0; y < picture.height; ++y) {
        std::copy_n(&picture.rgba[y * picture.width * 4], picture.width * 4,
                    &sheet.rgba[((top + y) * sheet.width + left) * 4]);
    }
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

void ContactSheet::Put(size_t column, size_t row, const host::Picture& picture) {
    cells_[{column, row}] = Scaled(picture, pictureWidth_, pictureHeight_);
}

uint32_t ContactSheet::CellX(size_t column) const {
    return kGap + headingWidth_ + kGap + static_cast<uint32_t>(column) * (cellWidth_ + kGap);
}

uint32_t ContactSheet::CellY(size_t row) const {
    return kGap + kHeadingHeight + static_cast<uint32_t>(row) * (cellHeight_ + kGap);
}

host::Picture ContactSheet::Draw() const {
    host::Picture sheet;
    sheet.width = CellX(columns_.size());
    sheet.height = CellY(rows_.size());
    for (uint32_t i = 0; i < sheet.width * sheet.height; ++i) {
        sheet.rgba.insert(sheet.rgba.end(), std::begin(kPaper), std::end(kPaper));
    }
    for (size_t column = 0; column < columns_.size(); ++column) {
        DrawText(sheet, CellX(column), kGap, columns_[column]);
    }
    for (size_t row = 0; row < rows_.size(); ++row) {
        DrawText(sheet, kGap, CellY(row), rows_[row]);
    }
    for (const auto& [place, cell] : cells_) {
        Paste(sheet, cell, CellX(place.first), CellY(place.second));
    }
    return sheet;
}

} // namespace korv
