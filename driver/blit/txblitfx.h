#pragma once
// Stretches and keyed copies on MX, through its texture unit and chroma test. Their forms are told
// with CHIPRenderTable.
#include "driver/core/driverdata.h"
#include "driver/core/records/private_surface.h"

#include <cstdint>

// A stretch or mirrored copy.
void MXStretchCopyBlt(DriverData* driver, DDHAL_BLTDATA* bltData, PrivateSurfaceData* destPriv,
                      PrivateSurfaceData* srcPriv, RECTL* destRect, RECTL* srcRect,
                      uint32_t destOffset, uint32_t srcOffset);
// An equal-size copy with a source colour key.
void MXSourceChromaBlt(DriverData* driver, DDHAL_BLTDATA* bltData, int32_t stride,
                       PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv, RECTL* destRect,
                       RECTL* srcRect, uint32_t destOffset, int32_t srcRelative);
// A stretch or mirrored copy with a source colour key.
void MXStretchCopyChromaBlt(DriverData* driver, DDHAL_BLTDATA* bltData, int32_t stride,
                            PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                            RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                            int32_t srcRelative);
