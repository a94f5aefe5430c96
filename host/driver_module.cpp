#include "host/driver_module.h"

#include "driver/core/globals.h"
#include "driver/core/korv32.h"
#include "driver/services/OpenGL.h"
#include "driver/services/context.h"
#include "driver/services/services.h"
#include "driver/video/video.h"
#include "host/loader/image.h"
#include "host/loader/imports.h"

#include <memory>
#include <stdexcept>

namespace host {

namespace {

// Precision 24 bits, round to nearest, all exceptions masked.
constexpr uint16_t kRuntimeControlWord = 0x007F;
constexpr uint32_t kDriverInitOrdinal = 1;
constexpr uintptr_t kLinkedInstance = 0xB0000000;

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

DriverModule LinkedModule() {
    return {.dllMain = DllMain,
            .driverInit = DriverInit,
            .exports = {nullptr,
                        Address(DriverInit),
                        Address(KORV_AllocateVideoMemory),
                        Address(KORV_CopyBlt),
                        Address(KORV_CreateContext),
                        Address(KORV_DebugHelp),
                        Address(KORV_DeleteContext),
                        Address(KORV_DriverIsLocked),
                        Address(KORV_FreeDMABuffer),
                        Address(KORV_FreeDriverLock),
                        Address(KORV_FreeVideoMemory),
                        Address(KORV_GetDMABuffer),
                        Address(KORV_GetDriverLock),
                        Address(KORV_GetInfo),
                        Address(KORV_Initialize),
                        Address(KORV_Service),
                        Address(KORV_StartDMA),
                        Address(KORV_StartSoftwareCursor),
                        Address(KORV_StopSoftwareCursor),
                        Address(KORV_SwitchContext),
                        Address(KORV_WaitForDMA)},
            .videoPort = &kVideoPortEntries,
            .linked = true};
}

DriverModule ModuleOf(const loader::Image& image) {
    DriverModule module{};
    module.dllMain = reinterpret_cast<decltype(module.dllMain)>(image.Entry());
    for (uint32_t ordinal = 1; ordinal <= kExportOrdinals; ++ordinal) {
        module.exports[ordinal] = image.Export(ordinal);
    }
    module.driverInit =
        reinterpret_cast<decltype(module.driverInit)>(module.exports[kDriverInitOrdinal]);
    return module;
}

struct State {
    DriverModule module = LinkedModule();
    std::shared_ptr<loader::Image> inForce, chosen; // null: the linked library
    std::function<void()> afterCall;
};

State& TheState() {
    static State state;
    return state;
}

} // namespace

const DriverModule& TheDriverModule() {
    return TheState().module;
}

void UseDriverDll(const std::string& path) {
    auto image = std::make_shared<loader::Image>(path);
    if (!image->HasEntry() || !image->HasExport(kDriverInitOrdinal)) {
        throw std::runtime_error(path + ": no display driver, as it lacks DllMain or DriverInit");
    }
    TheState().chosen = std::move(image);
}

void UseLinkedDriver() {
    TheState().chosen = nullptr;
}

void LoadDriver() {
    State& state = TheState();
    state.inForce = state.chosen;
    state.module = LinkedModule();
    HINSTANCE instance = reinterpret_cast<HINSTANCE>(kLinkedInstance);
    if (state.inForce != nullptr) {
        state.inForce->Load();
        state.module = ModuleOf(*state.inForce);
        instance = reinterpret_cast<HINSTANCE>(state.inForce->Base());
    }
    // Also with a DLL, so that nothing of an earlier machine is left.
    ResetDriverGlobals();
    const DriverCall call;
    if (state.module.dllMain(instance, DLL_PROCESS_ATTACH, nullptr) == 0) {
        throw std::runtime_error("the driver's DllMain refused to be loaded");
    }
}

DriverCall::DriverCall() {
    if (!TheDriverModule().linked) {
        saved_ = loader::ControlWord();
        loader::SetControlWord(kRuntimeControlWord);
    }
}

DriverCall::~DriverCall() {
    if (!TheDriverModule().linked) {
        loader::SetControlWord(saved_);
    }
    if (const auto& hook = TheState().afterCall) {
        hook();
    }
}

void SetAfterDriverCall(std::function<void()> hook) {
    TheState().afterCall = std::move(hook);
}

} // namespace host
