#pragma once
// Hardware contexts: the saved register sets of the clients that share the chip, and the one place
// where ownership of the chip moves.
#include "driver/core/chipinfo.h"
#include "driver/platform/win32.h"

#include <cstddef>
#include <cstdint>

struct DriverData;

inline constexpr uint32_t kContextsPerBlock = 32;

// One block of the table, in memory of the mini VDD. Slot data and register lists lie behind the
// arrays, at DataOffset.
struct ContextBlock {
    uint32_t Handle[kContextsPerBlock]; // first word of the client, 0 for most
    uint32_t Owner[kContextsPerBlock];  // second word; the D3DContext of a Direct3D client
    ContextBlock* NextBlock;
    uint8_t unknown_104[2];
    uint16_t SlotCount; // slots ever used
    uint16_t UsedCount; // slots now live
    uint16_t NextFree;  // offset of the first free byte of the data area
    uint16_t FreeBytes;
    uint16_t DataOffset[kContextsPerBlock];
    int16_t Size[kContextsPerBlock];      // bytes; negated while the slot is free
    uint16_t Type[kContextsPerBlock];     // id of the slot that holds the register list
    uint16_t EndIndex[kContextsPerBlock]; // queue length, 0 = no interrupt queue
};
static_assert(offsetof(ContextBlock, Owner) == 0x080);
static_assert(offsetof(ContextBlock, NextBlock) == 0x100);
static_assert(offsetof(ContextBlock, SlotCount) == 0x106);
static_assert(offsetof(ContextBlock, UsedCount) == 0x108);
static_assert(offsetof(ContextBlock, NextFree) == 0x10A);
static_assert(offsetof(ContextBlock, FreeBytes) == 0x10C);
static_assert(offsetof(ContextBlock, DataOffset) == 0x10E);
static_assert(offsetof(ContextBlock, Size) == 0x14E);
static_assert(offsetof(ContextBlock, Type) == 0x18E);
static_assert(offsetof(ContextBlock, EndIndex) == 0x1CE);

// The types whose lists the driver asks for.
inline constexpr uint32_t kContextTypeClient = 2;
inline constexpr uint32_t kContextTypeDirect3D = 3;

// A register list: a count, then that many byte offsets into the aperture.
struct RegisterList {
    uint16_t Count;
    uint16_t Offset[1]; // Count of them
};

// One request to the mini VDD, which is opened and closed around it. 0 on failure.
int32_t DoIOCTL(uint32_t code, void* in, uint32_t inSize, void* out, uint32_t outSize,
                uint32_t* returnedBytes);
// Asks the mini VDD for one more block of the table. As DoIOCTL.
int32_t AddContextMemory(ChipInfo* chip);
// Reads the list's registers (at least 2) into `data`, in order.
void ReadRegisters(DriverData* driver, const RegisterList* list, uint32_t* data);
// Writes `data` to the list's registers, never more at once than the FIFO has room for.
void WriteRegisters(DriverData* driver, const RegisterList* list, const uint32_t* data);
// A new context of `type` with the chip's present register values. The id; it never fails.
uint32_t CreateContext(DriverData* driver, ChipInfo* chip, uint32_t type, uint32_t handle,
                       uint32_t owner);
// Frees the slot; the chip is left without a context if it was current.
void DeleteContext(DriverData* driver, ChipInfo* chip, uint32_t id);
// Sets the queue length that comes in force with the context. kNoContext does nothing.
void SetEndIndex(ChipInfo* chip, uint32_t id, uint16_t endIndex);
// Gives the chip to context `id` (kNoContext allowed): sends what the outgoing client has pending,
// drains the chip, saves and loads registers, and sets the queue for the new owner.
void ChangeContext(DriverData* driver, ChipInfo* chip, uint32_t id);

// Exported. A context of the client type for `subBuffers` sub-buffers; its id.
extern "C" int32_t KORV_STDCALL KORV_CreateContext(DriverData* driver, uint32_t subBuffers);
// Exported. Makes the context current. 0.
extern "C" int32_t KORV_STDCALL KORV_SwitchContext(DriverData* driver, uint32_t id);
// Exported. Deletes the context. 0.
extern "C" int32_t KORV_STDCALL KORV_DeleteContext(DriverData* driver, uint32_t id);
