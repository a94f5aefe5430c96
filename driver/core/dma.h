#pragma once
// The command stream: reserving, waiting, writing words, starting DMA, and every wait on the chip.
//
// At a call site the order is always: reserve for what is to come, wait for FIFO space, write, and
// store the write position back. DriverData's stream is always in FIFO mode; a D3DContext's is a
// ring of DMA sub-buffers or, with DMA off, the FIFO window.
#include "driver/core/driverdata.h"
#include "driver/core/records/d3d_context.h"
#include "driver/core/tags.h"

#include <cstdint>

inline CommandStream& StreamOf(DriverData* driver) {
    return driver->Stream;
}
inline CommandStream& StreamOf(D3DContext* ctx) {
    return ctx->Stream;
}
inline ChipRegisters* RegistersOf(DriverData* driver) {
    return driver->Registers;
}
inline ChipRegisters* RegistersOf(D3DContext* ctx) {
    return ctx->Driver->Registers;
}

// Start of the FIFO window of an aperture.
inline uint32_t* FIFOWindowOf(ChipRegisters* registers) {
    return reinterpret_cast<uint32_t*>(registers->bytes + reg::FIFOWindow);
}

// False when FIFO space need not be waited for: under DMA, and with disconnect on.
inline bool NeedsFIFOWaits(const CommandStream& stream) {
    return stream.CommandMode != kCommandModeDMA && stream.DisconnectMode != 1;
}

// Makes a cleared stream the FIFO stream of the aperture: one pseudo sub-buffer over the window.
void SetupFIFOStream(CommandStream& stream, ChipRegisters* registers);

// Sees that `bytes` more can be written at the stream's WritePointer: sends a full sub-buffer, or
// goes back to the start of the FIFO window. An exact fit counts as no room on DriverData's stream
// and as room on a context's.
void ReserveSpace(DriverData* driver, uint32_t bytes);
void ReserveSpaceInNextSubBuffer(D3DContext* ctx); // the branch without room
// Up to where a context's words go before a reservation sends them. A reservation may move it.
inline const uint32_t* WriteLimit(const CommandStream& stream) {
    return stream.Current().Linear + stream.SubBufferFlushWords;
}
inline void ReserveSpace(D3DContext* ctx, uint32_t bytes) {
    CommandStream& stream = ctx->Stream;
    if (stream.WritePointer + bytes / 4 > WriteLimit(stream)) {
        ReserveSpaceInNextSubBuffer(ctx);
    }
    stream.Guard.Allow(stream.WritePointer + bytes / 4);
}

// Reads InFIFOSpace until `entries` are free; the space left after them.
int32_t PollFIFOSpace(ChipRegisters* registers, uint32_t entries);

// Waits, where waits are needed, until the input FIFO can take `entries`. `credit` is the space
// known to be left from earlier waits, 0 at first; the result is the new credit.
template <class Owner>
inline int32_t WaitFIFOSpace(Owner* owner, uint32_t entries, int32_t credit) {
    if (!NeedsFIFOWaits(StreamOf(owner))) {
        return credit;
    }
    credit -= static_cast<int32_t>(entries);
    return credit >= 0 ? credit : PollFIFOSpace(RegistersOf(owner), entries);
}

// A plain pair at WritePointer.
inline void EmitTag(CommandStream& stream, uint32_t tagNumber, uint32_t data) {
    uint32_t* at = stream.WritePointer;
    PutWord(at, tagNumber);
    PutWord(at + 1, data);
    StoreWritePointer(stream, at + 2);
}

// An indexed burst at WritePointer: one word of `data` per set bit of `mask`, lowest first, bit i
// to register `group` + i.
// Kept as an outside name: nothing here calls it.
void EmitIndexed(CommandStream& stream, uint32_t group, uint32_t mask, const uint32_t* data);

// A hold burst at WritePointer: `count` words of `data`, all to one register.
// Kept as an outside name: nothing here calls it.
void EmitHold(CommandStream& stream, uint32_t tagNumber, uint32_t count, const uint32_t* data);

// A local view of a stream, for a run of state words: position and FIFO credit stay in locals until
// Store(). Owner is DriverData or D3DContext.
template <class Owner>
class StreamWriter {
  public:
    explicit StreamWriter(Owner* owner) : owner_(owner), at_(StreamOf(owner).WritePointer) {}

