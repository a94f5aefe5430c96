#include "board/values/host_memory.h"

#include <cstring>

namespace board {

void HostMemory::Map(uint32_t busAddress, const void* memory, size_t bytes) {
    std::erase_if(ranges_, [&](const Range& range) { return range.busAddress == busAddress; });
    ++revision_;
    if (bytes != 0) {
        ranges_.push_back({busAddress, {static_cast<const uint8_t*>(memory), bytes}});
    }
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

bool HostMemory::ReadWord(uint32_t busAddress, uint32_t& word) const {
    const std::span<const uint8_t> source = From(busAddress);
    if (source.size() >= sizeof word) {
        std::memcpy(&word, source.data(), sizeof word);
        return true;
    }
    return reader_ && reader_(busAddress, &word, sizeof word);
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
