#pragma once
// Blit requests on the Permedia family, and the table of primitives that serves both families.
#include "driver/core/driverdata.h"

// The primitives for one mode. Slots without a primitive yet are null.
struct CHIPRenderTable {
    uint32_t ModeKey; // the mode for which the table was filled
    void* Slots[19];
};

extern CHIPRenderTable CHIPRender;

// Fills CHIPRender for the driver's mode; nothing without a driver or its chip.
void SetupFnTable(DriverData* driver);

// DirectDraw's Blt callback on the Permedia family. Answers not handled until its primitives exist.
DWORD KORV_STDCALL PermediaBlt32(DDHAL_BLTDATA* data);
