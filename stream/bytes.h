#pragma once
// Numbers and texts in the bytes of a capture: little-endian, or as LEB128 (seven bits a byte, low
// ones first, the top bit set on all but the last).
#include "stream/error.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace stream {

class ByteWriter {
  public:
    size_t Size() const { return bytes_.size(); }
    std::span<const uint8_t> Bytes() const { return bytes_; }
    void Clear() { bytes_.clear(); }

    void Byte(uint8_t value) { bytes_.push_back(value); }
    void U16(uint16_t value) { Little(value, 2); }
    void U32(uint32_t value) { Little(value, 4); }
    void U64(uint64_t value) { Little(value, 8); }
    void Number(uint64_t value) {
        for (; value >= 0x80; value >>= 7) {
            Byte(static_cast<uint8_t>(value | 0x80));
        }
        Byte(static_cast<uint8_t>(value));
    }
    void Raw(std::span<const uint8_t> bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }
    // Its length as a number, then its bytes.
    void Text(std::string_view text) {
        Number(text.size());
        bytes_.insert(bytes_.end(), text.begin(), text.end());
    }
    // Changes what has been written at `place`.
    void PutU16(size_t place, uint16_t value) {
        bytes_[place] = static_cast<uint8_t>(value);
        bytes_[place + 1] = static_cast<uint8_t>(value >> 8);
    }

  private:
    void Little(uint64_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            Byte(static_cast<uint8_t>(value >> (8 * i)));
        }
    }
    std::vector<uint8_t> bytes_;
};

// Every read that would go past the end throws StreamError.
class ByteReader {
  public:
    explicit ByteReader(std::span<const uint8_t> bytes = {})
        : at_(bytes.data()), end_(bytes.data() + bytes.size()) {}

    bool AtEnd() const { return at_ == end_; }
    size_t Left() const { return static_cast<size_t>(end_ - at_); }

    uint8_t Byte() { return *Take(1); }
    uint16_t U16() {
        const uint8_t* p = Take(2);
        return static_cast<uint16_t>(p[0] | p[1] << 8);
    }
    uint32_t U32() {
        const uint8_t* p = Take(4);
        return p[0] | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
    }
    uint64_t U64() {
        const uint64_t low = U32();
        return low | uint64_t{U32()} << 32;
    }
    uint64_t Number() {
        uint64_t value = 0;
        for (int shift = 0; shift < 64; shift += 7) {
            const uint8_t byte = Byte();
            value |= uint64_t{byte & 0x7Fu} << shift;
            if (byte < 0x80) {
                return value;
            }
        }
        throw StreamError("a number has too many bytes");
    }
    // A number that must not be above `most`.
    uint32_t Number(uint32_t most) {
        const uint64_t value = Number();
        if (value > most) {
            throw StreamError("a number is out of its range");
        }
        return static_cast<uint32_t>(value);
    }
    std::span<const uint8_t> Raw(size_t bytes) { return {Take(bytes), bytes}; }
    std::string Text() {
        const size_t length = Number(static_cast<uint32_t>(Left()));
        const uint8_t* p = Take(length);
        return {p, p + length};
    }

  private:
    const uint8_t* Take(size_t bytes) {
        if (Left() < bytes) {
            throw StreamError("what it says ends too early");
        }
        const uint8_t* p = at_;
        at_ += bytes;
        return p;
    }
    const uint8_t* at_;
    const uint8_t* end_;
};

} // namespace stream
