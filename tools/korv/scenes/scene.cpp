#include "tools/korv/scenes/scene.h"

#include "tools/korv/base/errors.h"

#include <fmt/format.h>

#include <algorithm>

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
    {"texture-floor", "floor in perspective beside one without", DrawTextureFloor, Needs::Textures},
    {"formats", "every texture format of the chip, by name", DrawTextureFormats, Needs::Textures},
    {"sprites", "faces cut out by a colour key, which the TX has not", DrawSprites,
     Needs::Textures},
    {"tiles", "repeated, mirrored, clamped; nearest and mixed texels", DrawTiles, Needs::Textures},
    {"texture-blend", "every way to mix texture and light", DrawTextureBlends, Needs::Textures},
    {"texture-fog", "fog and gloss over textures", DrawTextureFog, Needs::Textures},
    {"tunnel", "tunnel with mip maps above and without below", DrawTunnel, Needs::Textures},
    {"landscape", "25,088 triangles in strips, textured where the chip can", DrawLandscape},
    {"wireframe", "a ball as edges and as corners", DrawWireframe},
    {"visibility", "balls behind towers: those that the chip says are hidden stay undrawn",
     DrawVisibility},
    {"stretch", "a picture copied, stretched and mirrored by blits", DrawStretches,
     Needs::Stretches},
    {"keyed-blits", "faces blitted over the knot, all but their key", DrawKeyedBlits,
     Needs::Stretches},
    {"client", "Direct3D's knot, and a ring by another client of the chip", DrawTwoClients},
    {"animation", "twelve pictures of a turning knot, shown by flips", DrawAnimation,
     Needs::Nothing, true},
    {"video", "twelve fields of a test card through the video port", DrawVideo, Needs::Video, true},
};

} // namespace

bool CanDraw(const ChipChoice& chip, const Scene& scene) {
    switch (scene.needs) {
    case Needs::Textures:
        return chip.drawsTextures;
    case Needs::Stretches:
        return chip.stretches;
    case Needs::Video:
        return HasVideoPort(chip);
    default:
        return true;
    }
}

std::span<const Scene> Scenes() {
    return kScenes;
}

const Scene& SceneByName(std::string_view name) {
    const auto found = std::ranges::find(kScenes, name, &Scene::name);
    if (found == std::end(kScenes)) {
        throw UserError(fmt::format("unknown scene '{}': expected one of {}", name, SceneNames()));
    }
    return *found;
}

std::string SceneNames() {
    std::string names;
    for (const Scene& scene : kScenes) {
        names += fmt::format("{}{}", names.empty() ? "" : ", ", scene.name);
    }
    return names;
}

} // namespace korv
