#include "board/bus/interrupts.h"

namespace board {

void InterruptLine::Raise(const Field& flag) {
    flags_ |= flag.Mask();
    if ((enable_ & flag.Mask()) != 0 && !pending_) {
        pending_ = true;
        ticksLeft_ = latency_;
    }
}

} // namespace board
