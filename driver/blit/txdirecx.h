#pragma once
// Blit requests on the Glint family.
#include "driver/core/driverdata.h"

// DirectDraw's Blt callback on the Glint family. Refuses what the chip can't do.
DWORD KORV_STDCALL GlintBlt32(DDHAL_BLTDATA* data);
