#pragma once
// Lines of text in pictures, and the paper that they are set on.
#include "host/picture.h"

#include <cstdint>
#include <string_view>

namespace korv {

// Screen pixels to a pixel of the font.
constexpr uint32_t kSmallText = 1, kLargeText = 2;

// Width in pixels of `text` as DrawText sets it.
uint32_t TextWidth(std::string_view text, uint32_t zoom = kLargeText);

// Height in pixels of a line, with what reaches below it.
constexpr uint32_t TextHeight(uint32_t zoom) {
    return 10 * zoom;
}

// Sets one line of ASCII text in white with its upper left corner at (x, y); what lies outside the
// picture is left out.
void DrawText(host::Picture& picture, uint32_t x, uint32_t y, std::string_view text,
              uint32_t zoom = kLargeText);

// A picture of nothing but paper.
host::Picture Paper(uint32_t width, uint32_t height);

} // namespace korv
