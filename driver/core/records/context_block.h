#pragma once
// The table of hardware contexts, in memory of the mini VDD that the display driver sees too.
#include <cstddef>
#include <cstdint>

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
