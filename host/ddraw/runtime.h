#pragma once
// What the files of the DirectDraw runtime share.
#include "host/ddraw/ddraw.h"
#include "host/driver_module.h"

#include <cstdint>

namespace host {

// Of the one application that there is.
inline constexpr uint32_t kProcessId = 1;
// Where AGP memory lies on the bus.
inline constexpr uint32_t kAgpBusAddress = 0x80000000;

template <class Object>
uint32_t AddressOf(Object* object) {
    return reinterpret_cast<uintptr_t>(object);
}

// Whether all of these capability bits are set.
inline bool Has(uint32_t caps, uint32_t bits) {
    return (caps & bits) == bits;
}

// Calls one of the driver's callbacks with its record.
template <class Record>
HalAnswer CallHal(DWORD(KORV_STDCALL* callback)(Record*), Record& data) {
    const bool handled = CallDriver(callback, &data) == DDHAL_DRIVER_HANDLED;
    return {handled, data.ddRVal};
}

} // namespace host
