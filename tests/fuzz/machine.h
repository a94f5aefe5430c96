#pragma once
// What bounds a machine with the driver on it.
#include "tests/fuzz/work_limit.h"

namespace fuzz {

// The driver waits for what never comes, or for too long. Leaves the driver in the middle of a
// call: nothing of the machine may be used any more but PowerCycle.
struct WaitedTooLong {};

// While it lives, waits of the driver end by WaitedTooLong, by the board's clock alone.
class WaitLimit {
  public:
    WaitLimit();
    ~WaitLimit();
    WaitLimit(const WaitLimit&) = delete;
    WaitLimit& operator=(const WaitLimit&) = delete;
};

} // namespace fuzz
