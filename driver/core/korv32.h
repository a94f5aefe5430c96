#pragma once
// From being loaded by the system to a filled DDHALINFO.
#include "driver/core/driverdata.h"
#include "driver/core/korv32_mode.h" // IWYU pragma: export

// Slots that belong to the 16-bit side of the system; nothing fills or reads them here.
extern void* LoadLibrary16;
extern void* GetProcAddress16;
extern void* FreeLibrary16;
extern void* VxDCall;
extern void* GetpWin16Lock;

// The system's entry: keeps the instance. TRUE.
extern "C" BOOL KORV_STDCALL DllMain(HINSTANCE instance, DWORD reason, void* reserved);
// Exported. Gets the display's record from the mini VDD and brings the display up; `display` is
// passed through to the mini VDD. The record, or null.
extern "C" DriverData* KORV_STDCALL DriverInit(uint32_t display);
// Brings a display up. 1 if the shared heap exists.
uint32_t InitDDHAL32Bit(DriverData* driver);
// Fills `info` with what the board can do.
void GetDDHALInfo(DriverData* driver, DDHALINFO* info);
// Answers the system's requests for further callback tables.
DWORD KORV_STDCALL GetDriverInfo32(DD_GETDRIVERINFODATA* data);
