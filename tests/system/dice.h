#pragma once
// Seeded numbers for scenes.
#include <cstdint>
#include <random>

namespace test {

class Dice {
  public:
    explicit Dice(uint32_t seed) : engine_(seed) {}
    float Between(float low, float high) {
        return low + (high - low) * static_cast<float>(engine_() % 65536) / 65535;
    }
    uint32_t Below(uint32_t limit) { return engine_() % limit; }
    uint32_t Byte(uint32_t low, uint32_t high) { return low + engine_() % (high - low + 1); }

  private:
    std::mt19937 engine_;
};

} // namespace test
