#pragma once
// The way of all bulk data: hold bursts of at most 64 words, while in FIFO mode the chip holds the
// bus instead of being asked for space.
#include "driver/core/dma.h"

#include <cstdint>

// Words of one hold burst at most.
inline constexpr int32_t kRunWords = 64;

inline const ChipInfo* ChipOf(const DriverData* driver) {
    return driver->ChipInfo;
}
inline const ChipInfo* ChipOf(const D3DContext* ctx) {
    return ctx->Driver->ChipInfo;
}

inline uint32_t DisconnectRegister(const ChipInfo* chip) {
    return (chip->Flags & DeltaPresent) != 0 ? reg::DeltaDisconnectControl : reg::DisconnectControl;
}

// In FIFO mode lets the chip hold the bus while its FIFO is full, so that nothing polls for space.
// The position must have been stored back. Owner is DriverData or D3DContext.
template <class Owner>
inline void BeginDisconnect(Owner* owner) {
    if (StreamOf(owner).CommandMode == kCommandModeFIFO) {
        WaitFIFOSpace(owner, 1, 0);
        WriteChip(RegistersOf(owner), DisconnectRegister(ChipOf(owner)), 1);
    }
}

// The end of it, whatever a context's DisconnectMode says.
template <class Owner>
inline void EndDisconnect(Owner* owner) {
    if (StreamOf(owner).CommandMode == kCommandModeFIFO) {
        WriteChip(RegistersOf(owner), DisconnectRegister(ChipOf(owner)), 0);
    }
}

// Sends `count` words of `source` to one register in runs, each with a reservation of its own.
// Source.Put(to, n) writes the next n words, at most kRunWords, at `to` and returns the word behind
// them.
template <class Owner, class Source>
inline void SendRuns(Owner* owner, uint32_t tagNumber, int32_t count, Source source) {
    CommandStream& stream = StreamOf(owner);
    for (; count > 0; count -= kRunWords) {
        const uint32_t run = static_cast<uint32_t>(count < kRunWords ? count : kRunWords);
        ReserveSpace(owner, 4 + 4 * run);
        uint32_t* at = stream.WritePointer;
        PutWord(at, HoldTag(tagNumber, run));
        StoreWritePointer(stream, source.Put(at + 1, run));
    }
}

// 32-bit words as they stand, at any address.
class RawWords {
  public:
    explicit RawWords(const uint8_t* from) : from_(from) {}

    uint32_t* Put(uint32_t* to, uint32_t count) {
        for (; count >= 8; count -= 8) {
            PutWord(to, Load(0));
            PutWord(to + 1, Load(1));
            PutWord(to + 2, Load(2));
            PutWord(to + 3, Load(3));
            PutWord(to + 4, Load(4));
            PutWord(to + 5, Load(5));
            PutWord(to + 6, Load(6));
            PutWord(to + 7, Load(7));
            to += 8;
            from_ += 8 * 4;
        }
        for (; count != 0; --count) {
            PutWord(to++, Load(0));
            from_ += 4;
        }
        return to;
    }

  private:
    uint32_t Load(uint32_t word) const {
        uint32_t value;
        __builtin_memcpy(&value, from_ + 4 * word, 4);
        return value;
    }

    const uint8_t* from_;
};

// One word for each element of an array, made by Convert.
template <class Element, auto Convert>
class ConvertedWords {
  public:
    explicit ConvertedWords(const void* from) : from_(static_cast<const Element*>(from)) {}

    uint32_t* Put(uint32_t* to, uint32_t count) {
        for (; count >= 4; count -= 4) {
            PutWord(to, Convert(from_[0]));
            PutWord(to + 1, Convert(from_[1]));
            PutWord(to + 2, Convert(from_[2]));
            PutWord(to + 3, Convert(from_[3]));
            to += 4;
            from_ += 4;
        }
        for (; count != 0; --count) {
            PutWord(to++, Convert(*from_++));
        }
        return to;
    }

  private:
    const Element* from_;
};
