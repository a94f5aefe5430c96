#pragma once
// The driver that the host talks to: the library linked into this program, or a KORV32.dll mapped
// into it. The rest of the host calls the driver only through here and through the tables that the
// driver fills.
#include "driver/core/driverdata.h"

#include <cstdint>
#include <functional>
#include <string>

struct VideoPortEntries;

namespace host {

inline constexpr uint32_t kExportOrdinals = 20; // DriverInit is ordinal 1

struct DriverModule {
    BOOL(KORV_STDCALL* dllMain)(HINSTANCE instance, DWORD reason, void* reserved);
    DriverData*(KORV_STDCALL* driverInit)(uint32_t display);
    void* exports[kExportOrdinals + 1]; // by ordinal, from 1; null where there is none
    // The video port entries, which no table of the driver holds: null with a DLL.
    const VideoPortEntries* videoPort;
    bool linked; // the library in this program
};

// The driver in force. The linked library until told otherwise.
const DriverModule& TheDriverModule();

// Maps the DLL at `path`; it is the driver from the next PowerCycle() on. Throws std::runtime_error
// with one line that names the file and what is wrong with it; the choice is then unchanged.
void UseDriverDll(const std::string& path);
// The linked library is the driver from the next PowerCycle() on.
void UseLinkedDriver();

// Puts the driver chosen last in force, its globals as they are when the system has just loaded it,
// and calls its DllMain. PowerCycle() does this; no display may exist.
void LoadDriver();

// Stands around every call into the driver. A DLL then runs with the x87 control word that the
// Direct3D runtime sets: 24-bit precision, round to nearest, all exceptions masked. The linked
// library does not use the x87 unit, and nothing is changed for it.
class DriverCall {
  public:
    DriverCall();
    ~DriverCall();
    DriverCall(const DriverCall&) = delete;
    DriverCall& operator=(const DriverCall&) = delete;

  private:
    uint16_t saved_ = 0;
};

// Called after every call into the driver; null for none.
void SetAfterDriverCall(std::function<void()> hook);

// Calls one of the driver's callbacks with its record; its answer.
template <class Record>
DWORD CallDriver(DWORD(KORV_STDCALL* callback)(Record*), Record* record) {
    const DriverCall call;
    return callback(record);
}

} // namespace host
