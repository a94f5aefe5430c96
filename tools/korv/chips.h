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
    bool canDraw;   // the driver's renderers for it are there
    bool allBlendFactors;
};

// All chips, those that draw first.
std::span<const ChipChoice> Chips();

// The chip of that name. UserError, with the names that exist, for any other.
const ChipChoice& ChipByName(std::string_view name);

// The same for a chip that is to draw. UserError for one that cannot yet.
const ChipChoice& DrawingChipByName(std::string_view name);

// "sx, tx, mx, ..." of all chips, or of those that draw.
std::string ChipNames(bool drawingOnly = false);

} // namespace korv
