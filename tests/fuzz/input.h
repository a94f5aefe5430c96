#pragma once
// Choices made from the bytes of an input, in their order. Behind the last one all are 0.
#include "tests/fuzz/target.h"

#include <algorithm>
#include <cstring>

namespace fuzz {

class Input {
  public:
    explicit Input(Bytes bytes) : rest_(bytes) {}

    bool AtEnd() const { return rest_.empty(); }
    uint8_t Byte() {
        if (rest_.empty()) {
            return 0;
        }
        const uint8_t byte = rest_.front();
        rest_ = rest_.subspan(1);
        return byte;
    }
    uint32_t Word() {
        uint32_t word = 0;
        const Bytes bytes = Take(sizeof word);
        if (!bytes.empty()) {
            std::memcpy(&word, bytes.data(), bytes.size());
        }
        return word;
    }
    // A number below `end`, which is above 0; from as few bytes as do.
    uint32_t Below(uint32_t end) {
        uint32_t number = 0;
        for (uint32_t most = end - 1; most != 0; most >>= 8) {
            number = number << 8 | Byte();
        }
        return number % end;
    }
    // So many bytes, or those that are left.
    Bytes Take(size_t count) {
        const Bytes taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }
    Bytes Rest() { return Take(rest_.size()); }

  private:
    Bytes rest_;
};

} // namespace fuzz
