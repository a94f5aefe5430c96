#pragma once
// Downloads on the Glint family, in the form of DownloadFunction (blit/primitives.h). No conversion
// takes place: the chip reads texture formats as they are.
#include "driver/core/records/private_surface.h"
#include "driver/platform/ddhal.h"

struct DriverData;

// A whole texture into the local buffer: the size is destRect's, and the load starts at the origins
// of both surfaces.
void TXPatchedTextureDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                              DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                              DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect);

// A rectangle into the frame buffer, for surfaces that aren't textures. A source rectangle wholly
// above or left of its surface is dropped, one partly there is clipped. Clears CursorExclude.
void TXPackedDownload(DriverData* driver, PrivateSurfaceData* destPrivate,
                      DDRAWI_DDRAWSURFACE_LCL* source, RECTL* sourceRect,
                      DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect);
