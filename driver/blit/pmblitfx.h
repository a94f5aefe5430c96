#pragma once
// Stretches, keyed copies and copies by the processor on the Permedia family. The forms of the
// first three are told with CHIPRenderTable.
#include "driver/core/driverdata.h"
#include "driver/core/records/private_surface.h"

#include <cstdint>

// A stretch or mirrored copy.
void PermediaStretchCopyBlt(DriverData* driver, DDHAL_BLTDATA* bltData,
                            PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                            RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                            uint32_t srcOffset);
// An equal-size copy with a source colour key.
void PermediaSourceChromaBlt(DriverData* driver, DDHAL_BLTDATA* bltData,
                             PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                             RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                             uint32_t srcOffset);
// A stretch or mirrored copy with a source colour key.
void PermediaStretchCopyChromaBlt(DriverData* driver, DDHAL_BLTDATA* bltData,
                                  PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                                  RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                                  uint32_t srcOffset);
// Copies by the processor, for a destination in AGP memory.
void SysMemToSysMemSurfaceCopy(DDRAWI_DDRAWSURFACE_LCL* source, DDRAWI_DDRAWSURFACE_LCL* dest,
                               const RECTL* srcRect, const RECTL* destRect);
