#pragma once
// The seam between the driver and the chip: the only accessors of the register aperture, and the
// hand-over of stream words that were stored in the FIFO window.
//
// On Windows an access is one volatile load or store, and words stored in the window have reached
// the chip already. In the hosted build accesses go to the bus that is attached at the aperture's
// address: a software board, or a recorder in a test.
#include "driver/core/registers.h"

#include <cstdint>

// The mapped aperture. It is only ever named by its address.
struct alignas(4) ChipRegisters {
    uint8_t bytes[reg::ApertureBytes];
};

#ifdef _WIN32

inline uint32_t ReadChip(ChipRegisters* registers, uint32_t offset) {
    return *reinterpret_cast<volatile uint32_t*>(registers->bytes + offset);
}

inline void WriteChip(ChipRegisters* registers, uint32_t offset, uint32_t value) {
    *reinterpret_cast<volatile uint32_t*>(registers->bytes + offset) = value;
}

inline void HandOverWords(const uint32_t*, const uint32_t*) {}

inline void DelayRounds(ChipRegisters*, uint32_t rounds) {
    while (rounds != 0) {
        asm volatile("" : "+r"(rounds));
        --rounds;
    }
}

#else

// What stands for the chip behind one aperture. `self` goes back into each call.
struct ChipBus {
    void* self;
    uint32_t (*Read)(void* self, uint32_t offset);
    void (*Write)(void* self, uint32_t offset, uint32_t value);
    void (*Words)(void* self, const uint32_t* words, uint32_t count); // FIFO window, in order
    void (*Idle)(void* self, uint32_t rounds); // time passes with no bus access
};

// Attaches a bus to the aperture at this address, in place of the one before. At most eight.
void AttachChipBus(ChipRegisters* registers, const ChipBus& bus);
void DetachChipBus(ChipRegisters* registers);

// One 32-bit read at a byte offset of the aperture.
uint32_t ReadChip(ChipRegisters* registers, uint32_t offset);

// One 32-bit write at a byte offset of the aperture.
void WriteChip(ChipRegisters* registers, uint32_t offset, uint32_t value);

// Gives the words in [from, to), stored in some aperture's FIFO window, to its bus.
void HandOverWords(const uint32_t* from, const uint32_t* to);

// `rounds` of an idle loop, also used once a round in spins over shared memory, where no bus
// access would let a simulated board move on.
void DelayRounds(ChipRegisters* registers, uint32_t rounds);

#endif
