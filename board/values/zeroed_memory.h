#pragma once
// Large memories that are zero at first. The system hands them out so, and gives a page only when
// something touches it: a board that draws little costs little.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <utility>

namespace board {

class ZeroedBytes {
  public:
    ZeroedBytes() = default;
    explicit ZeroedBytes(size_t bytes) : bytes_(Zeroes(bytes)), size_(bytes) {}
    explicit ZeroedBytes(std::span<const uint8_t> values) : ZeroedBytes(values.size()) {
        std::copy(values.begin(), values.end(), begin());
    }
    ZeroedBytes(const ZeroedBytes& other) : ZeroedBytes(std::span(other.data(), other.size_)) {}
    ZeroedBytes& operator=(ZeroedBytes other) {
        bytes_.swap(other.bytes_);
        std::swap(size_, other.size_);
        return *this;
    }

    uint8_t* data() { return bytes_.get(); }
    const uint8_t* data() const { return bytes_.get(); }
    bool empty() const { return size_ == 0; }
    size_t size() const { return size_; }
    uint8_t* begin() { return data(); }
    uint8_t* end() { return data() + size_; }
    const uint8_t* begin() const { return data(); }
    const uint8_t* end() const { return data() + size_; }
    uint8_t& operator[](size_t i) { return bytes_[i]; }
    uint8_t operator[](size_t i) const { return bytes_[i]; }

  private:
    struct Free {
        void operator()(uint8_t* bytes) const { std::free(bytes); }
    };

    static uint8_t* Zeroes(size_t bytes) {
        if (bytes == 0) {
            return nullptr;
        }
        void* memory = std::calloc(bytes, 1);
        // None is told as operator new tells it, with exceptions or without.
        return memory != nullptr ? static_cast<uint8_t*>(memory)
                                 : std::allocator<uint8_t>().allocate(~size_t{0});
    }

    std::unique_ptr<uint8_t[], Free> bytes_;
    size_t size_ = 0;
};

} // namespace board
