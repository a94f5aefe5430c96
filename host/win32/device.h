#pragma once
// Devices that are opened by name (\\.\name) and answer control requests.
#include "driver/platform/win32.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace host {

class Device {
  public:
    virtual ~Device() = default;
    // One DeviceIoControl; *returned starts at 0. False makes the call fail.
    virtual bool Control(uint32_t code, const void* in, uint32_t inBytes, void* out,
                         uint32_t outBytes, uint32_t* returned) = 0;
};

struct DeviceOpening {
    std::string name;
    DWORD access = 0, share = 0, creation = 0, attributes = 0;
};

// Makes a device known under `name`, in place of one that had it. It must outlive its registration
// and all handles.
void RegisterDevice(const std::string& name, Device* device);
void UnregisterDevice(const std::string& name);
// The device under that name, or null.
Device* RegisteredDevice(const std::string& name);
// Handles of devices that are open now.
size_t OpenDeviceHandles();
// Arguments of the last CreateFileA, whether it worked or not.
const DeviceOpening& LastDeviceOpening();

void ResetDevices();

} // namespace host
