#include "host/win32/device.h"

#include "host/win32/handles.h"
#include "host/win32/names.h"

#include <map>

namespace host {

namespace {

struct Table {
    std::map<std::string, Device*> devices;
    DeviceOpening last;
};

Table& TheTable() {
    static Table table;
    return table;
}

struct OpenDevice : handles::Object {
    explicit OpenDevice(Device* d) : device(d) {}
    Device* device;
};

} // namespace

void RegisterDevice(const std::string& name, Device* device) {
    TheTable().devices[FoldCase(name)] = device;
}

void UnregisterDevice(const std::string& name) {
    TheTable().devices.erase(FoldCase(name));
}

Device* RegisteredDevice(const std::string& name) {
    const auto it = TheTable().devices.find(FoldCase(name));
    return it != TheTable().devices.end() ? it->second : nullptr;
}

size_t OpenDeviceHandles() {
    return handles::Count(
        [](const handles::Object& o) { return dynamic_cast<const OpenDevice*>(&o) != nullptr; });
}

const DeviceOpening& LastDeviceOpening() {
    return TheTable().last;
}

void ResetDevices() {
    TheTable() = {};
}

} // namespace host

using namespace host;

extern "C" HANDLE KORV_STDCALL CreateFileA(const char* name, DWORD access, DWORD share, void*,
                                           DWORD creation, DWORD attributes, HANDLE) {
    TheTable().last = {name, access, share, creation, attributes};
    Device* device = RegisteredDevice(name);
    if (device == nullptr || creation != OPEN_EXISTING) {
        return INVALID_HANDLE_VALUE;
    }
    return handles::Open(std::make_shared<OpenDevice>(device));
}

extern "C" BOOL KORV_STDCALL DeviceIoControl(HANDLE handle, DWORD code, void* in, DWORD inBytes,
                                             void* out, DWORD outBytes, DWORD* returned, void*) {
    const auto open = handles::FindAs<OpenDevice>(handle);
    if (open == nullptr) {
        return 0;
    }
    DWORD written = 0;
    const bool done = open->device->Control(code, in, inBytes, out, outBytes, &written);
    if (returned != nullptr) {
        *returned = written;
    }
    return done ? 1 : 0;
}
