// Memory of the mini VDD: blocks that every process and the 16-bit side see at the same address.
#include "driver/core/minivdd.h"
#include "driver/heap/linalloc.h"

namespace {

// One request; the answer replaces it.
bool CallMemoryService(MemoryServiceRequest* request) {
    uint32_t returned = 0;
    return DoIOCTL(MiniVDDMemoryService, request, sizeof *request, request, sizeof *request,
                   &returned) != 0;
}

} // namespace

uint32_t AllocMem(uint32_t* handle, void** linear, uint32_t bytes) {
    MemoryServiceRequest request = {sizeof request, MemoryServiceAllocate, bytes, 0, 0};
    if (!CallMemoryService(&request) || request.Linear == 0) {
        return 0;
    }
    *handle = request.Handle;
    *linear = reinterpret_cast<void*>(request.Linear);
    return 1;
}

void FreeMem(uint32_t handle, void* linear) {
    MemoryServiceRequest request = {sizeof request, MemoryServiceFree, 0, handle,
                                    reinterpret_cast<uint32_t>(linear)};
    CallMemoryService(&request);
}
