#pragma once
// The pictures of the demo.
#include "tools/korv/chips/chips.h"
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
};

bool CanDraw(const ChipChoice& chip, const Scene& scene);

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

// The pictures of the animation, and those of the video, counted from 0.
constexpr int kAnimationFrames = 12;
void DrawAnimationFrame(Painter& painter, int frame);

} // namespace korv
