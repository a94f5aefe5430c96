#include "tools/korv/scenes/scene.h"

#include "tools/korv/base/errors.h"

#include <fmt/format.h>

#include <algorithm>

namespace korv {

namespace {

// Captions of pictures that are two halves, or one whole with something to be said of it.
CellNames SliverCells(const Painter&) {
    return {2, {"two colours by turns", "each adds one colour"}};
}
CellNames TextureFloorCells(const Painter&) {
    return {2, {"in perspective", "linear on the screen"}};
}
CellNames TunnelCells(const Painter&) {
    return {1, {"above: with mip maps; below: without"}};
}
CellNames WireframeCells(const Painter&) {
    return {2, {"edges", "corners"}};
}
CellNames VisibilityCells(const Painter&) {
    return {1, {"green: seen and drawn; red: hidden and left out"}};
}
CellNames ClientCells(const Painter&) {
    return {2, {"Direct3D", "another client of the chip"}};
}

std::string_view LackOfTextures(const ChipChoice& chip) {
    return chip.drawsTextures ? "" : "without textures";
}
std::string_view LackOfKeys(const ChipChoice& chip) {
    return KeysTextures(chip) ? "" : "without colour key";
}
std::string_view LackOfGloss(const ChipChoice& chip) {
    return AddsGloss(chip) ? "" : "without gloss";
}
std::string_view LackOfCorners(const ChipChoice& chip) {
    return DrawsCorners(chip) ? "" : "without corners";
}

constexpr Scene kScenes[] = {
    {.name = "knot", .about = "torus knot, Gouraud, depth buffer", .draw = DrawKnot},
    {.name = "knot-flat", .about = "torus knot, flat, depth buffer", .draw = DrawKnotFlat},
    {.name = "fog-floor", .about = "checkered floor that goes off into fog", .draw = DrawFogFloor},
    {.name = "stipple",
     .about = "stippled alpha, sixteen steps over stripes",
     .draw = DrawStippledAlpha,
     .cells = StippleCells},
    {.name = "blend",
     .about = "every pair of blend factors (source, target) of the chip over a pattern",
     .draw = DrawBlendFactors,
     .cells = BlendCells},
    {.name = "crossing", .about = "triangles that cut through each other", .draw = DrawCrossing},
    {.name = "slivers",
     .about = "fans of thin triangles: no gap, no pixel twice",
     .draw = DrawSlivers,
     .cells = SliverCells},
    {.name = "texture-floor",
     .about = "floor in perspective beside one without",
     .draw = DrawTextureFloor,
     .needs = Needs::Textures,
     .cells = TextureFloorCells},
    {.name = "formats",
     .about = "every texture format of the chip, by name",
     .draw = DrawTextureFormats,
     .needs = Needs::Textures,
     .cells = FormatCells},
    {.name = "sprites",
     .about = "faces cut out by a colour key, which the TX has not",
     .draw = DrawSprites,
     .needs = Needs::Textures,
     .lacks = LackOfKeys},
    {.name = "tiles",
     .about = "repeated, mirrored, clamped; nearest and mixed texels",
     .draw = DrawTiles,
     .needs = Needs::Textures,
     .cells = TileCells},
    {.name = "texture-blend",
     .about = "every way to mix texture and light",
     .draw = DrawTextureBlends,
     .needs = Needs::Textures,
     .cells = TextureBlendCells},
    {.name = "texture-fog",
     .about = "fog and gloss over textures",
     .draw = DrawTextureFog,
     .needs = Needs::Textures,
     .lacks = LackOfGloss},
    {.name = "tunnel",
     .about = "tunnel with mip maps above and without below",
     .draw = DrawTunnel,
     .needs = Needs::Textures,
     .cells = TunnelCells},
    {.name = "landscape",
     .about = "25,088 triangles in strips, textured where the chip can",
     .draw = DrawLandscape,
     .lacks = LackOfTextures},
    {.name = "wireframe",
     .about = "a ball as edges and as corners",
     .draw = DrawWireframe,
     .cells = WireframeCells,
     .lacks = LackOfCorners},
    {.name = "visibility",
     .about = "balls behind towers: those that the chip says are hidden stay undrawn",
     .draw = DrawVisibility,
     .cells = VisibilityCells},
    {.name = "stretch",
     .about = "a picture copied, stretched and mirrored by blits",
     .draw = DrawStretches,
     .needs = Needs::Stretches},
    {.name = "keyed-blits",
     .about = "faces blitted over the knot, all but their key",
     .draw = DrawKeyedBlits,
     .needs = Needs::Stretches},
    {.name = "client",
     .about = "Direct3D's knot, and a ring by another client of the chip",
     .draw = DrawTwoClients,
     .cells = ClientCells},
    {.name = "animation",
     .about = "twelve pictures of a turning knot, shown by flips",
     .draw = DrawAnimation,
     .flips = true,
     .cells = AnimationCells},
    {.name = "video",
     .about = "twelve fields of a test card through the video port",
     .draw = DrawVideo,
     .needs = Needs::Video,
     .flips = true,
     .cells = VideoCells},
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

std::string_view Lack(Needs needs) {
    switch (needs) {
    case Needs::Textures:
        return "no textures";
    case Needs::Stretches:
        return "no stretch blits";
    case Needs::Video:
        return "no video port";
    default:
        return "";
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
