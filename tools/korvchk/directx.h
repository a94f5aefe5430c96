#pragma once
// What DirectDraw and Direct3D see of the driver.
#include "tools/korvchk/platform.h"

#include <cstdint>

namespace chk {

class Report;

// A hardware device of Direct3D, if there is one.
struct HardwareDevice {
    bool found;
    GUID id;
    D3DDEVICEDESC desc;
};

// Starts DirectDraw and tells of it. Null, with the reason told, if it does not start.
IDirectDraw* CheckDirectDraw(Report& report);
// Tells of Direct3D's devices.
HardwareDevice CheckDirect3D(Report& report, IDirectDraw* directDraw);

// An error of DirectDraw or Direct3D in words, or in digits.
const char* NameOfResult(uint32_t result);

} // namespace chk
