// Every bit pattern of a single through every conversion, against arithmetic on doubles. Takes
// minutes; exits with 1 if any word differs.
#include "tests/driver/raster/conversion_reference.h"

#include <cstdio>

int main() {
    constexpr uint64_t kPatterns = uint64_t{1} << 32;
    uint64_t wrong = 0;
    for (uint64_t bits = 0; bits < kPatterns && wrong < 100; ++bits) {
        if (!reference::Agrees(static_cast<uint32_t>(bits))) {
            ++wrong;
        }
        if ((bits & 0x0FFFFFFF) == 0x0FFFFFFF) {
            std::printf("%u/16\n", static_cast<unsigned>(bits >> 28) + 1);
            std::fflush(stdout);
        }
    }
    std::printf("%llu patterns differ\n", static_cast<unsigned long long>(wrong));
    return wrong == 0 ? 0 : 1;
}
