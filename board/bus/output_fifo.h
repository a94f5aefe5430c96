#pragma once
// The output FIFO: words for the processor to read back. It has no limit of its own.
#include "board/values/state_visitor.h"

#include <cstdint>
#include <deque>

namespace board {

class OutputFifo {
  public:
    bool Empty() const { return words_.empty(); }
    uint32_t Count() const { return static_cast<uint32_t>(words_.size()); }
    // The oldest word, 0 without one.
    uint32_t Front() const { return words_.empty() ? 0 : words_.front(); }
    void Push(uint32_t word) { words_.push_back(word); }
    // The oldest word. Must not be empty.
    uint32_t Pop() {
        const uint32_t word = words_.front();
        words_.pop_front();
        return word;
    }
    void Visit(StateVisitor& visit) {
        auto& [words] = *this;
        std::vector<uint64_t> list(words.begin(), words.end());
        visit.List("words", list, 1, StateVisitor::Word32);
        words.assign(list.begin(), list.end());
    }

  private:
    std::deque<uint32_t> words_;
};

} // namespace board
