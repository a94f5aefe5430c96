#pragma once
// The chips by the names that users give them.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace korv {

struct ChipChoice {
    std::string_view name;
    std::string_view about;
    uint32_t deviceId;
    bool setupUnit; // a setup unit in front of the rasteriser
    bool allBlendFactors;
    bool drawsTextures;
    bool stretches; // blits can stretch, mirror and leave a colour out
};

// All chips, those without a setup unit first.
std::span<const ChipChoice> Chips();

// The chip of that name. UserError, with the names that exist, for any other.
const ChipChoice& ChipByName(std::string_view name);

// Whether the board takes video in.
bool HasVideoPort(const ChipChoice& chip);

// Whether texels of one colour can be left out of what is drawn.
bool KeysTextures(const ChipChoice& chip);

// Whether triangles are drawn as their corners.
bool DrawsCorners(const ChipChoice& chip);

// Whether specular colour is added to textures.
bool AddsGloss(const ChipChoice& chip);

// "sx, tx, mx, ..." of all chips.
std::string ChipNames();
// The same of those that draw textures.
std::string TexturingChipNames();
// The same of those whose blits stretch.
std::string StretchingChipNames();
// The same of those with a video port.
std::string VideoChipNames();

} // namespace korv
