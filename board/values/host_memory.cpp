#include "board/values/host_memory.h"

namespace board {

void HostMemory::Map(uint32_t busAddress, const void* memory, size_t bytes) {
    std::erase_if(ranges_, [&](const Range& range) { return range.busAddress == busAddress; });
    ++revision_;
    ranges_.push_back({busAddress, {static_cast<const uint8_t*>(memory), bytes}});
}

std::span<const uint8_t> HostMemory::From(uint32_t busAddress) const {
    for (size_t i = ranges_.size(); i-- > 0;) {
        const uint32_t offset = busAddress - ranges_[i].busAddress;
        if (offset < ranges_[i].bytes.size()) {
            return ranges_[i].bytes.subspan(offset);
        }
    }
    return {};
}

std::span<const uint8_t> HostMemory::WordsFrom(uint32_t busAddress) const {
    constexpr size_t kWord = 4;
    std::span<const uint8_t> bytes = From(busAddress);
    for (const Range& range : ranges_) {
        const size_t ahead = range.busAddress - busAddress;
        const size_t words = (ahead + kWord - 1) / kWord * kWord;
        if (ahead != 0 && words < bytes.size()) {
            bytes = bytes.first(words);
        }
    }
    return bytes;
}

} // namespace board
