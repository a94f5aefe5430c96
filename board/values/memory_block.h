#pragma once
// The bytes of one of the board's memories: its own, or lent by whoever wants to lay them out.
#include "board/values/zeroed_memory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace board {

class MemoryBlock {
  public:
    MemoryBlock() = default;
    // A copy has the bytes for its own.
    MemoryBlock(const MemoryBlock& other) { *this = other; }
    MemoryBlock& operator=(const MemoryBlock& other) {
        own_ = ZeroedBytes(other.bytes_);
        bytes_ = {own_.data(), own_.size()};
        return *this;
    }
    bool operator==(const MemoryBlock& other) const {
        return std::equal(begin(), end(), other.begin(), other.end());
    }

    // `bytes` of zeroes of its own; if `lent` is not empty, that memory instead: `bytes` of zeroes
    // that outlive this block.
    void Init(size_t bytes, std::span<uint8_t> lent) {
        if (lent.empty()) {
            own_ = ZeroedBytes(bytes);
            bytes_ = {own_.data(), bytes};
        } else {
            bytes_ = lent.first(bytes);
        }
    }

    uint8_t* data() { return bytes_.data(); }
    const uint8_t* data() const { return bytes_.data(); }
    size_t size() const { return bytes_.size(); }
    uint8_t* begin() { return data(); }
    uint8_t* end() { return data() + size(); }
    const uint8_t* begin() const { return data(); }
    const uint8_t* end() const { return data() + size(); }
    uint8_t& operator[](size_t i) { return bytes_[i]; }
    uint8_t operator[](size_t i) const { return bytes_[i]; }

  private:
    ZeroedBytes own_;
    std::span<uint8_t> bytes_;
};

} // namespace board
