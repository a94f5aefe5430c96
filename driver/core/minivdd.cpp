#include "driver/core/minivdd.h"

#include "driver/platform/win32.h"

int32_t DoIOCTL(uint32_t code, void* in, uint32_t inSize, void* out, uint32_t outSize,
                uint32_t* returnedBytes) {
    const HANDLE device =
        CreateFileA(kMiniVDDName, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (device == INVALID_HANDLE_VALUE) {
        return 0;
    }
    DWORD returned = 0;
    const BOOL ok = DeviceIoControl(device, code, in, inSize, out, outSize, &returned, nullptr);
    if (returnedBytes != nullptr) {
        *returnedBytes = returned;
    }
    CloseHandle(device);
    return ok;
}
