#include "driver/diag/korvtrace.h"

#include "driver/core/dma.h"

// The outside tool's objects; shared like all globals. None is open until a trace is begun.
static HANDLE hSemP;
static HANDLE hSemC;
static HANDLE hShm;
static volatile uint32_t* ShmAddr;

namespace {

// Words of the shared record.
constexpr uint32_t kActive = 0; // nonzero: the tool is listening
constexpr uint32_t kTraceFirst = 2;
constexpr uint32_t kTraceLast = 3;

} // namespace

int32_t StartDMA_Trace(DriverData* driver, uint32_t context, uint32_t count, uint32_t physical,
                       uint32_t* linear, uint32_t reserved) {
    if (ShmAddr != nullptr && ShmAddr[kActive] != 0) {
        WaitForSingleObject(hSemP, INFINITE);
    }
    const int32_t result = StartDMA(driver, context, count, physical, linear, reserved);
    WaitDMAIdle(driver);
    if (ShmAddr != nullptr && ShmAddr[kActive] != 0) {
        ShmAddr[kTraceFirst] = 1000;
        ShmAddr[kTraceLast] = 1002;
        ReleaseSemaphore(hSemC, 1, nullptr);
    }
    return result;
}

void TermTrace() {
    if (ShmAddr == nullptr) {
        return;
    }
    // One more release, so that a tool that still waits wakes up.
    ReleaseSemaphore(hSemC, 1, nullptr);
    UnmapViewOfFile(const_cast<uint32_t*>(ShmAddr));
    CloseHandle(hShm);
    CloseHandle(hSemC);
    CloseHandle(hSemP);
    ShmAddr = nullptr;
    hShm = nullptr;
    hSemC = nullptr;
    hSemP = nullptr;
}
