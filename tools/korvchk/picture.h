#pragma once
// The test picture: a fill by DirectDraw and a triangle by Direct3D's execute buffers, read back.
#include "tools/korvchk/directx.h"

namespace chk {

// Draws it in a window, then full screen with a flip, and tells what was read back. The display is
// left as it was.
void DrawPictures(Report& report, IDirectDraw* directDraw, const HardwareDevice& device);

} // namespace chk
