// Every bit pattern of a single through every conversion. Exits with 1 if any word differs.
#include "tests/driver/raster/conversion_reference.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr uint32_t kParts = 256;
std::atomic<uint32_t> nextPart;
std::atomic<uint32_t> wrong;

[[gnu::noinline]] void Tell(uint32_t bits) {
    if (wrong++ < 100) {
        reference::Agrees(bits);
    }
}

void Work() {
    for (uint32_t part; (part = nextPart++) < kParts;) {
        uint32_t bits = part << 24;
        do {
            bool differs = false;
            reference::Compare(bits, [&](const char*, uint64_t, uint64_t) { differs = true; });
            if (differs) {
                Tell(bits);
            }
        } while ((++bits & 0xFFFFFF) != 0);
    }
}

} // namespace

int main() {
    std::vector<std::thread> workers;
    for (uint32_t i = std::max(1u, std::thread::hardware_concurrency()); i != 0; --i) {
        workers.emplace_back(Work);
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    std::printf("%u of 4294967296 patterns differ\n", wrong.load());
    return wrong == 0 ? 0 : 1;
}
