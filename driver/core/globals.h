#pragma once
// The driver's globals together, for hosts and tests that load the linked driver more than once in
// one process. KORV32.dll has no part of this: there the system makes them anew.
#include <cstdint>
#include <span>

struct DriverGlobal {
    const char* Name; // as linkers know it, qualified
    void* Address;
    uint32_t Bytes;
    const void* Initial; // null for all zeros
};

// Every global that starting or running the driver writes, but for the trace's handles.
std::span<const DriverGlobal> DriverGlobals();

// Gives all of them the values with which the driver is loaded, and ends an open trace. The first
// call, before any display has been brought up, takes note of those that are not zero.
void ResetDriverGlobals();
