#pragma once
// The display's lock for direct access: the system's Win16 lock, or DCI. It keeps clients and the
// 16-bit driver apart; the driver's own entries take none.
#include "driver/platform/win32.h"

#include <cstdint>

struct DriverData;

// DriverData.DriverLockKind.
enum DriverLock : uint32_t {
    LockNone = 0,
    LockWin16 = 1,
    LockDCI = 2,
};

// Takes the Win16 lock and notes it in DriverData.Win16Lock. False if the system gives none.
bool EnterWin16Lock(DriverData* driver);
// Leaves the lock that EnterWin16Lock noted.
void LeaveWin16Lock(DriverData* driver);
