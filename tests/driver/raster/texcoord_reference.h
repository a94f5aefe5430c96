#pragma once
// Range reduction and wrap of texture coordinates by value, on lists of numbers.
#include <algorithm>
#include <cmath>
#include <vector>

namespace reference {

// For coordinates without NaN.
inline void Reduce(std::vector<float>& t, float limit, int range) {
    const float top = *std::max_element(t.begin(), t.end());
    const float bottom = *std::min_element(t.begin(), t.end());
    int repeats = 0;
    if (top >= limit) {
        repeats = static_cast<int>(std::nearbyint(top)) - range;
    } else if (bottom <= -limit) {
        repeats = static_cast<int>(std::nearbyint(bottom)) + range;
    }
    for (float& value : t) {
        value -= static_cast<float>(repeats);
    }
}

// A triangle's coordinates: the vertex alone, if there is one, or its two fellows move up.
inline bool Wrap(std::vector<float>& t) {
    const auto far = [&t](int i, int j) { return std::fabs(t[j] - t[i]) > 0.5f; };
    // In the order in which they are tried, with the vertex that each is compared with.
    const int alone[3] = {1, 2, 0}, against[3] = {2, 0, 1};
    for (int rule = 0; rule < 3; ++rule) {
        const int one = alone[rule];
        const int other = (one + 1) % 3, third = (one + 2) % 3;
        if (far(one, other) && far(one, third)) {
            if (t[one] >= t[against[rule]]) {
                t[other] += 1.0f;
                t[third] += 1.0f;
            } else {
                t[one] += 1.0f;
            }
            return true;
        }
    }
    return false;
}

} // namespace reference
