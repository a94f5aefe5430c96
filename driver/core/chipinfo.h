#pragma once
// The block shared with the 16-bit display driver and the mini VDD. Three binaries read it, so the
// byte offsets are the format. Words that the mini VDD's interrupt handler changes are volatile.
#include "chip/devices.h"

#include <cstddef>
#include <cstdint>

struct ContextBlock;

struct ChipInfo {
    uint8_t unknown_000[0x24];
    volatile uint32_t Flags; // ChipFlag bits
    uint8_t unknown_028[4];
    uint32_t FrameBufferSize; // bytes
    uint32_t LocalBufferSize; // bytes
    uint8_t unknown_034[0x18];
    uint32_t ClientWord;
    uint8_t unknown_050[0xC];
    uint8_t ClientByte;
    uint8_t unknown_05D;
    uint16_t RefreshRate; // frames per second, never 0
    uint32_t PrimaryDisplay;
    uint8_t unknown_064[0x28];
    uint32_t DeviceId;
    uint32_t Revision; // kRevisionOne stands for revision 1
    uint32_t Family;
    uint32_t ClientWords[4];
    volatile uint32_t DMAState; // DMAStateBit bits
    uint8_t unknown_0AC[0x10];
    uint32_t DMABufferSize; // bytes in each buffer
    uint32_t DMABufferPhysical[10];
    uint32_t DMABufferLinear[10];
    uint16_t DMABufferCount;
    uint16_t DMABufferInUse; // bit i: buffer i is taken
    uint8_t unknown_114[4];
    volatile uint32_t QueueHead; // next entry to fill; the driver writes it
    volatile uint32_t QueueTail; // next entry to start; the mini VDD writes it
    volatile uint32_t QueueEnd;  // the index wraps to 0 on reaching it
    uint8_t unknown_124[0x8C];
    volatile uint32_t QueueAddress[34];
    volatile uint32_t QueueCount[34]; // words
    uint8_t unknown_2C0[8];
    volatile uint32_t QueueRunning; // nonzero: the mini VDD works through the queue
    uint8_t unknown_2CC[8];
    ContextBlock* ContextBlocks;
    uint8_t unknown_2D8[4];
    volatile uint32_t CurrentContext; // kNoContext = none
    uint8_t unknown_2E0[0x18];
    uint32_t NoDCI;
    uint8_t unknown_2FC[4];
    char RegistryName[0x40]; // zero-terminated, at most 34 characters
};

#define KORV_AT(field, offset) static_assert(offsetof(ChipInfo, field) == (offset))
KORV_AT(Flags, 0x024);
KORV_AT(FrameBufferSize, 0x02C);
KORV_AT(LocalBufferSize, 0x030);
KORV_AT(ClientWord, 0x04C);
KORV_AT(ClientByte, 0x05C);
KORV_AT(RefreshRate, 0x05E);
KORV_AT(PrimaryDisplay, 0x060);
KORV_AT(DeviceId, 0x08C);
KORV_AT(Revision, 0x090);
KORV_AT(Family, 0x094);
KORV_AT(ClientWords, 0x098);
KORV_AT(DMAState, 0x0A8);
KORV_AT(DMABufferSize, 0x0BC);
KORV_AT(DMABufferPhysical, 0x0C0);
KORV_AT(DMABufferLinear, 0x0E8);
KORV_AT(DMABufferCount, 0x110);
KORV_AT(DMABufferInUse, 0x112);
KORV_AT(QueueHead, 0x118);
KORV_AT(QueueTail, 0x11C);
KORV_AT(QueueEnd, 0x120);
KORV_AT(QueueAddress, 0x1B0);
KORV_AT(QueueCount, 0x238);
KORV_AT(QueueRunning, 0x2C8);
KORV_AT(ContextBlocks, 0x2D4);
KORV_AT(CurrentContext, 0x2DC);
KORV_AT(NoDCI, 0x2F8);
KORV_AT(RegistryName, 0x300);
#undef KORV_AT

// ChipInfo.Flags.
enum ChipFlag : uint32_t {
    DisconnectUsable = 0x1,
    TwoSubBuffers = 0x4,
    CursorExclude = 0x10, // the 16-bit driver's software cursor stays off the chip
    DeltaPresent = 0x100,
    VBlankSeen = 0x10000, // set by the mini VDD at a blank, when VBlankByInterrupt is on
    VBlankByInterrupt = 0x20000,
};

// ChipInfo.DMAState.
enum DMAStateBit : uint32_t {
    DMAIdle = 0x2,    // no transfer can be running
    DMAQueueOn = 0x8, // transfers go through the queue
};

// ChipInfo.Revision of the first revision.
inline constexpr uint32_t kRevisionOne = 0x10000;

inline constexpr uint32_t kNoContext = 0xFFFF;
// The two-dimensional context; it exists before the driver starts.
inline constexpr uint32_t kContext2D = 5;

// Which chip it is, by DeviceId alone, where the family is asked by ChipInfo.Family: the two are
// separate words, and an id that is in no row is none of the models.
template <ChipModel kModel>
inline bool Is(const ChipInfo* chip) {
    constexpr const DeviceRow& row = DeviceOf(kModel);
    if constexpr (row.secondId != 0) {
        return chip->DeviceId == row.id || chip->DeviceId == row.secondId;
    } else {
        return chip->DeviceId == row.id;
    }
}
inline bool IsSX(const ChipInfo* chip) {
    return Is<ChipModel::SX>(chip);
}
inline bool IsTX(const ChipInfo* chip) {
    return Is<ChipModel::TX>(chip);
}
inline bool IsMX(const ChipInfo* chip) {
    return Is<ChipModel::MX>(chip);
}
inline bool IsFirstPermedia(const ChipInfo* chip) {
    return Is<ChipModel::Permedia>(chip);
}
inline bool IsPermedia2(const ChipInfo* chip) {
    return Is<ChipModel::Permedia2>(chip);
}
inline bool IsGlintWithTextures(const ChipInfo* chip) {
    return IsTX(chip) || IsMX(chip);
}

// Plain read-modify-write, as the other binaries do it.
inline void SetFlag(ChipInfo* chip, ChipFlag flag) {
    chip->Flags = chip->Flags | flag;
}
inline void ClearFlag(ChipInfo* chip, ChipFlag flag) {
    chip->Flags = chip->Flags & ~flag;
}
inline void SetDMAState(ChipInfo* chip, DMAStateBit bit) {
    chip->DMAState = chip->DMAState | bit;
}
inline void ClearDMAState(ChipInfo* chip, DMAStateBit bit) {
    chip->DMAState = chip->DMAState & ~bit;
}
