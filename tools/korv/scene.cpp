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
    {"texture-floor", "floor in perspective beside one without", DrawTextureFloor, true},
    {"formats", "every texture format of the chip, by name", DrawTextureFormats, true},
    {"sprites", "faces cut out by a colour key, which the TX has not", DrawSprites, true},
    {"tiles", "repeated, mirrored, clamped; nearest and mixed texels", DrawTiles, true},
    {"texture-blend", "every way to mix texture and light", DrawTextureBlends, true},
    {"texture-fog", "fog and gloss over textures", DrawTextureFog, true},
    {"tunnel", "tunnel with mip maps above and without below", DrawTunnel, true},
    {"landscape", "25,088 triangles in strips, textured where the chip can", DrawLandscape},
    {"wireframe", "a ball as edges and as corners", DrawWireframe},
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
