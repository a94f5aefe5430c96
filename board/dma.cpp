#include "board/dma.h"

#include <cstring>

namespace board {

void DmaEngine::Map(uint32_t busAddress, const void* memory, size_t bytes) {
    std::erase_if(ranges_, [&](const Range& range) { return range.busAddress == busAddress; });
    ranges_.push_back({busAddress, static_cast<const uint8_t*>(memory), bytes});
}

void DmaEngine::Start(uint32_t busAddress, uint32_t words) {
    address_ = busAddress;
    wordsLeft_ = words;
}

const uint8_t* DmaEngine::Find(uint32_t busAddress) const {
    for (size_t i = ranges_.size(); i-- > 0;) {
        const Range& range = ranges_[i];
        const uint32_t offset = busAddress - range.busAddress;
        if (range.bytes >= sizeof(uint32_t) && offset <= range.bytes - sizeof(uint32_t)) {
            return range.memory + offset;
        }
    }
    return nullptr;
}

bool DmaEngine::Next(uint32_t& word) {
    const uint8_t* source = Find(address_);
    if (source == nullptr) {
        wordsLeft_ = 0;
        return false;
    }
    std::memcpy(&word, source, sizeof word);
    address_ += sizeof word;
    --wordsLeft_;
    return true;
}

} // namespace board
