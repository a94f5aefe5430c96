#pragma once
// Triangles that the reference rasteriser knows: their picture against its picture.
#include "tools/korv/random/known_states.h"
#include "tools/korv/reference/reference.h"
#include "tools/korv/replay/player.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace korv::random {

// Surfaces by the names of the textures that were made of them.
using TextureSurfaces = std::map<std::string, std::string>;

// A `triangles` step right behind a `states` step of all that KnownStateOf wants.
class TriangleCheck {
  public:
    // None if the step is no such one. All that its context has pending is executed first.
    // `compares` false: only that, so that all plays of a session are alike.
    static std::optional<TriangleCheck> Of(const Steps& steps, size_t step, Player& player,
                                           const TextureSurfaces& textures, bool compares);
    // What is wrong with the picture behind the step, if anything.
    std::optional<std::string> Problem(Player& player);

  private:
    struct Part {
        uint32_t left = 0, top = 0; // of the target, pixels
    };

    // What there is to compare with, unless that is left out.
    void Expect(const Step& vertices, const KnownState& known, Player& player,
                const TextureSurfaces& textures);

    std::string context_, target_;
    uint32_t bits_ = 0;    // of a pixel
    double tolerance_ = 0; // 255ths
    reference::Image before_;
    std::vector<reference::Triangle3> triangles_; // where they lie in the part
    reference::ChipTraits traits_;
    // Of the part that the triangles lie in. None: nothing is compared.
    std::optional<reference::Reference> expected_;
    Part part_;
};

} // namespace korv::random
