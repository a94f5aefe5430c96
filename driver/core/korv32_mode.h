#pragma once
// Mode changes: the 16-bit side notes one in DriverData.ModeChanged, and whichever entry is called
// first that depends on the mode follows it.
#include "driver/core/driverdata.h"

// Programs everything that depends on the display mode.
void ChangeDDHAL32Mode(DriverData* driver);

// Follows a mode change that nobody has followed yet.
inline void FollowModeChange(DriverData* driver) {
    if (driver->ModeChanged != 0) {
        ChangeDDHAL32Mode(driver);
    }
}
