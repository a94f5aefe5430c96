#include "board/faults.h"

#include "board/values/register_names.h"
#include "chip/words.h"

#include <fmt/format.h>

namespace board {

bool Faults::Any() const {
    return fifoOverflows != 0 || badDmaAddresses != 0 || dmaRestarts != 0 ||
           badMemoryAccesses != 0 || malformedWords != 0 || !unknownRegisters.empty() ||
           !unwaited.empty() || !unmodelled.empty();
}

std::string Faults::Describe() const {
    std::string text;
    const auto count = [&text](uint64_t times, const char* what) {
        if (times != 0) {
            text += fmt::format("{} {}\n", times, what);
        }
    };
    count(fifoOverflows, "register writes lost in a full input FIFO");
    count(badDmaAddresses, "DMA transfers from unmapped bus addresses");
    count(dmaRestarts, "DMA transfers started over a running one");
    count(badMemoryAccesses, "pixel or depth accesses outside the memories");
    count(malformedWords, "malformed tag words");
    for (const auto& [number, times] : unknownRegisters) {
        text += fmt::format("{} writes to unknown {}\n", times,
                            number > kTagMask ? OffsetName(number) : TagName(number));
    }
    for (const auto& [number, of] : unwaited) {
        const bool mapped = number > kTagMask;
        text += fmt::format("{} writes to {} without waiting for FIFO space, the first as {} {}\n",
                            of.entries, mapped ? OffsetName(number) : TagName(number),
                            mapped ? "mapped write" : "FIFO word", of.firstPlace);
    }
    for (const auto& [unit, times] : unmodelled) {
        text += fmt::format("{} uses of {}, which is not modelled\n", times, unit);
    }
    return text;
}

} // namespace board
