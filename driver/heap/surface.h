#pragma once
// Surface creation: what a surface looks like to the chip and how its memory is obtained. The
// record itself is in core/records, formats and pitches in surface_format.h and surface_pitch.h.
#include "driver/core/records/private_surface.h" // IWYU pragma: export
#include "driver/heap/surface_format.h"          // IWYU pragma: export
#include "driver/heap/surface_pitch.h"           // IWYU pragma: export
#include "driver/platform/ddhal.h"

// DirectDraw callbacks. Each returns DDHAL_DRIVER_HANDLED or DDHAL_DRIVER_NOTHANDLED.
DWORD KORV_STDCALL CanCreateSurface32(DDHAL_CANCREATESURFACEDATA* data);
DWORD KORV_STDCALL GlintCreateSurface32(DDHAL_CREATESURFACEDATA* data);
DWORD KORV_STDCALL PermediaCreateSurface32(DDHAL_CREATESURFACEDATA* data);
DWORD KORV_STDCALL DestroySurface32(DDHAL_DESTROYSURFACEDATA* data);
// Kept as an outside name: nothing here calls it.
DWORD KORV_STDCALL SetColorKey32(DDHAL_SETCOLORKEYDATA* data);
DWORD KORV_STDCALL UpdateNonLocalHeap32(DDHAL_UPDATENONLOCALHEAPDATA* data);
DWORD KORV_STDCALL GetHeapAlignment32(DDHAL_GETHEAPALIGNMENTDATA* data);
DWORD KORV_STDCALL GetAvailDriverMemory32(DDHAL_GETAVAILDRIVERMEMORYDATA* data);
