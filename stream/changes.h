#pragma once
// Which writes of registers change something.
#include "chip/register_table.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace stream {

// The register at an aperture offset, for one of the vertex store its group; null for none.
const Register* RowAt(uint32_t offset);

// Follows writes. What a register held before its first one is not known, so that one is a change.
class Changes {
  public:
    // True if the write gives the register another value, or is a command, which acts each time.
    bool Take(uint32_t offset, uint32_t value);

  private:
    std::vector<std::optional<uint32_t>> registers_ =
        std::vector<std::optional<uint32_t>>(reg::ApertureBytes / 4); // by offset / 4
};

} // namespace stream
