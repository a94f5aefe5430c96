#include "driver/services/driver_lock.h"

#include "driver/core/driverdata.h"
#include "driver/core/k32exp.h"
#include "driver/services/OpenGL.h"

namespace {

constexpr int32_t kFailed = -1;
constexpr int32_t kClientMemoryLost = 6;

using GetLockFunction = void(KORV_STDCALL*)(uint32_t* lock);
using LockFunction = void(KORV_STDCALL*)(uint32_t lock);

template <class Function>
Function SystemEntry(uint32_t ordinal) {
    return reinterpret_cast<Function>(GetK32ProcAddress(ordinal));
}

bool BeginDCIAccess(DCISURFACEINFO* surface, const RECT* rect) {
    const DCIRVAL result = rect != nullptr
                               ? DCIBeginAccess(surface, rect->left, rect->top,
                                                rect->right - rect->left, rect->bottom - rect->top)
                               : DCIBeginAccess(surface, 0, 0, static_cast<int>(surface->dwWidth),
                                                static_cast<int>(surface->dwHeight));
    return result >= 0;
}

} // namespace

bool EnterWin16Lock(DriverData* driver) {
    const auto getLock = SystemEntry<GetLockFunction>(kOrdinalGetpWin16Lock);
    const auto enter = SystemEntry<LockFunction>(kOrdinalEnterWin16Lock);
    driver->Win16Lock = 0;
    if (getLock != nullptr) {
        getLock(&driver->Win16Lock);
    }
    if (driver->Win16Lock == 0) {
        return false;
    }
    if (enter != nullptr) {
        enter(driver->Win16Lock);
    }
    return true;
}

void LeaveWin16Lock(DriverData* driver) {
    const auto leave = SystemEntry<LockFunction>(kOrdinalLeaveWin16Lock);
    if (leave != nullptr) {
        leave(driver->Win16Lock);
    }
}

int32_t KORV_STDCALL KORV_GetDriverLock(DriverData* driver, DCISURFACEINFO* surface,
                                        uint32_t useDCI, const RECT* rect) {
    driver = ServiceDriver(driver);
    if (driver->Heap.ClientMemoryLost != 0) {
        return kClientMemoryLost;
    }
    if (useDCI != 0 && driver->ChipInfo->NoDCI == 0) {
        if (surface == nullptr) {
            return kFailed;
        }
        // Over a lock that is held already only the kind changes: a Win16 lock is then never left.
        if (driver->DriverLockKind == LockNone && !BeginDCIAccess(surface, rect)) {
            return kFailed;
        }
        driver->DriverLockKind = LockDCI;
    } else {
        if (!EnterWin16Lock(driver)) {
            return kFailed;
        }
        driver->DriverLockKind = LockWin16;
    }
    // Until the lock is freed, in another call.
    SetFlag(driver->ChipInfo, CursorExclude);
    return 0;
}

int32_t KORV_STDCALL KORV_FreeDriverLock(DriverData* driver, DCISURFACEINFO* surface) {
    driver = ServiceDriver(driver);
    if (driver->DriverLockKind == LockDCI) {
        DCIEndAccess(surface);
    } else if (driver->DriverLockKind == LockWin16) {
        LeaveWin16Lock(driver);
    }
    driver->DriverLockKind = LockNone;
    ClearFlag(driver->ChipInfo, CursorExclude);
    return 0;
}

int32_t KORV_STDCALL KORV_DriverIsLocked(DriverData* driver) {
    return ServiceDriver(driver)->DriverLockKind != LockNone ? 1 : 0;
}
