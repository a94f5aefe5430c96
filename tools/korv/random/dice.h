#pragma once
// Random choices that are the same for a seed on every machine and library.
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>

namespace korv::random {

class Dice {
  public:
    explicit Dice(uint64_t seed) : engine_(seed) {}

    // A number from `low` to `high`.
    uint32_t From(uint32_t low, uint32_t high) {
        return low + static_cast<uint32_t>(engine_() % (uint64_t{high} - low + 1));
    }
    // True `percent` times in a hundred.
    bool Chance(uint32_t percent) { return From(0, 99) < percent; }
    uint32_t Word() { return static_cast<uint32_t>(engine_()); }
    // A quarter of `low` to `high`, in pixels.
    double Quarter(int low, int high) {
        return low + From(0, static_cast<uint32_t>(high - low) * 4) / 4.0;
    }

    template <class T, size_t n>
    const T& Of(const T (&values)[n]) {
        return values[From(0, n - 1)];
    }
    template <class List>
    auto& Of(List& values) {
        return values[From(0, static_cast<uint32_t>(values.size()) - 1)];
    }

  private:
    std::mt19937_64 engine_;
};

} // namespace korv::random
