#pragma once
// Video port and overlay entries, the port's watchdog, and the blit that shows what it takes in.
#include "driver/core/driverdata.h"
#include "driver/heap/surface.h"

// Entries that the kernel callbacks table names. Both answer not handled until the video port
// exists.
DWORD KORV_STDCALL SyncSurfaceData32(DDHAL_SYNCSURFACEDATA* data);
DWORD KORV_STDCALL SyncVideoPortData32(DDHAL_SYNCVIDEOPORTDATA* data);

// Says whether the port still receives, and shuts it down when it has not for long. It takes no
// time of its own: each call compares line and buffer with the last sample. A nonzero `sampleNow`
// takes a new sample. Nonzero: the port runs.
uint32_t CheckVideoPortStatus(DriverData* driver, uint32_t sampleNow);

// A stretching copy of YUV data, in the form that CHIPRenderTable tells.
void YUVtoRGB(DriverData* driver, DDBLTFX* bltFX, PrivateSurfaceData* destPriv,
              PrivateSurfaceData* srcPriv, RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
              uint32_t srcOffset);