    // Stores the position, reserves `bytes`, and goes on at the new position.
    void Reserve(uint32_t bytes) {
        Store();
        ReserveSpace(owner_, bytes);
        at_ = StreamOf(owner_).WritePointer;
    }

    // Whether `bytes` more end at `limit`, a context's WriteLimit(), or before.
    bool HasRoom(uint32_t bytes, const uint32_t* limit) {
        StreamOf(owner_).Guard.Allow(at_ + bytes / 4);
        return at_ + bytes / 4 <= limit;
    }

    // Waits for `entries` of FIFO space on the running credit. Words written so far reach the chip
    // before it is asked.
    void Wait(uint32_t entries) {
        if (!NeedsFIFOWaits(StreamOf(owner_))) {
            return;
        }
        credit_ -= static_cast<int32_t>(entries);
        if (credit_ < 0) {
            Store();
            credit_ = PollFIFOSpace(RegistersOf(owner_), entries);
        }
    }

    void Tag(uint32_t tagNumber, uint32_t data) {
        Word(tagNumber);
        Word(data);
    }

    // One word of a burst, header or data.
    void Word(uint32_t word) { PutWord(at_++, word); }

    void Store() { StoreWritePointer(StreamOf(owner_), at_); }

    // Takes the position up again after a callee wrote through the stream itself, and may have used
    // up whatever space was known to be left.
    void Reload() {
        at_ = StreamOf(owner_).WritePointer;
        credit_ = 0;
    }

  private:
    Owner* owner_;
    uint32_t* at_;
    int32_t credit_ = 0;
};

// The words of render states and textures.
using StateWriter = StreamWriter<D3DContext>;

// A mapped register write; the caller has waited for FIFO space.
inline void WriteChipRegister(DriverData* driver, uint32_t tagNumber, uint32_t data) {
    WriteChip(driver->Registers, MappedOffset(tagNumber), data);
}

struct DMABufferRecord {
    uint32_t Size; // bytes
    uint32_t Physical;
    uint32_t Linear;
};

// Takes a free DMA buffer: its index, or -1.
int32_t GetDMABuffer(DriverData* driver, DMABufferRecord* out);
// Gives one back: 0, or -1 if there is no such buffer or it was not taken.
int32_t FreeDMABuffer(DriverData* driver, int32_t index);

// Hands `count` words at bus address `physical` to the chip under hardware context `context`: by
// the queue, or directly. 0, or -1 for a count of 0. A display that is not the primary one drops
// unqueued DMA.
int32_t StartDMA(DriverData* driver, uint32_t context, uint32_t count, uint32_t physical,
                 uint32_t* linear, uint32_t reserved);
// Blocks until all DMA handed in is done.
void WaitDMAIdle(DriverData* driver);
// Blocks until DMACount reads 0, with reads spaced by twice the words remaining.
void WaitDMACountZero(ChipRegisters* registers);
// Blocks until everything before it has left the pipeline.
void SyncChip(DriverData* driver);
// Sends what the context's sub-buffer holds, if anything, and moves to the next.
void FlushSubBuffer(D3DContext* ctx);
// The same on the display's own stream, where it does nothing in FIFO mode.
void FlushSubBuffer(DriverData* driver);
// Sends what the context's sub-buffer holds beyond its head, past the queue, and waits. The same
// sub-buffer is then reused.
void SendSubBufferDirect(DriverData* driver, D3DContext* ctx);
// Waits for `tagNumber` in the output FIFO; the word behind it.
uint32_t ReadOutputFIFOPair(DriverData* driver, uint32_t tagNumber);
// Bytes of the pairs with which each sub-buffer begins on this chip: 48 on the first Permedia, else
// 0.
uint32_t SubBufferHeadBytes(const ChipInfo* chip);
// True when a context under DMA has words in its sub-buffer beyond the head.
bool HasWordsBeyondHead(const ChipInfo* chip, const D3DContext* ctx);
// Tag 0x0D3 as the first Permedia holds it: the fog colour while fog is on, else all ones.
uint32_t HeldFogColor(const D3DContext* ctx);
