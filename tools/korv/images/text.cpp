#include "tools/korv/images/text.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb_easy_font.h>
#pragma GCC diagnostic pop

namespace korv {

namespace {

// The font knows the printable characters of ASCII only.
std::string Printable(std::string_view text) {
    std::string line(text);
    for (char& c : line) {
        if (c < ' ' || c > '~') {
            c = '?';
        }
    }
    return line;
}

// The font's output: four of these to a rectangle.
struct FontVertex {
    float x, y, z;
    unsigned char colour[4];
};
constexpr size_t kBytesPerCharacter = 512;

constexpr uint8_t kPaper[4] = {0x28, 0x2C, 0x34, 0xFF};

} // namespace

host::Picture Paper(uint32_t width, uint32_t height) {
    host::Picture paper{width, height, {}};
    paper.rgba.reserve(size_t{width} * height * 4);
    for (uint32_t i = 0; i < width * height; ++i) {
        paper.rgba.insert(paper.rgba.end(), std::begin(kPaper), std::end(kPaper));
    }
    return paper;
}

uint32_t TextWidth(std::string_view text, uint32_t zoom) {
    std::string line = Printable(text);
    return static_cast<uint32_t>(stb_easy_font_width(line.data())) * zoom;
}

void DrawText(host::Picture& picture, uint32_t x, uint32_t y, std::string_view text,
              uint32_t zoom) {
    std::string line = Printable(text);
    std::vector<FontVertex> vertices(line.size() * kBytesPerCharacter / sizeof(FontVertex));
    const int quads = stb_easy_font_print(0, 0, line.data(), nullptr, vertices.data(),
                                          static_cast<int>(vertices.size() * sizeof(FontVertex)));
    for (int quad = 0; quad < quads; ++quad) {
        const FontVertex& low = vertices[quad * 4];
        const FontVertex& high = vertices[quad * 4 + 2];
        const auto pixel = [zoom](uint32_t origin, float at) {
            return origin + static_cast<uint32_t>(at) * zoom;
        };
        for (uint32_t row = pixel(y, low.y); row < std::min(pixel(y, high.y), picture.height);
             ++row) {
            for (uint32_t column = pixel(x, low.x);
                 column < std::min(pixel(x, high.x), picture.width); ++column) {
                std::fill_n(&picture.rgba[(row * picture.width + column) * 4], 4, uint8_t{0xFF});
            }
        }
    }
}

} // namespace korv
