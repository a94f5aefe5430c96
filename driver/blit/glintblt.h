#pragma once
// Blits of the screen by direct register writes, with raster operations and in columns of 32-bit
// words. They stand ready for others: no request of DirectDraw's comes here.
#include "driver/core/driverdata.h"

#include <cstdint>

// Bit 10 of FBReadMode where the chip's logic op depends on the destination.
inline constexpr uint32_t LogicopReadDest[16] = {
    0, 0x400, 0x400, 0, 0x400, 0x400, 0x400, 0x400, 0x400, 0x400, 0x400, 0x400, 0, 0x400, 0x400, 0,
};

// Fills a rectangle. `offset` is the window's start in pixels, `colour` a pixel not yet spread over
// a word.
// Kept as an outside name: nothing here calls it.
void vGlintSolidBlt(DriverData* driver, RECTL* rect, uint32_t offset, uint32_t colour);

// Copies within the screen, top to bottom, at the depth that the chip is set to; nothing is
// clipped. Arguments as told with CHIPRenderTable.
// Called by the next alone.
void vGlintCopyBltNative(DriverData* driver, RECTL* destRect, RECTL* srcRect, int32_t stride,
                         uint32_t destOffset, int32_t srcRelative, uint32_t logicOp);

// The same for 16-bit pixels: two at a time when source and destination agree in parity, else as a
// plain copy. The chip is left at a depth of 32 bits.
// Kept as an outside name: nothing here calls it.
void vGlintCopyBlt16(DriverData* driver, RECTL* destRect, RECTL* srcRect, int32_t stride,
                     uint32_t destOffset, int32_t srcRelative, uint32_t logicOp);
