#pragma once
// Test builds watch that no writer stores more words than it reserved. Other builds keep the
// guard's room in the record, so that both have one layout, and do nothing with it.
#include <cstdint>

// Reports on the standard error output and aborts. Defined by the checked build.
[[noreturn]] void ReserveExceeded(const uint32_t* at, const uint32_t* limit);

class ReserveGuard {
  public:
#ifdef KORV_CHECKED
    // Words may be stored up to `limit`. Called by the reservations, and by the few routines that
    // are required to reserve less than they write.
    void Allow(const uint32_t* limit) {
        limit_ = limit;
    }
    void Check(const uint32_t* at) const {
        if (at > limit_ && limit_ != nullptr) {
            ReserveExceeded(at, limit_);
        }
    }
#else
    void Allow(const uint32_t*) {}
    void Check(const uint32_t*) const {}
#endif

  private:
    [[maybe_unused]] const uint32_t* limit_;
};
