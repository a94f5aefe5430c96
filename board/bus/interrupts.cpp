#include "board/bus/interrupts.h"

namespace board {

void InterruptLine::Raise(uint32_t flag) {
    flags_ |= flag;
    if ((enable_ & flag) != 0 && !pending_) {
        pending_ = true;
        ticksLeft_ = latency_;
    }
}

void InterruptLine::Tick() {
    if (ticksLeft_ != 0) {
        --ticksLeft_;
    }
}

} // namespace board
