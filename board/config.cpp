#include "board/config.h"

#include <fmt/format.h>

#include <algorithm>

namespace board {

namespace {

constexpr uint32_t kPage = 4096;
constexpr uint32_t kMostMemory = 256u << 20;
constexpr uint32_t kHighestRefreshRate = 1000;
constexpr uint32_t kMostLines = 10000;
// Entries, words, ticks and microseconds of the timing: no wait of a board is without end.
constexpr uint32_t kMostOfTiming = 1u << 16;

struct Limit {
    const char* name;
    uint32_t value, low, high;
};

} // namespace

std::optional<std::string> Config::Problem() const {
    const Limit limits[] = {
        {"chip", static_cast<uint32_t>(chip), 0, static_cast<uint32_t>(std::size(kDevices)) - 1},
        {"frameBufferBytes", frameBufferBytes, kPage, kMostMemory},
        {"localBufferBytes", localBufferBytes, 0, kMostMemory},
        {"refreshRate", refreshRate, 1, kHighestRefreshRate},
        {"linesTotal", linesTotal, 1, kMostLines},
        {"linesBlank", linesBlank, 0, linesTotal},
        {"fifoDepth", timing.fifoDepth, 1, kMostOfTiming},
        {"fifoTicksPerEntry", timing.fifoTicksPerEntry, 0, kMostOfTiming},
        {"fifoReportLag", timing.fifoReportLag, 0, kMostOfTiming},
        {"interruptLatency", timing.interruptLatency, 0, kMostOfTiming},
        {"strayOutputWords", timing.strayOutputWords, 0, kMostOfTiming},
        {"microsecondsPerTick", timing.microsecondsPerTick, 0, kMostOfTiming},
    };
    for (const Limit& limit : limits) {
        if (limit.value < limit.low || limit.value > limit.high) {
            return fmt::format("{} is {}, from {} to {} was expected", limit.name, limit.value,
                               limit.low, limit.high);
        }
    }
    for (const uint32_t bytes : {frameBufferBytes, localBufferBytes}) {
        if (bytes % kPage != 0) {
            return fmt::format("a memory has {} bytes, whole pages of {} were expected", bytes,
                               kPage);
        }
    }
    return std::nullopt;
}

} // namespace board
