#pragma once
// The texture unit: from interpolated coordinates to a texel's colour. The mode words are decoded
// once per primitive.
#include "board/raster/interpolants.h"
#include "board/texture/chroma_key.h"
#include "board/texture/lookup_table.h"
#include "board/texture/texel_format.h"
#include "board/texture/texture_address.h"
#include "board/texture/texture_application.h"
#include "board/values/fault_counts.h"
#include "board/values/host_memory.h"
#include "board/values/memory.h"
#include "board/values/registers.h"

#include <array>
#include <cstdint>

namespace board {

// MinFilter codes of TX and MX.
enum class MinFilter : uint8_t {
    Nearest,
    Linear,
    MipNearest,       // nearest level, nearest texel
    MipLinear,        // nearest level, four texels
    LinearMipNearest, // two levels, nearest texel of each
    LinearMipLinear,  // two levels, four texels of each
};

// True if four texels of a level are mixed.
constexpr bool MixesTexels(MinFilter filter) {
    return filter == MinFilter::Linear || filter == MinFilter::MipLinear ||
           filter == MinFilter::LinearMipLinear;
}

inline constexpr uint32_t kMaxLevels = 12;
// This bit of TextureBaseAddress puts the map into AGP memory.
inline constexpr uint32_t kTextureBaseInAGP = 0x40000000;

// The state of the texture unit for one primitive.
struct TextureState {
    bool enabled;

    // Coordinates.
    bool perspective;
    bool centred;          // coordinates belong to pixel centres, so texels have theirs at .5
    double scaleS, scaleT; // from S / Q, T / Q to texels with kTexelFractionBits
    bool glintTexels;      // without perspective: unsigned, kGlintTexelFractionBits
    Wrap wrapS, wrapT;

    // The map.
    const uint8_t* memory;
    int64_t bytes; // readable at `memory`
    bool patched;
    std::array<TextureLevel, kMaxLevels> levels;
    uint32_t levelCount;

    // Filters.
    bool magLinear;
    MinFilter minFilter;

    // Colours.
    TexelFormat format;
    const LookupTable* table;
    ChromaKey chroma;
    bool ignoreAlpha; // the map counts as one without alpha
    TextureApplication application;
    bool applied;     // else the fragment keeps its colour
    bool highlighted; // Ks is added

    // Fragments may be dropped by their texels.
    bool Drops() const { return chroma.action == ChromaKey::Action::DropInside; }
    // The level of detail makes a difference.
    bool NeedsDetail() const { return levelCount > 1 || magLinear != MixesTexels(minFilter); }
};

// Decodes the mode words of the texture unit. What the board cannot honour is counted in `faults`.
TextureState DecodeTexture(const DeviceRow& chip, const RegisterFile& registers,
                           const Memories& memories, const HostMemory& host,
                           const LookupTables& tables, FaultCounts& faults);

// How the coordinates change from pixel to pixel and from row to row, for the level of detail.
struct TextureSlopes {
    double sx, sy, tx, ty, qx, qy;
};

// `leftward`: the steps per pixel go to the left.
TextureSlopes SlopesOf(const Interpolants& row, bool leftward);

struct TextureSample {
    Colour colour;
    bool dropped; // by the chroma test
};

// The texel's colour at S, T, Q. `slopes` count if the state needs the detail. `badReads` counts
// texels outside the memory, which read as 0.
TextureSample SampleTexture(const TextureState& state, int64_t s, int64_t t, int64_t q,
                            const TextureSlopes& slopes, uint64_t& badReads);

} // namespace board
