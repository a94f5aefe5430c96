#pragma once
// Fills, copies and loads that a processor can do as well: what they leave against what it makes.
#include "tools/korv/random/pixels.h"
#include "tools/korv/random/session.h"
#include "tools/korv/replay/player.h"

#include <optional>
#include <string>
#include <utility>

namespace korv::random {

class BlitCheck {
  public:
    // None if the step is no blit, or one that the driver is meant to do otherwise
    // (copy_exceptions.h).
    static std::optional<BlitCheck> Of(const Step& step, Player& player);
    // What is wrong behind the step, which was done, if anything.
    std::optional<std::string> Problem(Player& player) const;

  private:
    BlitCheck(std::string surface, Pixels pixels)
        : surface_(std::move(surface)), pixels_(std::move(pixels)) {}

    std::string surface_; // that is written
    Pixels pixels_;       // that it must have
};

// What is wrong behind a `loadTexture` step, if anything: each level is what it was loaded from.
std::optional<std::string> LoadProblem(const Step& step, Player& player);

} // namespace korv::random
