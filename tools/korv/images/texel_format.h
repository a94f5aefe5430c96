#pragma once
// Texture formats by short names: "rgb565", "argb4444", "pal8".
#include "driver/platform/ddraw.h"

#include <string>

namespace korv {

// Kind and channel widths, as in "rgb555" or "pal4". The format is one of RGB or indexed pixels.
std::string TexelFormatName(const DDPIXELFORMAT& format);

bool HasPalette(const DDPIXELFORMAT& format);

} // namespace korv
