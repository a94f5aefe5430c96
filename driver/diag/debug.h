#pragma once
// Hooks for a debugging build of one's own: they take their arguments and do nothing.
#include <cstdint>

struct DDRAWI_DDRAWSURFACE_LCL;
struct DriverData;

// Kept as outside names: nothing here calls them.

void DebugPrint(uint32_t level, const char* format, ...);
void DumpSurface(uint32_t level, const DDRAWI_DDRAWSURFACE_LCL* surface);
// Both factors of a blend, as Direct3D knows them.
void DecodeBlend(uint32_t level, uint32_t source, uint32_t dest);
void CheckFIFOEntries(DriverData* driver, uint32_t entries);
