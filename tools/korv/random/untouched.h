#pragma once
// Memory of boards that no surface has, which nobody writes.
#include "tools/korv/replay/player.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace korv::random {

class Untouched {
  public:
    // From here on, with the surfaces that there are now.
    void Begin(Player& player);
    // What has been written since, if anything was. The surfaces are still where they were.
    std::optional<std::string> Problem() const;

  private:
    struct Stretch {
        size_t start, end; // bytes; the end is behind it
    };
    struct Memory {
        std::vector<uint8_t> bytes;
        std::vector<Stretch> outside;
    };

    std::map<const uint8_t*, Memory> memories_; // by their start
};

} // namespace korv::random
