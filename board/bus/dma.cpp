#include "board/bus/dma.h"

namespace board {

void DmaEngine::Start(uint32_t busAddress, uint32_t words) {
    address_ = busAddress;
    wordsLeft_ = words;
}

bool DmaEngine::Next(uint32_t& word) {
    if (!host_.ReadWord(address_, word)) {
        wordsLeft_ = 0;
        return false;
    }
    address_ += sizeof word;
    --wordsLeft_;
    return true;
}

} // namespace board
