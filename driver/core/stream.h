#pragma once
// The record of a writer of the chip's word stream, and the one operation by which written words
// leave it.
#include "driver/core/checked.h"
#include "driver/core/chipbus.h"

#include <cstdint>

struct DriverData;

// CommandStream.CommandMode.
inline constexpr uint32_t kCommandModeDMA = 1;
inline constexpr uint32_t kCommandModeFIFO = 2;

inline constexpr uint32_t kMaxSubBuffers = 32;

// Hands `count` words at bus address `physical` to the chip under hardware context `context`.
// Result 0, or -1 for a count of 0. `linear` and `reserved` are not looked at.
using StartDMAFunction = int32_t (*)(DriverData* driver, uint32_t context, uint32_t count,
                                     uint32_t physical, uint32_t* linear, uint32_t reserved);

struct SubBuffer {
    uint32_t Physical; // bus address; 0 in FIFO mode
    uint32_t* Linear;  // first word
    uint32_t* Last;    // last word; in FIFO mode the window's end
};

struct CommandStream {
    uint32_t CommandMode;
    SubBuffer SubBuffers[kMaxSubBuffers];
    uint32_t SubBufferCount;
    uint32_t SubBufferIndex;
    uint32_t* WritePointer; // next free word
    StartDMAFunction StartDMA;

    // The rest is used by the streams of Direct3D contexts alone.
    uint32_t SubBufferFlushWords; // present fill limit
    uint32_t SubBufferWords;      // size of one sub-buffer
    uint32_t DisconnectMode;      // 1: the chip holds the bus, no space waits
    uint32_t HardwareContext;     // id under which the stream's DMA runs

    ReserveGuard Guard;

    SubBuffer& Current() { return SubBuffers[SubBufferIndex]; }
    const SubBuffer& Current() const { return SubBuffers[SubBufferIndex]; }
    uint32_t WordsWritten() { return static_cast<uint32_t>(WritePointer - Current().Linear); }
};

// Stores one word of the stream. The FIFO window takes words in the order of the stores, whatever
// their addresses, so the compiler may neither reorder nor merge them, nor read one back.
inline void PutWord(uint32_t* at, uint32_t word) {
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): a write position is in a sub-buffer
    *static_cast<volatile uint32_t*>(at) = word;
}

// Stores the write position back: everything before `at` has been written.
inline void StoreWritePointer(CommandStream& stream, uint32_t* at) {
    stream.Guard.Check(at);
    if (stream.CommandMode == kCommandModeFIFO) {
        HandOverWords(stream.WritePointer, at);
    }
    stream.WritePointer = at;
}
