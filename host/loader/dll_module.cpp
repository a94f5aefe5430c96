#include "host/loader/dll_module.h"

#include "host/loader/imports.h"
#include "host/loader/trap.h"

#include <memory>
#include <stdexcept>

namespace host::loader {

namespace {

// Precision 24 bits, round to nearest, all exceptions masked.
constexpr uint16_t kRuntimeControlWord = 0x007F;
constexpr uint32_t kDriverInitOrdinal = 1;

} // namespace

DllModule::DllModule(const std::string& path) : image_(path) {
    if (!image_.HasEntry() || !image_.HasExport(kDriverInitOrdinal)) {
        throw std::runtime_error(path + ": no display driver, as it lacks DllMain or DriverInit");
    }
}

void DllModule::Load() {
    image_.Load();
    instance = reinterpret_cast<HINSTANCE>(image_.Base());
    imageBytes = image_.Bytes();
    dllMain = reinterpret_cast<decltype(dllMain)>(image_.Entry());
    for (uint32_t ordinal = 1; ordinal <= kExportOrdinals; ++ordinal) {
        exports[ordinal] = image_.Export(ordinal);
    }
    driverInit = reinterpret_cast<decltype(driverInit)>(exports[kDriverInitOrdinal]);
}

std::unique_ptr<ApertureWatch> DllModule::WatchAperture(ChipRegisters* registers,
                                                        const ChipBus& bus) const {
    return std::make_unique<TrappedAperture>(registers, bus);
}

uint16_t DllModule::BeforeCall() const {
    const uint16_t saved = ControlWord();
    SetControlWord(kRuntimeControlWord);
    return saved;
}

void DllModule::AfterCall(uint16_t saved) const {
    SetControlWord(saved);
}

void UseDriverDll(const std::string& path) {
    UseDriver(std::make_shared<DllModule>(path));
}

} // namespace host::loader
