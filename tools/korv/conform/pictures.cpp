#include "tools/korv/conform/pictures.h"

#include "tools/korv/conform/pixel_form.h"
#include "tools/korv/images/contact_sheet.h"
#include "tools/korv/images/difference.h"

#include <algorithm>

namespace korv::conform {

namespace {

constexpr uint32_t kEnlarged = 6, kBorder = 8; // pixels

std::vector<uint32_t> Elements(const PictureArea& area, const std::vector<uint8_t>& memory) {
    std::vector<uint32_t> elements;
    const uint32_t bytes = BytesOf(area.form);
    for (uint32_t y = 0; y < area.height; ++y) {
        for (uint32_t x = 0; x < area.width; ++x) {
            uint32_t element = 0;
            for (uint32_t i = 0; i < bytes; ++i) {
                element |= uint32_t{memory[area.offset + y * area.pitch + x * bytes + i]}
                           << (8 * i);
            }
            elements.push_back(element);
        }
    }
    return elements;
}

// Each pixel as a square, on a ground of grey.
host::Picture Enlarged(const host::Picture& picture) {
    host::Picture large;
    large.width = picture.width * kEnlarged + 2 * kBorder;
    large.height = picture.height * kEnlarged + 2 * kBorder;
    large.rgba.assign(size_t{large.width} * large.height * 4, 128);
    for (uint32_t y = 0; y < picture.height * kEnlarged; ++y) {
        for (uint32_t x = 0; x < picture.width * kEnlarged; ++x) {
            const auto pixel = picture.At(x / kEnlarged, y / kEnlarged);
            std::ranges::copy(pixel,
                              large.rgba.begin() + ((y + kBorder) * large.width + x + kBorder) * 4);
        }
    }
    return large;
}

} // namespace

host::Picture PictureOf(const PictureArea& area, const Outcome& outcome) {
    const std::vector<uint32_t> elements = Elements(area, outcome.Of(area.memory));
    const bool depth = area.form >= PixelForm::Depth16;
    const auto [low, high] = std::ranges::minmax(elements);
    host::Picture picture{area.width, area.height, {}};
    for (const uint32_t element : elements) {
        std::array<uint8_t, 4> pixel = Shown(area.form, element);
        if (depth) {
            const uint64_t range = std::max<uint64_t>(uint64_t{high} - low, 1);
            pixel.fill(static_cast<uint8_t>(uint64_t{element - low} * 255 / range));
        }
        pixel[3] = 255;
        picture.rgba.insert(picture.rgba.end(), pixel.begin(), pixel.end());
    }
    return picture;
}

host::Picture Comparison(const PictureArea& area, const Outcome& expected, const Outcome& found) {
    const host::Picture right = PictureOf(area, expected), wrong = PictureOf(area, found);
    return Strip({Enlarged(right), Enlarged(wrong), Enlarged(Compare(right, wrong).map)}, 3);
}

} // namespace korv::conform
