#pragma once
// A counting semaphore in memory that processes share.
#include <atomic>
#include <cstdint>

namespace host {

struct SharedSemaphore {
    std::atomic<int32_t> count;
    int32_t maximum;

    // Adds `n`. False, with nothing changed, for n below 1 or beyond the maximum.
    bool Release(int32_t n, int32_t* previous);
    // Takes one, or waits up to `milliseconds` for one. False if none came.
    bool Wait(uint32_t milliseconds);
};
static_assert(sizeof(SharedSemaphore) == 8);

} // namespace host
