#pragma once
// Keeps all that a board is asked and given.
#include "board/recorder.h"

#include <cstdint>
#include <vector>

namespace test {

struct BusEvent {
    char kind;              // r, w, f (word into the FIFO window), d (word by DMA)
    uint32_t offset, value; // of words: 0, the word
    bool operator==(const BusEvent&) const = default;
};

class BusEvents final : public board::BusRecorder {
  public:
    void OnRead(uint32_t offset, uint32_t value) override {
        events.push_back({'r', offset, value});
    }
    void OnWrite(uint32_t offset, uint32_t value) override {
        events.push_back({'w', offset, value});
    }
    void OnFifoWord(uint32_t word) override { events.push_back({'f', 0, word}); }
    void OnDmaWord(uint32_t word) override { events.push_back({'d', 0, word}); }

    std::vector<BusEvent> events;
};

} // namespace test
