#pragma once
// The driver's exported functions by name, of whichever driver module is in force.
#include "driver/core/korv32.h"
#include "driver/services/OpenGL.h"
#include "driver/services/context.h"
#include "driver/services/services.h"

namespace host {

// In the order of their ordinals, from 1.
struct Exports {
    decltype(&::DriverInit) DriverInit;
    decltype(&::KORV_AllocateVideoMemory) KORV_AllocateVideoMemory;
    decltype(&::KORV_CopyBlt) KORV_CopyBlt;
    decltype(&::KORV_CreateContext) KORV_CreateContext;
    decltype(&::KORV_DebugHelp) KORV_DebugHelp;
    decltype(&::KORV_DeleteContext) KORV_DeleteContext;
    decltype(&::KORV_DriverIsLocked) KORV_DriverIsLocked;
    decltype(&::KORV_FreeDMABuffer) KORV_FreeDMABuffer;
    decltype(&::KORV_FreeDriverLock) KORV_FreeDriverLock;
    decltype(&::KORV_FreeVideoMemory) KORV_FreeVideoMemory;
    decltype(&::KORV_GetDMABuffer) KORV_GetDMABuffer;
    decltype(&::KORV_GetDriverLock) KORV_GetDriverLock;
    decltype(&::KORV_GetInfo) KORV_GetInfo;
    decltype(&::KORV_Initialize) KORV_Initialize;
    decltype(&::KORV_Service) KORV_Service;
    decltype(&::KORV_StartDMA) KORV_StartDMA;
    decltype(&::KORV_StartSoftwareCursor) KORV_StartSoftwareCursor;
    decltype(&::KORV_StopSoftwareCursor) KORV_StopSoftwareCursor;
    decltype(&::KORV_SwitchContext) KORV_SwitchContext;
    decltype(&::KORV_WaitForDMA) KORV_WaitForDMA;
};

// Those of the driver in force, until the next PowerCycle(). A host::DriverCall stands around each
// call. Throws std::runtime_error for a module that lacks one.
Exports ExportsInForce();

} // namespace host
