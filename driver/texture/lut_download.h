#pragma once
// Loading of 256-entry palettes. A palette lies in texture memory directly behind its image;
// surface creation left room for it.
#include "driver/core/driverdata.h"
#include "driver/core/records/private_surface.h"

// Load the palette of `surface` and set LUTAddress of `record`, its private record. Words go
// through the context's stream, which must have been stored back. A surface without a palette gets
// its address all the same.

// Permedia 2. In AGP memory the processor writes the palette.
void P2LUTDownload(DriverData* driver, PrivateSurfaceData* record, D3DContext* ctx,
                   DDRAWI_DDRAWSURFACE_LCL* surface);
// MX. Leaves LBReadMode and LBWindowBase as the context had them.
void MXLUTDownload(DriverData* driver, PrivateSurfaceData* record, D3DContext* ctx,
                   DDRAWI_DDRAWSURFACE_LCL* surface);
