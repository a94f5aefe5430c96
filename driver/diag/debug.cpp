#include "driver/diag/debug.h"

void DebugPrint(uint32_t, const char*, ...) {}

void DumpSurface(uint32_t, const DDRAWI_DDRAWSURFACE_LCL*) {}

void DecodeBlend(uint32_t, uint32_t, uint32_t) {}

void CheckFIFOEntries(DriverData*, uint32_t) {}
