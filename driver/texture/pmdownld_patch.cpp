// The patched layout of 4-bit surfaces, as the processor writes it. A byte holds two pixels. Memory
// is a row of bands of 32 lines, a band a row of tiles of 16 bytes by 32 lines, and in a tile the
// bits of line and column take turns, the line's lowest first.
#include "driver/core/bits.h"
#include "driver/texture/download.h"
#include "driver/texture/pmdownld.h"

namespace {

constexpr uint32_t kBandLines = 32;
constexpr uint32_t kTileColumns = 16; // bytes
constexpr uint32_t kTileBytes = kTileColumns * kBandLines;

// Puts bit n at bit 2n.
constexpr uint32_t SpreadBits(uint32_t value) {
    uint32_t spread = 0;
    for (uint32_t bit = 0; bit != 5; ++bit) {
        spread |= (value >> bit & 1) << 2 * bit;
    }
    return spread;
}

struct ColumnPlaces {
    uint8_t Of[kTileColumns];
};

constexpr ColumnPlaces MakeColumnPlaces() {
    ColumnPlaces places{};
    for (uint32_t column = 0; column != kTileColumns; ++column) {
        places.Of[column] = static_cast<uint8_t>(SpreadBits(column) << 1);
    }
    return places;
}

constexpr ColumnPlaces kColumnPlaces = MakeColumnPlaces();

// Place of a byte of a line in its band.
uint32_t PlaceInBand(uint32_t column) {
    return kColumnPlaces.Of[column % kTileColumns] + column / kTileColumns * kTileBytes;
}

// As an earlier layout had it, which counts pixels. Bit 4 of the pixel goes to bits 7 and 8 alike.
uint32_t EarlierPlaceInBand(uint32_t column) {
    const uint32_t pixel = 2 * column;
    return kColumnPlaces.Of[column % kTileColumns] | (pixel & ~15u) << 4;
}

template <uint32_t (*PlaceOf)(uint32_t)>
void WritePatched(const DDRAWI_DDRAWSURFACE_LCL* source, const DDRAWI_DDRAWSURFACE_LCL* dest,
                  const RECTL* destRect) {
    const uint32_t width = dest->lpGbl->wWidth / 2u;
    const uint8_t* from = LineOf(source, 0);
    for (int32_t line = 0; line < HeightOf(*destRect); ++line) {
        const auto y = static_cast<uint32_t>(line);
        auto* band = reinterpret_cast<uint8_t*>(dest->lpGbl->fpVidMem +
                                                (y & ~(kBandLines - 1)) *
                                                    static_cast<uint32_t>(dest->lpGbl->lPitch));
        const uint32_t row = SpreadBits(y % kBandLines);
        for (uint32_t x = 0; x != width; ++x) {
            band[row | PlaceOf(x)] = from[x];
        }
        from += source->lpGbl->lPitch;
    }
}

} // namespace

void PermediaBypass4BitPatchedTextureDownload(DriverData*, PrivateSurfaceData* destPrivate,
                                              DDRAWI_DDRAWSURFACE_LCL* source, RECTL*,
                                              DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    WritePatched<PlaceInBand>(source, dest, destRect);
    AssignBits(destPrivate->Flags, SURFACE_PATCHED_NOW, true);
}

void TextureDownloadPatched4Bit(DriverData*, PrivateSurfaceData*, DDRAWI_DDRAWSURFACE_LCL* source,
                                RECTL*, DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    WritePatched<EarlierPlaceInBand>(source, dest, destRect);
}
