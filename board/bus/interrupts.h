#pragma once
// Interrupt flags, their enables, and the line to the processor.
#include "board/values/state_visitor.h"
#include "chip/registers.h"

#include <cstdint>

namespace board {

// Events are edges: each one that is enabled when it happens asks for one call of the handler,
// whether or not its flag still stands. Enabling an interrupt later calls nobody.
class InterruptLine {
  public:
    uint32_t Flags() const { return flags_; }
    void ClearFlags(uint32_t bits) { flags_ &= ~bits; }
    uint32_t Enable() const { return enable_; }
    void SetEnable(uint32_t bits) { enable_ = bits; }
    // Ticks from an event to the call.
    void SetLatency(uint32_t ticks) { latency_ = ticks; }

    // An event happens, of the kind that a field of IntFlags stands for.
    void Raise(const Field& flag);
    void Tick() {
        if (ticksLeft_ != 0) {
            --ticksLeft_;
        }
    }
    bool Pending() const { return pending_; }
    bool Due() const { return pending_ && ticksLeft_ == 0; }
    // The call that was due is being made.
    void Taken() { pending_ = false; }
    void Visit(StateVisitor& visit) {
        auto& [flags, enable, latency, ticksLeft, pending] = *this;
        visit.Value("flags", flags);
        visit.Value("enable", enable);
        visit.Value("latency", latency);
        visit.Value("ticksLeft", ticksLeft);
        visit.Value("pending", pending);
    }

  private:
    uint32_t flags_ = 0;
    uint32_t enable_ = 0;
    uint32_t latency_ = 0;
    uint32_t ticksLeft_ = 0;
    bool pending_ = false;
};

} // namespace board
