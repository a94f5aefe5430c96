// Exports that are not written yet. Each answers as on failure and touches nothing.
#include "driver/services/services.h"

namespace {
constexpr int32_t kFailed = -1;
}

int32_t KORV_STDCALL KORV_Initialize(DriverData*) {
    return kFailed;
}

ServiceInfo* KORV_STDCALL KORV_GetInfo(DriverData*, ServiceInfo*) {
    return nullptr;
}

int32_t KORV_STDCALL KORV_GetDMABuffer(DriverData*, ServiceDMABuffer*) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_FreeDMABuffer(DriverData*, int32_t) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_StartDMA(DriverData*, uint32_t, uint32_t, uint32_t, uint32_t*, uint32_t) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_WaitForDMA(DriverData*) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_AllocateVideoMemory(DriverData*, HeapRequest*) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_FreeVideoMemory(DriverData*, uint32_t) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_CopyBlt(DriverData*, const RECTL*, uint32_t, uint32_t) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_GetDriverLock(DriverData*, DCISURFACEINFO*, uint32_t, const RECT*) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_FreeDriverLock(DriverData*, DCISURFACEINFO*) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_DriverIsLocked(DriverData*) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_StartSoftwareCursor(DriverData*) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_StopSoftwareCursor(DriverData*) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_Service(uint32_t, uint32_t*, uint32_t*) {
    return kFailed;
}

int32_t KORV_STDCALL KORV_DebugHelp(uint32_t*) {
    return kFailed;
}
