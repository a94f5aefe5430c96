#pragma once
// The mini VDD's protocol: the name that it is opened by, and what is asked of it by
// DeviceIoControl. docs/windows95.md tells what each request has to do.
#include <cstdint>

inline constexpr char kMiniVDDName[] = "\\\\.\\glintmvd";

// Requests by control code.
enum MiniVDDRequest : uint32_t {
    MiniVDDAddContextBlock = 2, // in and out: the address of a ChipInfo
    MiniVDDMemoryService = 3,   // in and out: a MemoryServiceRequest
    MiniVDDGetDriverData = 4, // in: the display's number; out: the address of its DriverData, or 0
};

// MemoryServiceRequest.Command.
enum MemoryServiceCommand : uint32_t {
    MemoryServiceAllocate = 1,
    MemoryServiceFree = 2,
};

// Memory that all processes see at one address. The answer replaces the request.
struct MemoryServiceRequest {
    uint32_t Size; // 20
    uint32_t Command;
    uint32_t Bytes;
    uint32_t Handle;
    uint32_t Linear; // 0 from the mini VDD: refused
};
static_assert(sizeof(MemoryServiceRequest) == 20);
