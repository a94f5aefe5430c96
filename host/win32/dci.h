#pragma once
// Direct screen access (DCIMAN32): settable answers and a record of the calls.
#include "driver/platform/win32.h"

#include <cstdint>

namespace host {

struct DciCalls {
    uint32_t begins = 0, ends = 0;
    DCISURFACEINFO* surface = nullptr; // of the last call
    int x = 0, y = 0, width = 0, height = 0;
};

// What DCIBeginAccess answers from now on; negative is a failure.
void SetDciResult(DCIRVAL result);
const DciCalls& Dci();
void ResetDci();

} // namespace host
