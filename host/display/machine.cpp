#include "host/display/machine.h"

#include "driver/core/driverdata.h"
#include "driver/core/korv32.h"
#include "driver/core/korv32_flip.h"
#include "driver/d3d/dcontext.h"
#include "host/vdd/minivdd.h"
#include "host/win32/win32.h"

#include <algorithm>
#include <stdexcept>

namespace host {

namespace {

HINSTANCE ModuleInstance() {
    return reinterpret_cast<HINSTANCE>(0xB0000000u);
}

// The module's shared data section as it is when the module has just been loaded.
void ReloadModule() {
    DXGlobals = {};
    pDriverData = nullptr;
    D3DInitialised = 0;
    bHALInitialisedOnce = 0;
    flipRecord = {};
    bBlankReturn = 0;
    std::fill(std::begin(ContextSlots), std::end(ContextSlots), nullptr);
    lpD3DContextList = nullptr;
    DllMain(ModuleInstance(), DLL_PROCESS_ATTACH, nullptr);
}

} // namespace

void PowerCycle() {
    if (TheMiniVdd().Displays() != 0) {
        throw std::logic_error("a display is still running");
    }
    ResetWin32();
    TheMiniVdd().Reset();
    ReloadModule();
}

} // namespace host
