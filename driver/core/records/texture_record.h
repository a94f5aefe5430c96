#pragma once
// The record of a texture: what the chip needs to know to read a DirectDraw surface as one.
#include "driver/core/records/private_surface.h"

#include <cstddef>
#include <cstdint>

// TextureRecord.Magic.
inline constexpr uint32_t kTextureMagic = 0xD3D10100;
inline constexpr uint32_t kTextureMagicUnusable = 0xD3D10000; // never turned back

// TextureRecord.Location.
enum TextureLocation : uint32_t {
    TextureInVideoMemory = 0,
    TextureInSystemMemory = 1, // the chip can't read it: fails when used
    TextureInAGP = 2,
};

inline constexpr uint32_t kMaxTextureLevels = 12;
// Texture coordinates are scaled to this size.
inline constexpr uint32_t kTextureUnitSize = 2048;

// One level of a mip chain. On Glint only Address is filled.
struct TextureLevel {
    uint32_t LogWidth; // rounded up
    uint32_t LogHeight;
    float WidthScale; // size / 2048
    float HeightScale;
    uint32_t PP0; // partial products of the pitch in texels
    uint32_t PP1;
    uint32_t PP2;
    uint32_t Address; // in texels on Permedia, bit 30 on for AGP; in 32-bit words on Glint
};
static_assert(sizeof(TextureLevel) == 8 * 4);

struct TextureRecord {
    uint32_t Magic;
    DDRAWI_DDRAWSURFACE_LCL* Surface;
    uint32_t Context; // handle of the owning context
    uint16_t Width;   // texels of the top level
    uint16_t Height;
    float TexelCount;
    uint32_t Location;  // TextureLocation
    uint32_t MipMapped; // 1: the levels below the top are a real chain
    TextureLevel Levels[kMaxTextureLevels];
    PrivateSurfaceData Private; // copy of the surface's record, with the logarithms filled in
    uint32_t LevelCount;        // of a full chain; may exceed kMaxTextureLevels
    uint32_t Handle;
    TextureRecord* Next; // chain of the hash bucket
    TextureRecord* Prev;
};
static_assert(sizeof(TextureRecord) == 136 * 4);
static_assert(offsetof(TextureRecord, Surface) == 4 && offsetof(TextureRecord, Context) == 8 &&
              offsetof(TextureRecord, Width) == 12 && offsetof(TextureRecord, Height) == 14 &&
              offsetof(TextureRecord, TexelCount) == 16 &&
              offsetof(TextureRecord, Location) == 20 && offsetof(TextureRecord, MipMapped) == 24 &&
              offsetof(TextureRecord, Levels) == 28 && offsetof(TextureRecord, Private) == 412 &&
              offsetof(TextureRecord, LevelCount) == 528 &&
              offsetof(TextureRecord, Handle) == 532 && offsetof(TextureRecord, Next) == 536 &&
              offsetof(TextureRecord, Prev) == 540);

// True if the record is valid and its surface is not lost.
inline bool IsTextureUsable(const TextureRecord* record) {
    return record->Magic == kTextureMagic && (record->Surface->dwFlags & DDRAWISURF_INVALID) == 0;
}
