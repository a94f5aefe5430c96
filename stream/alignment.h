#pragma once
// Two sequences that are read from their start, aligned by what they have in common.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>
#include <vector>

namespace stream {

// How far two sequences of `a` and `b` elements are apart before they are one again: the fewest
// elements of both together behind which `run` of them are the same, or both end. Pairs of equal
// shares come first. {a, b} if they are not one again. same(i, j) compares elements.
template <class Same>
std::pair<size_t, size_t> Apart(size_t a, size_t b, size_t run, bool ends, Same same) {
    const auto meet = [&](size_t i, size_t j) {
        size_t length = 0;
        while (length < run && i + length < a && j + length < b && same(i + length, j + length)) {
            ++length;
        }
        return length == run || (ends && i + length == a && j + length == b);
    };
    for (size_t sum = 1; sum <= a + b; ++sum) {
        for (size_t off = sum % 2; off <= sum; off += 2) {
            const size_t low = (sum - off) / 2, high = sum - low;
            if (low <= a && high <= b && meet(low, high)) {
                return {low, high};
            }
            if (off != 0 && high <= a && low <= b && meet(high, low)) {
                return {high, low};
            }
        }
    }
    return {a, b};
}

// Which elements of two short sequences belong together, ascending in both: those for which
// weight(i, j) adds up to the most; 0 for two that do not.
template <class Weight>
std::vector<std::pair<size_t, size_t>> Pairs(size_t a, size_t b, Weight weight) {
    std::vector<std::pair<size_t, size_t>> pairs;
    if (a * b > 1'000'000) {
        for (size_t i = 0; i < std::min(a, b); ++i) {
            if (weight(i, i) != 0) {
                pairs.emplace_back(i, i);
            }
        }
        return pairs;
    }
    // Of the best pairing of what lies behind i and j.
    std::vector<uint32_t> best((a + 1) * (b + 1));
    const auto at = [&](size_t i, size_t j) -> uint32_t& { return best[i * (b + 1) + j]; };
    for (size_t i = a; i-- != 0;) {
        for (size_t j = b; j-- != 0;) {
            const uint32_t both = weight(i, j);
            at(i, j) = std::max(
                {at(i + 1, j), at(i, j + 1), both != 0 ? both + at(i + 1, j + 1) : uint32_t{0}});
        }
    }
    for (size_t i = 0, j = 0; i < a && j < b;) {
        const uint32_t both = weight(i, j);
        if (both != 0 && at(i, j) == both + at(i + 1, j + 1)) {
            pairs.emplace_back(i++, j++);
        } else if (at(i, j) == at(i + 1, j)) {
            ++i;
        } else {
            ++j;
        }
    }
    return pairs;
}

} // namespace stream
