#pragma once
// The mini VDD's side of the DMA queue in ChipInfo, and its count of vertical blanks.
#include "driver/core/chipbus.h"
#include "driver/core/chipinfo.h"

#include <atomic>
#include <cstdint>

namespace host {

struct DmaQueueCounters {
    uint32_t interrupts = 0; // runs of the handler
    uint32_t transfers = 0;  // queue entries started
    uint32_t blanks = 0;     // vertical blanks noted in ChipInfo
};

class DmaQueueHandler {
  public:
    DmaQueueHandler(ChipInfo* chip, ChipRegisters* registers)
        : chip_(chip), registers_(registers) {}

    // The interrupt line was raised. Runs at any moment and on any thread; a call that comes while
    // another one runs is worked off by that one.
    void Interrupt();

    DmaQueueCounters Counters() const;

  private:
    void Service();
    void NoteBlank(uint32_t flags);
    void Drain();
    bool HasEntry(uint32_t& tail) const;
    void Start(uint32_t tail);

    ChipInfo* chip_;
    ChipRegisters* registers_;
    std::atomic<uint32_t> calls_ = 0; // not yet worked off
    std::atomic<uint32_t> interrupts_ = 0, transfers_ = 0, blanks_ = 0;
};

} // namespace host
