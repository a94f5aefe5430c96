#pragma once
// The pictures of the demo.
#include "tools/korv/chips/chips.h"
#include "tools/korv/images/captions.h"
#include "tools/korv/painting/painter.h"

#include <span>
#include <string>
#include <string_view>

namespace korv {

enum class Needs { Nothing, Textures, Stretches, Video };

struct Scene {
    std::string_view name;
    std::string_view about;
    void (*draw)(Painter& painter);
    Needs needs = Needs::Nothing; // of the chip
    bool flips = false;           // draws a picture after the other, each with a flip
    // What the parts of the picture are; null where it is all one.
    CellNames (*cells)(const Painter& painter) = nullptr;
    // What is missing from the chip's picture; empty if nothing is. Null where no chip lacks
    // anything.
    std::string_view (*lacks)(const ChipChoice& chip) = nullptr;
};

bool CanDraw(const ChipChoice& chip, const Scene& scene);

// What chips that can't draw such a scene have not: "no textures".
std::string_view Lack(Needs needs);

// All scenes, in the order of the contact sheet.
std::span<const Scene> Scenes();

// The scene of that name. UserError, with the names that exist, for any other.
const Scene& SceneByName(std::string_view name);

// "knot, knot-flat, ..."
std::string SceneNames();

// Each draws its whole picture, from the clearing on. States are as after the start of a device:
// Gouraud shading, no culling, no depth test, no blending, fog or stipple.
void DrawKnot(Painter& painter);
void DrawKnotFlat(Painter& painter);
void DrawFogFloor(Painter& painter);
void DrawStippledAlpha(Painter& painter);
void DrawBlendFactors(Painter& painter);
void DrawCrossing(Painter& painter);
void DrawSlivers(Painter& painter);
void DrawTextureFloor(Painter& painter);
void DrawTextureFormats(Painter& painter);
void DrawSprites(Painter& painter);
void DrawTiles(Painter& painter);
void DrawTextureBlends(Painter& painter);
void DrawTextureFog(Painter& painter);
void DrawTunnel(Painter& painter);
void DrawLandscape(Painter& painter);
void DrawWireframe(Painter& painter);
void DrawVisibility(Painter& painter);
void DrawStretches(Painter& painter);
void DrawKeyedBlits(Painter& painter);
void DrawAnimation(Painter& painter);
void DrawVideo(Painter& painter);
void DrawTwoClients(Painter& painter);

// The parts of those pictures that are made of many.
CellNames StippleCells(const Painter& painter);
CellNames BlendCells(const Painter& painter);
CellNames FormatCells(const Painter& painter);
CellNames TileCells(const Painter& painter);
CellNames TextureBlendCells(const Painter& painter);
CellNames AnimationCells(const Painter& painter);
CellNames VideoCells(const Painter& painter);

// The pictures of the animation, and those of the video, counted from 0.
constexpr int kAnimationFrames = 12;
// As the demo lays them side by side.
constexpr int kFilmColumns = 4, kFilmRows = 3;
static_assert(kFilmColumns * kFilmRows == kAnimationFrames);
void DrawAnimationFrame(Painter& painter, int frame);

} // namespace korv
