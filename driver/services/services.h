#pragma once
// Read-out of registers, contexts and memory for debugging tools, always of the primary display.
#include "driver/platform/win32.h"

#include <cstddef>
#include <cstdint>

struct DriverData;

// A register or memory word, by its running number from 0.
struct NumberedWord {
    uint32_t Number;
    uint32_t Value;
};

// KORV_Service codes.
enum ServiceCode : uint32_t {
    ServiceCoreRegisters = 0,
    ServiceVMIRegisters = 3,
    ServiceContextNum = 4,
    ServiceContexts = 5,
    ServiceD3DContextNum = 6,
    ServiceD3DContexts = 7,
    ServiceD3DContextState = 8,
};

// What KORV_Service is asked; which words count depends on the code.
struct ServiceRequest {
    uint32_t Half;          // of the render states: 0 the first 128, else the others
    uint32_t RegisterCount; // how many registers
    uint32_t FirstRegister; // tag, or number in the video block
    uint32_t Context;       // hardware context to read under
    uint32_t CountOrHandle; // entries in the buffer, or a Direct3D context's handle
};
static_assert(sizeof(ServiceRequest) == 20 && offsetof(ServiceRequest, CountOrHandle) == 16);

// Who a hardware context belongs to.
enum ContextKind : uint32_t {
    KindTwoDimensional = 0,
    KindDirect3D = 1,
    KindDisplay = 3, // the 16-bit driver's
    KindClient = 4,
};

struct ContextEntry {
    uint32_t Kind; // ContextKind
    uint32_t Id;
    uint32_t unknown_08; // the asker's, left as it is
};
static_assert(sizeof(ContextEntry) == 12);

struct D3DContextEntry {
    uint32_t unknown_00; // the asker's, left as it is
    uint32_t Handle;
};
static_assert(sizeof(D3DContextEntry) == 8);

// KORV_DebugHelp kinds.
enum DebugHelpKind : uint32_t {
    DebugHelpRegisters = 1,
    DebugHelpMemory = 3,
};

struct DebugHelpRequest {
    uint32_t unknown_00;
    uint32_t Kind; // DebugHelpKind
    uint32_t ContextOrRegion;
    uint32_t* Out; // NumberedWords of registers, or plain words of memory
    uint32_t Count;
    uint32_t Rest; // set to 0 when the whole local buffer was read
};
static_assert(sizeof(DebugHelpRequest) == 24 && offsetof(DebugHelpRequest, Rest) == 20);

// Reads RegisterCount registers of the core, as they are under the request's hardware context. 1.
uint32_t CoreRegisterRead(DriverData* driver, const ServiceRequest* request, NumberedWord* out);
// The same of the video block.
uint32_t VMIRegisterRead(DriverData* driver, const ServiceRequest* request, NumberedWord* out);
// Live hardware contexts in the first block of the table.
uint32_t GetContextNum(DriverData* driver);
// Lists them. 1, or 0 if there are not just `count` of them.
uint32_t GetContexts(DriverData* driver, ContextEntry* out, uint32_t count);
// Length of lpD3DContextList.
uint32_t GetD3DContextNum(DriverData* driver);
// Handles of those listed contexts that are live, from the front. 1, or 0 if the list has not just
// `count` entries.
uint32_t GetD3DContexts(DriverData* driver, D3DContextEntry* out, uint32_t count);
// Copies 128 of the context's render states: the first ones if `half` is 0. 1, or 0 without such a
// context.
uint32_t GetD3DContextState(DriverData* driver, uint32_t* out, uint32_t handle, uint32_t half);

extern "C" {

// Exported. Does what ServiceRequest asks under `code`, under the Win16 lock. 0, or -1 without the
// lock or on a refusal; of codes 7 and 8 always -1: the caller goes by the buffer.
int32_t KORV_STDCALL KORV_Service(uint32_t code, uint32_t* request, uint32_t* buffer);
// Exported. Reads registers or memory, under the Win16 lock. 0, or -1 without it.
int32_t KORV_STDCALL KORV_DebugHelp(uint32_t* request);
}
