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

} // namespace board
