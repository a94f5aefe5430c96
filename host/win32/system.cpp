#include "host/win32/system.h"

#include "host/win32/names.h"

#include <cstring>

namespace host {

namespace {

constexpr uint32_t kOrdinalGetLock = 93, kOrdinalEnterLock = 97, kOrdinalLeaveLock = 98;

// Offsets in the image and in its headers.
constexpr uint32_t kHeaderOffset = 0x80, kExportsOffset = 0x200, kFunctionsOffset = 0x240;
constexpr uint32_t kHeaderPointer = 60, kExportPointer = 120;
constexpr uint32_t kExportBase = 16, kExportCount = 20, kExportFunctions = 28;
constexpr uint32_t kMaxExports = 128;
constexpr uint32_t kImageBytes = kFunctionsOffset + kMaxExports * 4;

struct State {
    uint32_t processorType = PROCESSOR_INTEL_PENTIUM;
    uint32_t processorCount = 1;
    uint32_t disabledCalls = 0;
    SystemImage image;
    Win16LockState lock;
    bool lockPresent = true;
};

State& TheState() {
    static State state;
    return state;
}

alignas(4096) uint8_t systemImage[kImageBytes];
// What the lock's address points at; only the address counts.
uint32_t lockObject;

// A driver DLL, which calls these by address, aligns its stack to 4 bytes only.
#ifdef __i386__
#define KORV_FROM_DLL __attribute__((force_align_arg_pointer))
#else
#define KORV_FROM_DLL
#endif

KORV_FROM_DLL void KORV_STDCALL GiveLock(uint32_t* out) {
    *out = TheState().lockPresent ? Win16LockAddress() : 0;
}

KORV_FROM_DLL void KORV_STDCALL EnterLock(uint32_t lock) {
    Win16LockState& state = TheState().lock;
    if (lock != Win16LockAddress()) {
        ++state.unbalanced;
        return;
    }
    ++state.depth;
    ++state.taken;
}

KORV_FROM_DLL void KORV_STDCALL LeaveLock(uint32_t lock) {
    Win16LockState& state = TheState().lock;
    if (lock != Win16LockAddress() || state.depth == 0) {
        ++state.unbalanced;
        return;
    }
    --state.depth;
}

void Put(uint32_t offset, uint32_t value) {
    std::memcpy(systemImage + offset, &value, sizeof value);
}

// Functions are reached as image address plus table entry, so an entry may wrap around.
void PutFunction(uint32_t ordinal, const void* function) {
    Put(kFunctionsOffset + (ordinal - 1) * 4,
        reinterpret_cast<uintptr_t>(function) - reinterpret_cast<uintptr_t>(systemImage));
}

void LayImage() {
    const SystemImage& image = TheState().image;
    std::memset(systemImage, 0, sizeof systemImage);
    Put(0, image.mzMark ? 0x5A4D : 0);
    Put(kHeaderPointer, kHeaderOffset);
    Put(kHeaderOffset, image.peMark ? 0x4550 : 0);
    Put(kHeaderOffset + kExportPointer, kExportsOffset);
    Put(kExportsOffset + kExportBase, 1);
    Put(kExportsOffset + kExportCount, image.exports);
    Put(kExportsOffset + kExportFunctions, kFunctionsOffset);
    PutFunction(kOrdinalGetLock, reinterpret_cast<const void*>(&GiveLock));
    PutFunction(kOrdinalEnterLock, reinterpret_cast<const void*>(&EnterLock));
    PutFunction(kOrdinalLeaveLock, reinterpret_cast<const void*>(&LeaveLock));
}

} // namespace

void SetProcessor(uint32_t type, uint32_t count) {
    TheState().processorType = type;
    TheState().processorCount = count;
}

uint32_t ThreadLibraryCallsDisabled() {
    return TheState().disabledCalls;
}

void SetSystemImage(const SystemImage& image) {
    TheState().image = image;
    LayImage();
}

const Win16LockState& Win16Lock() {
    return TheState().lock;
}

void SetWin16LockPresent(bool present) {
    TheState().lockPresent = present;
}

uint32_t Win16LockAddress() {
    return reinterpret_cast<uintptr_t>(&lockObject);
}

void ResetSystem() {
    TheState() = {};
    LayImage();
}

} // namespace host

using namespace host;

extern "C" void KORV_STDCALL GetSystemInfo(SYSTEM_INFO* info) {
    *info = {};
    info->dwPageSize = 4096;
    info->dwProcessorType = TheState().processorType;
    info->dwNumberOfProcessors = TheState().processorCount;
    info->dwActiveProcessorMask = (1u << TheState().processorCount) - 1;
    info->dwAllocationGranularity = 0x10000;
}

extern "C" HMODULE KORV_STDCALL GetModuleHandleA(const char* name) {
    const std::string folded = FoldCase(name != nullptr ? name : "");
    if (!TheState().image.present || (folded != "kernel32" && folded != "kernel32.dll")) {
        return nullptr;
    }
    if (systemImage[0] == 0 && TheState().image.mzMark) {
        LayImage();
    }
    return reinterpret_cast<HMODULE>(systemImage);
}

extern "C" BOOL KORV_STDCALL DisableThreadLibraryCalls(HMODULE) {
    ++TheState().disabledCalls;
    return 1;
}

extern "C" char* KORV_STDCALL lstrcpyA(char* to, const char* from) {
    return std::strcpy(to, from);
}

extern "C" char* KORV_STDCALL lstrcatA(char* to, const char* from) {
    return std::strcat(to, from);
}
