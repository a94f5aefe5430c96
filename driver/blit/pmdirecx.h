#pragma once
// Blit requests on the Permedia family.
#include "driver/blit/primitives.h" // IWYU pragma: export
#include "driver/core/driverdata.h"

// DirectDraw's Blt callback on the Permedia family. Refuses what the chip can't do.
DWORD KORV_STDCALL PermediaBlt32(DDHAL_BLTDATA* data);
