#pragma once
// Copies and fills on the Permedia family. Their forms are told with CHIPRenderTable.
//
// A copy is clipped against the top and left edges of its source, and dropped when the source lies
// wholly above or left of the surface; the rectangles given stay as they came. Logic ops are not
// looked at. A fill of a surface that the driver does not know or whose pitch is not settled does
// nothing.
#include "driver/core/driverdata.h"
#include "driver/core/records/private_surface.h"

#include <cstdint>

// Copies whole 32-bit words of 8-, 16- or 32-bit pixels.
void PackedPermediaCopyBlt(DriverData* driver, int32_t destStride, int32_t srcStride,
                           PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                           RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                           int32_t srcRelative, uint32_t logicOp);
// The same in a 24-bit mode.
void Packed24BitPermediaCopyBlt(DriverData* driver, int32_t destStride, int32_t srcStride,
                                PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                                RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                                int32_t srcRelative, uint32_t logicOp);
// Copies from patched to unpatched memory or the other way, pixel by pixel.
void PatchedPermediaCopyBlt(DriverData* driver, int32_t destStride, int32_t srcStride,
                            PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                            RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                            int32_t srcRelative, uint32_t logicOp);
// Copies within the screen by direct register writes, always forward.
void vPermediaCopyBlt(DriverData* driver, RECTL* destRect, RECTL* srcRect, int32_t stride,
                      uint32_t destOffset, int32_t srcRelative, uint32_t logicOp);
// Fills with a colour.
void FastPermediaClear(DriverData* driver, DDRAWI_DDRAWSURFACE_GBL* surface, RECTL* destRect,
                       uint32_t offset, uint32_t fill);
// Fills a 16-bit Z buffer, whose offset counts its own pixels.
void FastLBPermediaClear(DriverData* driver, DDRAWI_DDRAWSURFACE_GBL* surface, RECTL* destRect,
                         uint32_t offset, uint32_t fill);

// Direct3D's clear of a context's target, depth buffer or both, in the rectangles given. Always
// reports 0, also when nothing could be cleared.
// Kept as an outside name: nothing here calls it.
DWORD KORV_STDCALL Clear32(D3DHAL_CLEARDATA* data);
