#pragma once
// Words of a stream as tests write them down.
#include <bit>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

namespace test {

using Words = std::vector<uint32_t>;

inline Words operator+(Words left, const Words& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// Tags, each with its word behind it.
inline Words Pairs(std::initializer_list<std::pair<uint32_t, uint32_t>> pairs) {
    Words words;
    for (const auto& [tagNumber, word] : pairs) {
        words.push_back(tagNumber);
        words.push_back(word);
    }
    return words;
}

// The tag word of an indexed burst: bit n of `mask` stands for the register at group + n.
inline uint32_t IndexedTag(uint32_t group, uint32_t mask) {
    return mask << 16 | 0x8000 | group;
}

// Registers of one group of 16 in an indexed burst, the lowest first.
inline Words Indexed(std::initializer_list<std::pair<uint32_t, uint32_t>> writes) {
    Words words = {0};
    uint32_t mask = 0;
    for (const auto& [tagNumber, word] : writes) {
        mask |= 1u << (tagNumber & 15);
        words.push_back(word);
    }
    words[0] = IndexedTag(writes.begin()->first & ~15u, mask);
    return words;
}

// The word that a single goes out as.
inline uint32_t Bits(float value) {
    return std::bit_cast<uint32_t>(value);
}

} // namespace test
