#pragma once
// Video port and overlay entries that the kernel callbacks table names.
#include "driver/core/driverdata.h"

// Both answer not handled until the video port exists.
DWORD KORV_STDCALL SyncSurfaceData32(DDHAL_SYNCSURFACEDATA* data);
DWORD KORV_STDCALL SyncVideoPortData32(DDHAL_SYNCVIDEOPORTDATA* data);
