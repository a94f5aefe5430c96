#include "driver/diag/korvtrace.h"

#include "driver/core/dma.h"

TraceRecord* functionList;

// The tool's objects; shared like all globals.
static HANDLE hSemP; // the tool allows the next batch
static HANDLE hSemC; // we report a finished one
static HANDLE hShm;
static volatile DMATraceRecord* ShmAddr;

namespace {

// What a report says.
constexpr uint32_t kReportFirst = 1000;
constexpr uint32_t kReportLast = 1002;

HANDLE OpenToolSemaphore(const char* name) {
    return OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, 1, name);
}

void Close(HANDLE& handle) {
    CloseHandle(handle);
    handle = nullptr;
}

bool ToolListens() {
    return ShmAddr != nullptr && ShmAddr->Active != 0;
}

} // namespace

void initializeTrace() {}

uint32_t traceFunction(TraceRecord* record) {
    if (record->Count++ == 0) {
        record->Next = functionList;
        functionList = record;
    }
    return 1;
}

void printTraceReport() {}

uint32_t InitTrace() {
    hSemP = OpenToolSemaphore("GTraceSemP");
    if (hSemP == nullptr) {
        return 0;
    }
    hSemC = OpenToolSemaphore("GTraceSemC");
    if (hSemC == nullptr) {
        Close(hSemP);
        return 0;
    }
    hShm = OpenFileMappingA(FILE_MAP_WRITE, 1, "GTraceShm");
    if (hShm != nullptr) {
        ShmAddr = static_cast<DMATraceRecord*>(
            MapViewOfFile(hShm, FILE_MAP_WRITE, 0, 0, sizeof(DMATraceRecord)));
        if (ShmAddr != nullptr) {
            return 1;
        }
        Close(hShm);
    }
    Close(hSemC);
    Close(hSemP);
    return 0;
}

void TermTrace() {
    if (ShmAddr == nullptr) {
        return;
    }
    // One more release, so that a tool that still waits wakes up.
    ReleaseSemaphore(hSemC, 1, nullptr);
    UnmapViewOfFile(const_cast<DMATraceRecord*>(ShmAddr));
    ShmAddr = nullptr;
    Close(hShm);
    Close(hSemC);
    Close(hSemP);
}

int32_t StartDMA_Trace(DriverData* driver, uint32_t context, uint32_t count, uint32_t physical,
                       uint32_t* linear, uint32_t reserved) {
    if (ToolListens()) {
        WaitForSingleObject(hSemP, INFINITE);
    }
    const int32_t result = StartDMA(driver, context, count, physical, linear, reserved);
    WaitDMAIdle(driver);
    if (ToolListens()) {
        ShmAddr->TraceFirst = kReportFirst;
        ShmAddr->TraceLast = kReportLast;
        ReleaseSemaphore(hSemC, 1, nullptr);
    }
    return result;
}
