#pragma once
// The capability records that the driver hands out, as text.
#include "driver/platform/d3dhal.h"

#include <string>

namespace korv {

// "RGB555, 16 bits", "PAL8, 8 bits", "Z16": kind and channel widths of a format.
std::string FormatName(const DDPIXELFORMAT& format);

// The capability words of DirectDraw, flag by flag, several lines.
std::string DescribeCaps(const DDCORECAPS& caps);

// The Direct3D device: its description flag by flag, then its texture formats, several lines.
std::string DescribeDevice(const D3DHAL_GLOBALDRIVERDATA& device);

} // namespace korv
