#include "host/vdd/processor_barrier.h"

#include <atomic>
#if __has_include(<linux/membarrier.h>)
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace host {

namespace {

#ifdef SYS_membarrier
void SerialiseOthers() {
    const auto barrier = [](int command) { return syscall(SYS_membarrier, command, 0, 0); };
    static const bool available = barrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) == 0;
    if (available) {
        barrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
    }
}
#else
// A WebAssembly module has one thread.
void SerialiseOthers() {}
#endif

} // namespace

void SerialiseProcessors() {
    std::atomic_thread_fence(std::memory_order_seq_cst);
    SerialiseOthers();
}

} // namespace host
