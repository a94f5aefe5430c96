#pragma once
// Test builds watch that no writer stores more words than it reserved. In other builds the guard is
// an empty member and costs nothing.
#include <cstdint>

#ifdef KORV_CHECKED

// Reports on the standard error output and aborts. Defined by the hosted build.
[[noreturn]] void ReserveExceeded(const uint32_t* at, const uint32_t* limit);

class ReserveGuard {
  public:
    // Words may be stored up to `limit`.
    void Allow(const uint32_t* limit) { limit_ = limit; }
    void Check(const uint32_t* at) const {
        if (at > limit_ && limit_ != nullptr && !exempt_) {
            ReserveExceeded(at, limit_);
        }
    }
    // For the few routines that are required to reserve less than they write.
    void Exempt(bool on) { exempt_ = on; }

  private:
    const uint32_t* limit_;
    bool exempt_;
};

#else

class ReserveGuard {
  public:
    void Allow(const uint32_t*) {}
    void Check(const uint32_t*) const {}
    void Exempt(bool) {}
};

#endif
