#pragma once
// The driver that the host talks to: the library linked into this program, or another one behind
// the same face (host/loader makes one of a KORV32.dll). The rest of the host calls the driver only
// through here and through the tables that the driver fills. What it calls of the linked library
// besides are three things that no module could give:
// - the seam of the registers (chipbus.h), on whose other side the host stands;
// - the visibility questions (host/d3d/visibility), which none of the driver's entries calls;
// - the driver's list of contexts, which shows a context of the linked library to those who look
//   into one. The last two are for the linked library alone and say so.
#include "driver/core/chipbus.h"
#include "driver/core/driverdata.h"
#include "host/observe/call_fields.h"
#include "host/observe/observer.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <typeinfo>

struct VideoPortEntries;

namespace host {

inline constexpr uint32_t kExportOrdinals = 20; // DriverInit is ordinal 1

// The heap of video memory as the 16-bit display driver brings it up and takes it down around each
// mode set. The driver has these routines for that side and never calls them itself, neither in
// DriverInit nor later; they work on the heap's records in DriverData and on the mini VDD's memory
// alone.
struct HeapEntries {
    uint32_t (*initialise)(DriverData* heap);
    void (*uninitialise)(DriverData* heap);
};

// Stands between the driver's accesses of one aperture and the bus, for as long as it lives.
class ApertureWatch {
  public:
    virtual ~ApertureWatch() = default;
};

class DriverModule {
  public:
    virtual ~DriverModule() = default;

    // All but `linked` and `heap` are filled in once the module is loaded.
    HINSTANCE instance = nullptr;
    BOOL(KORV_STDCALL* dllMain)(HINSTANCE instance, DWORD reason, void* reserved) = nullptr;
    DriverData*(KORV_STDCALL* driverInit)(uint32_t display) = nullptr;
    void* exports[kExportOrdinals + 1] = {}; // by ordinal, from 1; null where there is none
    // The video port entries, which no table of the driver holds: null with a DLL.
    const VideoPortEntries* videoPort = nullptr;
    // No export and no table holds these either, but they need not be the module's own: the 16-bit
    // side has its copy of them. Here it is the linked library's, whatever module is in force.
    HeapEntries heap;
    bool linked = false;     // the library in this program
    uint32_t imageBytes = 0; // of a module that this host has mapped, from `instance` on

    // Puts the module in memory as it is before its first instruction runs, its globals too. Throws
    // std::runtime_error.
    virtual void Load() = 0;
    // Called for each aperture that is given to the bus. Null for a driver that reaches the bus by
    // calls.
    virtual std::unique_ptr<ApertureWatch> WatchAperture(ChipRegisters* registers,
                                                         const ChipBus& bus) const;
    // Stand around each call into the driver. What the first one returns goes to the second.
    virtual uint16_t BeforeCall() const { return 0; }
    virtual void AfterCall(uint16_t) const {}

  protected:
    DriverModule();
};

// The name of the export with this ordinal, from 1.
const char* ExportName(uint32_t ordinal);

// The driver in force. The linked library until told otherwise.
const DriverModule& TheDriverModule();

// `module` is the driver from the next PowerCycle() on.
void UseDriver(std::shared_ptr<DriverModule> module);
// The linked library is, from then on.
void UseLinkedDriver();

// Puts the driver chosen last in force, its globals as they are when the system has just loaded it,
// and calls its DllMain. PowerCycle() does this; no display may exist.
void LoadDriver();

// Stands around every call into the driver.
class DriverCall {
  public:
    // `name` is what people are told should the call never end.
    explicit DriverCall(const char* name = "a call of the driver", const CallFields& fields = {});
    ~DriverCall();
    DriverCall(const DriverCall&) = delete;
    DriverCall& operator=(const DriverCall&) = delete;

  private:
    const uint16_t saved_;
};

// Called after every call into the driver; null for none.
void SetAfterDriverCall(std::function<void()> hook);

// The name of a record of the interface, which is a type at namespace scope.
inline const char* RecordName(const std::type_info& record) {
    const char* name = record.name();
    while (*name >= '0' && *name <= '9') { // its length comes first
        ++name;
    }
    return name;
}

// Calls one of the driver's callbacks with its record; its answer.
template <class Record>
DWORD CallDriver(DWORD(KORV_STDCALL* callback)(Record*), Record* record) {
    const DriverCall call(RecordName(typeid(Record)),
                          Observed() ? FieldsOf(*record) : CallFields{});
    return callback(record);
}

} // namespace host
