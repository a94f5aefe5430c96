#include "host/vdd/processor_barrier.h"

#include <atomic>
#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace host {

namespace {

long MemoryBarrier(int command) {
    return syscall(SYS_membarrier, command, 0, 0);
}

} // namespace

void SerialiseProcessors() {
    static const bool available = MemoryBarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) == 0;
    std::atomic_thread_fence(std::memory_order_seq_cst);
    if (available) {
        MemoryBarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
    }
}

} // namespace host
