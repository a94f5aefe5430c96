#pragma once
// The mini VDD, asked by requests of one call each.
#include <cstdint>

// Requests by code.
enum MiniVDDRequest : uint32_t {
    MiniVDDAddContextBlock = 2, // in and out: the address of ChipInfo
    MiniVDDMemoryService = 3,   // in and out: a MemoryServiceRequest
    MiniVDDGetDriverData = 4,   // in: the display's word; out: the address of DriverData
};

// MemoryServiceRequest.Command.
enum MemoryServiceCommand : uint32_t {
    MemoryServiceAllocate = 1,
    MemoryServiceFree = 2,
};

// Request to the mini VDD's memory service, both directions.
struct MemoryServiceRequest {
    uint32_t Size;    // 20
    uint32_t Command; // MemoryServiceCommand
    uint32_t Bytes;
    uint32_t Handle;
    uint32_t Linear; // 0 from the mini VDD: refused
};
static_assert(sizeof(MemoryServiceRequest) == 20);

// One request to the mini VDD, which is opened and closed around it. 0 on failure.
int32_t DoIOCTL(uint32_t code, void* in, uint32_t inSize, void* out, uint32_t outSize,
                uint32_t* returnedBytes);
