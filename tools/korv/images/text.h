#pragma once
// Lines of text in pictures.
#include "host/picture.h"

#include <cstdint>
#include <string_view>

namespace korv {

// Width in pixels of `text` as DrawText sets it.
uint32_t TextWidth(std::string_view text);

// Sets one line of ASCII text in white with its upper left corner at (x, y); what lies outside the
// picture is left out.
void DrawText(host::Picture& picture, uint32_t x, uint32_t y, std::string_view text);

} // namespace korv
