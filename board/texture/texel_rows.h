#pragma once
// The texture unit for rows: the same texels and colours as SampleTexture pixel by pixel, where the
// whole map lies in memory and coordinates stay in range.
#include "board/texture/texture_unit.h"
#include "board/values/format_rows.h"

#include <cstdint>

namespace board {

// Derived from a TextureState, for which alone it holds.
struct TexelPlan {
    bool possible; // else every pixel goes by itself
    bool drops;    // the chroma test may leave pixels out
    bool detailed; // texels depend on the level of detail
    // The map with all its levels, within the state's memory: no texel of it is outside.
    const uint8_t* mapBegin;
    const uint8_t* mapEnd;
    ConvertRow expand; // of texels with channels
};

TexelPlan PlanTexels(const TextureState& state);

// How far interpolants are stepped: their values at the leftmost pixel and their steps to the
// right, by Interpolants::Channel.
struct TexelWalk {
    const int64_t* first;
    const int64_t* step;
};

// True if TextureRow can draw `pixels` pixels of this walk: coordinates stay in range from end to
// end.
bool TexelsInRange(const TextureState& state, const TexelWalk& walk, int64_t pixels);

// Textures up to kRowPixels fragments, given their colours. Those that the chroma test drops get 0
// in `drawn`. `slopes` count if the plan is detailed.
void TextureRow(const TexelPlan& plan, const TextureState& state, const TexelWalk& walk,
                const TextureSlopes& slopes, int32_t pixels, uint32_t* colours, uint32_t* drawn);

} // namespace board
