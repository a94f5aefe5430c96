#pragma once
// An aperture that code reaches by plain loads and stores: each access traps and goes to the bus.
#include "driver/core/chipbus.h"
#include "host/driver_module.h"
#include "host/observe/memory_faults.h"

namespace host::loader {

class TrappedAperture : public ApertureWatch, private FaultHandler {
  public:
    // Takes all access rights from the pages of `registers`, which begin and end on page bounds,
    // and hands each access to `bus`, in order: stores in the FIFO window as one word each, all
    // else as register reads and writes. An instruction that reads and writes the same word makes
    // both accesses; one of 64 bits is two, the lower word first; a load of 8 or 16 bits reads its
    // word. What a register of 32 bits can't take ends the program with a message: a store of fewer
    // bits, an access across words, an instruction with two operands in apertures that is no movs.
    TrappedAperture(ChipRegisters* registers, const ChipBus& bus);
    // Gives the rights back.
    ~TrappedAperture() override;
    TrappedAperture(const TrappedAperture&) = delete;
    TrappedAperture& operator=(const TrappedAperture&) = delete;

  private:
    bool OnFault(void* address, ucontext_t* context) override;

    ChipRegisters* registers_;
};

} // namespace host::loader
