#pragma once
// The configuration store: one registry key per display, decimal numbers as text. A missing key or
// value is never an error.
#include "driver/platform/win32.h"

#include <cstdint>

struct DriverData;

// One key for all displays and processes, never closed.
extern HKEY registryKey;

// Opens the key named by ChipInfo.RegistryName; on failure the handle stays as it was.
void vGlintInitializeRegistryKey(DriverData* driver);
// Reads a value as a number. 1 if found; on 0 the out word is 0.
uint32_t bGlintQueryRegistryValueUlong(const char* name, uint32_t* value);
// Raw read of `size` bytes at most. 1 if found; on 0 the first byte of the buffer is 0.
uint32_t bGlintQueryRegistryValueString(const char* name, char* buffer, uint32_t size);
// Stores a number as decimal text of four bytes. 1 if written.
int32_t bGlintSetRegistryValueString(const char* name, uint32_t value);
// Fills DXGlobals and DriverData.RectAlloc.
void SetupGlobalData(DriverData* driver);

// True when the value is found and exactly 1.
inline bool RegistrySwitchIsOne(const char* name) {
    uint32_t value;
    return bGlintQueryRegistryValueUlong(name, &value) != 0 && value == 1;
}
