#pragma once
// What the files of the video port share.
#include "driver/core/chipbus.h"
#include "driver/core/driverdata.h"

// The display of a video port entry: that of the port, or of the DirectDraw object that asks.
template <class Record>
DriverData* VideoDriverOf(const Record* data) {
    const DDRAWI_DIRECTDRAW_LCL* local = nullptr;
    if constexpr (requires { data->lpVideoPort; }) {
        if (data->lpVideoPort != nullptr) {
            local = data->lpVideoPort->lpDD;
        }
    }
    if (local == nullptr) {
        local = data->lpDD;
    }
    return local != nullptr && local->lpGbl != nullptr ? DriverOf(local->lpGbl) : pDriverData;
}

// Makes the port stop receiving. The caller has waited for space of 2.
inline void StopReceiving(DriverData* driver) {
    WriteChip(driver->Registers, reg::VSStreamControl, 0);
    WriteChip(driver->Registers, reg::VSControl, 0);
}
