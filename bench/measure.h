#pragma once
// Timing for the benchmark programs.
#include <algorithm>
#include <chrono>
#include <vector>

namespace bench {

template <class Work>
double Seconds(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Reorders `values`, which must not be empty.
inline double Median(std::vector<double>& values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

} // namespace bench
