#pragma once
// Copies and fills on the Glint family: of the frame buffer, and of the local buffer (LB), which
// holds textures and Z buffers. Their forms are told with CHIPRenderTable.
#include "driver/core/driverdata.h"
#include "driver/core/records/private_surface.h"

#include <cstdint>

// Of a 32-bit word of 8-bit pixels, those from a pixel up, and those below it. Pixel 0 stands for a
// word that needs no mask.
inline constexpr uint32_t sMasks[4] = {0, 0xFFFFFF00, 0xFFFF0000, 0xFF000000};
inline constexpr uint32_t eMasks[4] = {0, 0x000000FF, 0x0000FFFF, 0x00FFFFFF};

// Fills a rectangle of the frame buffer.
void FastGlintClear(DriverData* driver, RECTL* destRect, uint32_t destOffset, uint32_t fill);
// Fills a rectangle of the local buffer: whole 32-bit words by the chip, and before it the pixels
// of narrower surfaces at the edges by the processor, which does not wait for the chip. 8-bit
// pixels that lie in the words of both edges at once are filled with their whole word.
void FastLBGlintClear(DriverData* driver, DDRAWI_DDRAWSURFACE_LCL* surface, RECTL* destRect,
                      uint32_t offset, uint32_t fill);
// Copies within the frame buffer, top to bottom and left to right whatever overlaps. `logicOp` is
// not looked at.
void PackedTXCopyBlt(DriverData* driver, RECTL* destRect, RECTL* srcRect, int32_t stride,
                     uint32_t destOffset, int32_t srcRelative, uint32_t logicOp);
// Copies within the local buffer, by 32-bit words and direct register writes. `logicOp` is not
// looked at.
void vGlintLBCopyBltNative(DriverData* driver, int32_t destStride, int32_t srcStride,
                           PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                           RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                           int32_t srcRelative, uint32_t logicOp);
