#include "host/driver_module.h"

#include "driver/core/globals.h"
#include "driver/core/korv32.h"
#include "driver/services/OpenGL.h"
#include "driver/services/context.h"
#include "driver/services/services.h"
#include "driver/video/video.h"
#include "host/patience.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace host {

namespace {

constexpr uintptr_t kLinkedInstance = 0xB0000000;

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

class LinkedModule : public DriverModule {
  public:
    LinkedModule() {
        instance = reinterpret_cast<HINSTANCE>(kLinkedInstance);
        dllMain = DllMain;
        driverInit = DriverInit;
        void* const functions[kExportOrdinals] = {
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
            Address(KORV_WaitForDMA),
        };
        std::copy(std::begin(functions), std::end(functions), exports + 1);
        videoPort = &kVideoPortEntries;
        linked = true;
    }
    // It is there; LoadDriver() resets its globals for every module.
    void Load() override {}
};

struct State {
    const std::shared_ptr<DriverModule> linked = std::make_shared<LinkedModule>();
    std::shared_ptr<DriverModule> inForce = linked, chosen = linked;
    std::function<void()> afterCall;
};

State& TheState() {
    static State state;
    return state;
}

} // namespace

DriverModule::DriverModule() : heap{InitialiseHeapManager, UnInitialiseHeapManager} {}

std::unique_ptr<ApertureWatch> DriverModule::WatchAperture(ChipRegisters*, const ChipBus&) const {
    return nullptr;
}

const char* ExportName(uint32_t ordinal) {
    static constexpr const char* kNames[kExportOrdinals] = {
        "DriverInit",           "KORV_AllocateVideoMemory", "KORV_CopyBlt",
        "KORV_CreateContext",   "KORV_DebugHelp",           "KORV_DeleteContext",
        "KORV_DriverIsLocked",  "KORV_FreeDMABuffer",       "KORV_FreeDriverLock",
        "KORV_FreeVideoMemory", "KORV_GetDMABuffer",        "KORV_GetDriverLock",
        "KORV_GetInfo",         "KORV_Initialize",          "KORV_Service",
        "KORV_StartDMA",        "KORV_StartSoftwareCursor", "KORV_StopSoftwareCursor",
        "KORV_SwitchContext",   "KORV_WaitForDMA"};
    return kNames[ordinal - 1];
}

const DriverModule& TheDriverModule() {
    return *TheState().inForce;
}

void UseDriver(std::shared_ptr<DriverModule> module) {
    TheState().chosen = std::move(module);
}

void UseLinkedDriver() {
    UseDriver(TheState().linked);
}

void LoadDriver() {
    State& state = TheState();
    // Stays so if the chosen one cannot be loaded.
    state.inForce = state.linked;
    state.chosen->Load();
    state.inForce = state.chosen;
    // Also with another module, so that nothing of an earlier machine is left.
    ResetDriverGlobals();
    const DriverModule& module = TheDriverModule();
    const DriverCall call("DllMain");
    if (module.dllMain(module.instance, DLL_PROCESS_ATTACH, nullptr) == 0) {
        throw std::runtime_error("the driver's DllMain refused to be loaded");
    }
}

DriverCall::DriverCall(const char* name, const CallFields& fields)
    : saved_((Tell(&Observer::OnCall, name, fields), TheDriverModule().BeforeCall())) {
    patience::BeginCall(name);
}

DriverCall::~DriverCall() {
    patience::EndCall();
    TheDriverModule().AfterCall(saved_);
    Tell(&Observer::OnCallEnd);
    if (const auto& hook = TheState().afterCall) {
        hook();
    }
}

void SetAfterDriverCall(std::function<void()> hook) {
    TheState().afterCall = std::move(hook);
}

} // namespace host
