#include "host/win32/win32.h"

#include "host/win32/clock.h"
#include "host/win32/dci.h"
#include "host/win32/device.h"
#include "host/win32/handles.h"
#include "host/win32/heap.h"
#include "host/win32/registry.h"
#include "host/win32/sync.h"
#include "host/win32/system.h"

namespace host {

void ResetWin32() {
    handles::Reset();
    TheRegistry() = {};
    heap::Reset();
    ResetDevices();
    ResetSync();
    clock::Reset();
    ResetSystem();
    ResetDci();
}

} // namespace host
