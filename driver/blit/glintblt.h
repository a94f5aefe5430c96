#pragma once
// Blit requests on the Glint family.
#include "driver/core/driverdata.h"

// DirectDraw's Blt callback on the Glint family. Answers not handled until its primitives exist.
DWORD KORV_STDCALL GlintBlt32(DDHAL_BLTDATA* data);
