#include "host/win32/shared/shared_semaphore.h"

#include <chrono>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace host {

namespace {

// The kernel waits by the word itself, so nothing is held that a dying process could keep.
long Futex(std::atomic<int32_t>& word, int operation, int32_t value, const timespec* limit) {
    return syscall(SYS_futex, &word, operation, value, limit, nullptr, 0);
}

} // namespace

bool SharedSemaphore::Release(int32_t n, int32_t* previous) {
    int32_t before = count.load();
    do {
        if (n <= 0 || n > maximum - before) {
            return false;
        }
    } while (!count.compare_exchange_weak(before, before + n));
    if (previous != nullptr) {
        *previous = before;
    }
    Futex(count, FUTEX_WAKE, n, nullptr);
    return true;
}

bool SharedSemaphore::Wait(uint32_t milliseconds) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (true) {
        int32_t present = count.load();
        while (present > 0) {
            if (count.compare_exchange_weak(present, present - 1)) {
                return true;
            }
        }
        const auto left = end - Clock::now();
        if (left <= Clock::duration::zero()) {
            return false;
        }
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const std::chrono::nanoseconds rest = left - seconds;
        const timespec limit{static_cast<time_t>(seconds.count()), static_cast<long>(rest.count())};
        Futex(count, FUTEX_WAIT, 0, &limit);
    }
}

} // namespace host
