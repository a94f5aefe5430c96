#pragma once
// What the chip writes outside every surface, found by comparing.
#include "stream/surfaces.h"

#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace stream {

class OutsideWatch {
  public:
    // What `memory` is of, and what it holds now.
    OutsideWatch(Memory kind, std::span<const uint8_t> memory)
        : kind_(kind), memory_(memory), known_(memory.begin(), memory.end()) {}

    // The processor has stored there.
    void Store(uint32_t offset, size_t bytes);
    // The first and the last byte that have changed since the last time outside these surfaces.
    std::optional<std::pair<uint32_t, uint32_t>> Look(const std::vector<SurfaceLayout>& surfaces);

  private:
    const Memory kind_;
    const std::span<const uint8_t> memory_;
    std::vector<uint8_t> known_;
};

} // namespace stream
