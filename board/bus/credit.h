#pragma once
// What the processor knows of the input FIFO: the room that InFIFOSpace told it of, less what it
// has entered since. An entry behind the last of it was never waited for, and only luck or a fast
// chip keeps it from being lost.
#include "board/values/state_visitor.h"

#include <cstdint>

namespace board {

class FifoCredit {
  public:
    // InFIFOSpace has answered `entries`.
    void Grant(uint32_t entries) { left_ = entries; }
    uint32_t Left() const { return left_; }
    // The processor enters an entry. False: none was granted any more.
    bool Take() {
        if (left_ == 0) {
            return false;
        }
        --left_;
        return true;
    }
    void Visit(StateVisitor& visit) {
        auto& [left] = *this;
        visit.Value("left", left);
    }

  private:
    uint32_t left_ = 0;
};

} // namespace board
