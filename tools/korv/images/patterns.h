#pragma once
// Images for textures, made by formula. Sides are in pixels and powers of two.
#include "driver/platform/d3dhal.h"
#include "host/picture.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace korv {

// A wall of bricks that repeats without a seam.
host::Picture Bricks(uint32_t side);

// A checkerboard of 8 by 8 fields, whose corners are named by their texture coordinates.
host::Picture LabelledChecker(uint32_t side);

// A white letter F on ground that goes to red rightwards and to green downwards: no turn of it is
// like another.
host::Picture LetterTile(uint32_t side);

// All hues around the centre, white in it, on dark grey.
host::Picture ColourWheel(uint32_t side);

// Eight stripes of full colour that fade from opaque on the left to clear on the right.
host::Picture FadingStripes(uint32_t side);

// A round face on ground of the colour `key`.
host::Picture Face(uint32_t side, D3DCOLOR key);

// Grass and rock, repeating without a seam.
host::Picture Ground(uint32_t side);

struct Pattern {
    std::string_view name;
    std::string_view about;
    host::Picture (*make)(uint32_t side);
};

// The patterns that have a name, in the order in which they are listed to the user.
std::span<const Pattern> NamedPatterns();

// White text in the middle of a dark sign.
host::Picture Sign(uint32_t width, uint32_t height, std::string_view text);

} // namespace korv
