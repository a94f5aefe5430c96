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

// The word that a single goes out as.
inline uint32_t Bits(float value) {
    return std::bit_cast<uint32_t>(value);
}

} // namespace test
