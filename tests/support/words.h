#pragma once
// Words of a stream as tests write them down.
#include <bit>
#include <cstdint>
#include <vector>

namespace test {

using Words = std::vector<uint32_t>;

inline Words operator+(Words left, const Words& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

// The word that a single goes out as.
inline uint32_t Bits(float value) {
    return std::bit_cast<uint32_t>(value);
}

} // namespace test
