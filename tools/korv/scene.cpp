#include "tools/korv/scene.h"

#include <algorithm>

#include <fmt/format.h>

#include "tools/korv/errors.h"

namespace korv {

namespace {

constexpr Scene kScenes[] = {
    {"knot", "torus knot, Gouraud, depth buffer", DrawKnot},
    {"knot-flat", "torus knot, flat, depth buffer", DrawKnotFlat},
    {"fog-floor", "checkered floor that goes off into fog", DrawFogFloor},
    {"stipple", "stippled alpha, sixteen steps over stripes", DrawStippledAlpha},
    {"blend", "every pair of blend factors of the chip over a pattern", DrawBlendFactors},
    {"crossing", "triangles that cut through each other", DrawCrossing},
    {"slivers", "fans of thin triangles: no gap, no pixel twice", DrawSlivers},
};

} // namespace

std::span<const Scene> Scenes() {
    return kScenes;
}

const Scene& SceneByName(std::string_view name) {
    const auto found = std::ranges::find(kScenes, name, &Scene::name);
    if (found == std::end(kScenes))
        throw UserError(fmt::format("unknown scene '{}': expected one of {}", name, SceneNames()));
    return *found;
}

std::string SceneNames() {
    std::string names;
    for (const Scene& scene : kScenes)
        names += fmt::format("{}{}", names.empty() ? "" : ", ", scene.name);
    return names;
}

} // namespace korv
