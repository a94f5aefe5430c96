#pragma once
// Downloads on Permedia: pixels from a surface in system memory to one in video memory.
//
// Patched loading goes through the pixel pipeline, which converts to the destination's texel format
// and scatters into the patched layout. Packed loading puts raw 32-bit words, several pixels each,
// into a rectangle.
#include "driver/core/records/private_surface.h"
#include "driver/platform/ddhal.h"

struct DriverData;

// All have the form of DownloadFunction (blit/primitives.h). `source` and `dest` hold pixels of one
// format. Rectangles are in pixels, right and bottom exclusive, and are not changed. Words go
// through the stream of `driver`. None can fail.

// A whole surface through the pipeline: the size is destRect's, and the load starts at the origins
// of both surfaces. Sources of 16 bits and more must be contiguous.
void PermediaPatchedTextureDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                                    DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                                    DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect);

// A rectangle in packed words. A source rectangle wholly above or left of its surface is dropped,
// one partly there is clipped.
void PermediaPackedDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                            DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                            DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect);
// The same, drawn as 32-bit pixels of two 16-bit or four 8-bit ones.
void PermediaPacked16BitDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                                 DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                                 DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect);
void PermediaPacked8BitDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                                DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                                DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect);

// The processor writes the patched layout of a 4-bit surface; the chip is not touched.
void PermediaBypass4BitPatchedTextureDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                                              DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                                              DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect);
// An earlier form of it with another layout.
// Kept as an outside name: nothing here calls it.
void TextureDownloadPatched4Bit(DriverData* driver, PrivateSurfaceData* destPrivate,
                                DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                                DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect);
