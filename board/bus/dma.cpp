#include "board/bus/dma.h"

#include <cstring>

namespace board {

void DmaEngine::Start(uint32_t busAddress, uint32_t words) {
    address_ = busAddress;
    wordsLeft_ = words;
    source_ = {};
}

bool DmaEngine::Next(uint32_t& word) {
    if (source_.size() < sizeof word || revision_ != host_.Revision()) {
        source_ = host_.WordsFrom(address_);
        revision_ = host_.Revision();
    }
    if (source_.size() >= sizeof word) {
        std::memcpy(&word, source_.data(), sizeof word);
        source_ = source_.subspan(sizeof word);
    } else if (!host_.ReadWord(address_, word)) {
        wordsLeft_ = 0;
        return false;
    }
    address_ += sizeof word;
    --wordsLeft_;
    return true;
}

} // namespace board
