#include "board/bus/dma.h"

#include <cstring>

namespace board {

void DmaEngine::Start(uint32_t busAddress, uint32_t words) {
    address_ = busAddress;
    wordsLeft_ = words;
}

bool DmaEngine::Next(uint32_t& word) {
    const std::span<const uint8_t> source = host_.From(address_);
    if (source.size() < sizeof word) {
        wordsLeft_ = 0;
        return false;
    }
    std::memcpy(&word, source.data(), sizeof word);
    address_ += sizeof word;
    --wordsLeft_;
    return true;
}

} // namespace board
