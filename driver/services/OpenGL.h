#pragma once
// The exported interface for another driver of the board, an OpenGL client, save the context
// entries of context.h. A client's order: KORV_Initialize, KORV_GetInfo, KORV_GetDMABuffer,
// KORV_CreateContext; for each batch KORV_StartDMA, and KORV_WaitForDMA before memory is used
// again; a lock around its own accesses to video memory.
//
// Unless told otherwise `driver` may be null for the primary display, and the result is 0 for
// success and -1 for failure.
#include "driver/core/chipbus.h"
#include "driver/heap/linalloc.h"
#include "driver/platform/win32.h"

#include <cstddef>
#include <cstdint>

struct DriverData;

// What a client learns about the board. It grew at its end: Size, the caller's count of bytes, says
// how much of it there is.
struct ServiceInfo {
    uint32_t Size; // bytes
    ChipRegisters* Registers;
    uint8_t* FrameBuffer;
    uint8_t* LocalBuffer;
    uint8_t unknown_10[2];
    uint16_t Flags;   // low half of ChipInfo.Flags
    uint32_t MemoryA; // bytes
    uint32_t MemoryB; // bytes
    uint32_t BusBits;
    uint32_t ClientByte;
    uint32_t DeviceId;
    uint32_t Revision;
    uint32_t ClientWords[4];
    uint32_t ClientWord;     // in sizes above 60
    char RegistryName[0x40]; // in sizes above 64
};
static_assert(offsetof(ServiceInfo, Registers) == 0x04);
static_assert(offsetof(ServiceInfo, FrameBuffer) == 0x08);
static_assert(offsetof(ServiceInfo, LocalBuffer) == 0x0C);
static_assert(offsetof(ServiceInfo, Flags) == 0x12);
static_assert(offsetof(ServiceInfo, MemoryA) == 0x14);
static_assert(offsetof(ServiceInfo, MemoryB) == 0x18);
static_assert(offsetof(ServiceInfo, BusBits) == 0x1C);
static_assert(offsetof(ServiceInfo, ClientByte) == 0x20);
static_assert(offsetof(ServiceInfo, DeviceId) == 0x24);
static_assert(offsetof(ServiceInfo, Revision) == 0x28);
static_assert(offsetof(ServiceInfo, ClientWords) == 0x2C);
static_assert(offsetof(ServiceInfo, ClientWord) == 0x3C);
static_assert(offsetof(ServiceInfo, RegistryName) == 0x40);

// A client's DMA buffer.
struct ServiceDMABuffer {
    uint32_t Size; // bytes
    uint32_t Physical;
    uint32_t Linear;
    uint32_t SubBuffers; // how many the client is to use
};
static_assert(sizeof(ServiceDMABuffer) == 16);

extern "C" {

// The interface's version, 0x10000, or -1: no board, or a display of 8 bits.
int32_t KORV_STDCALL KORV_Initialize(DriverData* driver);
// Fills as much of `info` as its Size covers. `info`.
ServiceInfo* KORV_STDCALL KORV_GetInfo(DriverData* driver, ServiceInfo* info);

// Takes a DMA buffer for the client. Its index, or -1.
int32_t KORV_STDCALL KORV_GetDMABuffer(DriverData* driver, ServiceDMABuffer* out);
// Gives one back.
int32_t KORV_STDCALL KORV_FreeDMABuffer(DriverData* driver, int32_t index);
// Hands `words` words at bus address `physical` to the chip under hardware context `context`.
int32_t KORV_STDCALL KORV_StartDMA(DriverData* driver, uint32_t context, uint32_t words,
                                   uint32_t physical, uint32_t* linear, uint32_t reserved);
// Blocks until all DMA handed in is done.
int32_t KORV_STDCALL KORV_WaitForDMA(DriverData* driver);

// Takes a stretch of video memory, or all of it. 0, or a HeapResult; -1 without a display.
int32_t KORV_STDCALL KORV_AllocateVideoMemory(DriverData* driver, HeapRequest* request);
// Gives it back. 0, or a HeapResult.
int32_t KORV_STDCALL KORV_FreeVideoMemory(DriverData* driver, uint32_t address);
// Copies to `rect` of the screen (pixels) from the same place at another offset, both in pixels: of
// the destination, and of the source relative to it. `rect` may be changed during the call. 0, also
// without a display.
int32_t KORV_STDCALL KORV_CopyBlt(DriverData* driver, RECTL* rect, uint32_t destOffset,
                                  uint32_t srcRelative);

// Takes the display for direct access: by DCI on `surface` if `useDCI`, within `rect` (null: all of
// it), else by the system's Win16 lock. 6 if the client's memory was lost.
int32_t KORV_STDCALL KORV_GetDriverLock(DriverData* driver, DCISURFACEINFO* surface,
                                        uint32_t useDCI, const RECT* rect);
// Gives it back.
int32_t KORV_STDCALL KORV_FreeDriverLock(DriverData* driver, DCISURFACEINFO* surface);
// 1 if somebody holds the lock, else 0.
int32_t KORV_STDCALL KORV_DriverIsLocked(DriverData* driver);
// Lets the 16-bit driver's software cursor draw again.
int32_t KORV_STDCALL KORV_StartSoftwareCursor(DriverData* driver);
// Keeps it off the chip.
int32_t KORV_STDCALL KORV_StopSoftwareCursor(DriverData* driver);
}
