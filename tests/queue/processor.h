#pragma once
// Compiled code that stops in front of each access to shared words. It runs on a stack of its own,
// which can be kept and put back, so that one point of its run can be left in several ways.
//
// ChipInfo stands on a page that may not be touched: an access faults, waits there until it is let
// go, and is then made by the processor itself as a single step. Accesses of the aperture come
// through the bus. What the code between two accesses does is its own affair.
#include "driver/core/chipbus.h"
#include "driver/core/chipinfo.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace queue {

inline constexpr uint32_t kSharedWords = sizeof(ChipInfo) / 4;

// What a stopped processor is about to do.
struct Access {
    enum class Kind { Nothing, Load, Store, LockedStore, ReadChip, WriteChip, Barrier };
    Kind kind = Kind::Nothing; // Nothing: its code has ended
    uint32_t offset = 0;       // in ChipInfo or the aperture, bytes
    uint32_t value = 0;        // written to the aperture
};

// Who makes the accesses happen.
class SharedWords {
  public:
    virtual ~SharedWords() = default;
    // False for an access that commutes with all that others do: it needs no stop.
    virtual bool NeedsStop(uint32_t processor, uint32_t offset, bool writes) const = 0;
    virtual uint32_t Load(uint32_t processor, uint32_t offset) = 0;
    virtual void Store(uint32_t processor, uint32_t offset, uint32_t value, bool locked) = 0;
    // The same for registers.
    virtual bool NeedsStopAtRegister(uint32_t offset) const = 0;
    virtual uint32_t ReadChip(uint32_t processor, uint32_t offset) = 0;
    virtual void WriteChip(uint32_t processor, uint32_t offset, uint32_t value) = 0;
    virtual void Barrier(uint32_t processor) = 0;
};

// A point of a processor's run.
struct ProcessorState {
    Access next;
    std::vector<uint8_t> stack; // the live part
    uint64_t digest = 0;        // of all on which the rest of the run depends, but shared words
};

// Sets up the page and the signals for as long as it lives; there is one at a time.
class Machine {
  public:
    explicit Machine(SharedWords& words);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    static ChipInfo* SharedPage();
    static ChipRegisters* Aperture();

    // From `code`'s start to its first stop.
    ProcessorState Begin(uint32_t processor, const std::function<void()>& code);
    // Makes the access at which `state` stopped and goes on to the next stop.
    void Step(uint32_t processor, ProcessorState& state);
    // For code that names its own barrier.
    static void Barrier();
};

} // namespace queue
