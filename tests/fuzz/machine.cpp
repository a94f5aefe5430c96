#include "tests/fuzz/machine.h"

#include "host/patience.h"

#include <string>
#include <sys/time.h>

namespace fuzz {

WaitLimit::WaitLimit() {
    constexpr uint64_t kMicroseconds = 200'000; // some pictures
    host::SetPatience(kMicroseconds, [](const std::string&) { throw WaitedTooLong(); });
    // It also looks at the processor's time, which is not the same twice.
    const itimerval none{};
    setitimer(ITIMER_VIRTUAL, &none, nullptr);
}

WaitLimit::~WaitLimit() {
    host::SetPatience(0, nullptr);
}

} // namespace fuzz
