#pragma once
// Many small pictures on one sheet, with headings.
#include "host/picture.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace korv {

class ContactSheet {
  public:
    // For pictures of `width` by `height` pixels, scaled down, never up, to at most `longest`
    // pixels on their longer side.
    ContactSheet(std::vector<std::string> columns, std::vector<std::string> rows, uint32_t width,
                 uint32_t height, uint32_t longest = 240);

    // Puts a picture of the size given above into a cell. Cells without one stay empty.
    void Put(size_t column, size_t row, const host::Picture& picture) {
        PutReduced(column, row, Reduced(picture));
    }
    // The same in two steps: the picture at the size that it has on the sheet, and put there.
    host::Picture Reduced(const host::Picture& picture) const;
    void PutReduced(size_t column, size_t row, host::Picture reduced);

    // Sets a remark into a cell, broken into lines as need be: over the lower edge of its picture,
    // or in the middle of the empty place.
    void Remark(size_t column, size_t row, std::string text);

    // Where a cell's upper left corner lies on the sheet, in pixels.
    uint32_t CellX(size_t column) const;
    uint32_t CellY(size_t row) const;
    // Size of the scaled pictures. Cells may be larger, to make room for headings.
    uint32_t PictureWidth() const { return pictureWidth_; }
    uint32_t PictureHeight() const { return pictureHeight_; }

    // The sheet with its headings: columns at the top, rows at the left.
    host::Picture Draw() const;

  private:
    std::vector<std::string> columns_, rows_;
    uint32_t pictureWidth_, pictureHeight_, cellWidth_, cellHeight_, headingWidth_;
    using Place = std::pair<size_t, size_t>; // column, row
    std::map<Place, host::Picture> cells_;
    std::map<Place, std::string> remarks_;
};

// Scales to `width` by `height` pixels.
host::Picture Scaled(const host::Picture& picture, uint32_t width, uint32_t height);

// Pictures of one size side by side, `columns` in a row, from the upper left.
host::Picture Strip(const std::vector<host::Picture>& pictures, uint32_t columns);

} // namespace korv
