#pragma once
// Triangles that the reference rasteriser knows: their picture against its picture.
#include "tools/korv/random/session.h"
#include "tools/korv/reference/reference.h"
#include "tools/korv/replay/player.h"

#include <optional>
#include <string>

namespace korv::random {

// Render states, as a `states` step takes them, that leave nothing else to what was set before: for
// triangles without texture and depth.
Step StatesOf(const reference::DrawState& state);

// A `triangles` step right behind a `states` step of all these.
class TriangleCheck {
  public:
    // None if the step is no such one. All that its context has pending is executed first.
    // `compares` false: only that, so that all plays of a session are alike.
    static std::optional<TriangleCheck> Of(const Steps& steps, size_t step, Player& player,
                                           bool compares);
    // What is wrong with the picture behind the step, if anything.
    std::optional<std::string> Problem(Player& player);

  private:
    std::string context_, target_;
    bool compares_ = true;
    uint32_t bits_ = 0; // of a pixel
    std::optional<reference::Reference> expected_;
};

} // namespace korv::random
