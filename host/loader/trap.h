#pragma once
// An aperture that code reaches by plain loads and stores: each access traps and goes to the bus.
#include "driver/core/chipbus.h"

namespace host::loader {

class TrappedAperture {
  public:
    // Takes all access rights from the pages of `registers`, which begin and end on page bounds,
    // and hands each 32-bit load and store to `bus`, in order: stores in the FIFO window as one
    // word each, all else as register reads and writes. An instruction that reads and writes the
    // same word makes both accesses. An access of another size or alignment ends the program with a
    // message.
    TrappedAperture(ChipRegisters* registers, const ChipBus& bus);
    // Gives the rights back.
    ~TrappedAperture();
    TrappedAperture(const TrappedAperture&) = delete;
    TrappedAperture& operator=(const TrappedAperture&) = delete;

  private:
    ChipRegisters* registers_;
};

} // namespace host::loader
