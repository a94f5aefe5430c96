// What a pixel format is to the chip.
#include "driver/heap/surface_format.h"

#include "driver/core/driverdata.h"

namespace {

// Which field of a pixel format tells its row.
enum class FormatClass : uint8_t {
    FourCC,
    Indexed4,
    Indexed8,
    RGB, // also depth buffers, by their bit count
};

enum class AlphaRule : uint8_t {
    None,
    Always,
    ByMask, // with a nonzero alpha mask
};

constexpr uint32_t kAny = 0xFFFFFFFF;

struct FormatRow {
    FormatClass Class;
    uint32_t Key;     // FOURCC code or bit count
    uint32_t RedMask; // of an RGB format
    bool Permedia2Only;
    uint8_t PixelSize;
    uint8_t LogPixelBits;
    uint8_t Format;
    uint8_t FormatExtension;
    uint8_t Components;
    uint8_t ComponentsOpaque; // with an alpha mask of zero
    uint8_t FormatOrder;
    AlphaRule Alpha;
};

using enum FormatClass;
using enum AlphaRule;

// The first row that matches counts. A 24-bit format has no row on other chips.
constexpr FormatRow kFormatRows[] = {
    // class   key       red     P2     size bits fmt ext comp opaque order alpha
    {FourCC, kFourCCY411, kAny, false, PixelSize32, 5, 2, 1, 3, 3, 0, Always},
    {FourCC, kFourCCYUY2, kAny, false, PixelSize16, 4, kTexelFormatYUY2, 1, 2, 2, 0, None},
    {FourCC, kAny, kAny, false, PixelSize8, 0, 0, 0, 0, 0, 0, None},
    {Indexed4, kAny, kAny, false, PixelSize4, 2, kTexelFormatIndexed4, 0, 3, 3, 0, None},
    {Indexed8, kAny, kAny, false, PixelSize8, 3, kTexelFormatIndexed8, 0, 3, 3, 1, None},
    {RGB, 24, kAny, true, PixelSize24, 0, 4, 1, 3, 3, 0, ByMask},
    {RGB, 0, kAny, false, PixelSize8, 3, kTexelFormatIndexed8, 0, 0, 0, 0, None},
    {RGB, 8, 0xE0, false, PixelSize8, 3, 5, 0, 2, 2, 0, None},
    {RGB, 8, kAny, false, PixelSize8, 3, 9, 0, 3, 3, 0, Always},
    {RGB, 16, 0xF00, false, PixelSize16, 4, 2, 0, 3, 3, 0, Always},
    {RGB, 16, 0x7C00, false, PixelSize16, 4, 1, 0, 3, 2, 1, Always},
    {RGB, 16, kAny, false, PixelSize16, 4, 0, 1, 2, 2, 0, None},
    {RGB, 32, kAny, false, PixelSize32, 5, 0, 0, 3, 3, 0, ByMask},
};

FormatClass ClassOf(const DDPIXELFORMAT& format) {
    if ((format.dwFlags & DDPF_FOURCC) != 0) {
        return FourCC;
    }
    if ((format.dwFlags & DDPF_PALETTEINDEXED4) != 0) {
        return Indexed4;
    }
    return (format.dwFlags & DDPF_PALETTEINDEXED8) != 0 ? Indexed8 : RGB;
}

const FormatRow* FindFormatRow(const ChipInfo* chip, const DDPIXELFORMAT& format) {
    const FormatClass formatClass = ClassOf(format);
    const uint32_t key = formatClass == FourCC ? format.dwFourCC : format.dwRGBBitCount;
    for (const FormatRow& row : kFormatRows) {
        if (row.Class == formatClass && (row.Key == key || row.Key == kAny) &&
            (row.RedMask == format.dwRBitMask || row.RedMask == kAny) &&
            (!row.Permedia2Only || IsPermedia2(chip))) {
            return &row;
        }
    }
    return nullptr;
}

void SetFormatFields(const ChipInfo* chip, const DDPIXELFORMAT& format,
                     PrivateSurfaceData* record) {
    record->HasAlpha = 0;
    if ((format.dwFlags & DDPF_RGB) != 0) {
        record->RedMask = format.dwRBitMask;
        record->GreenMask = format.dwGBitMask;
        record->BlueMask = format.dwBBitMask;
        record->AlphaMask = format.dwRGBAlphaBitMask;
    }
    const FormatRow* row = FindFormatRow(chip, format);
    if (row == nullptr) {
        record->Flags &= ~SURFACE_FORMAT_VALID;
        return;
    }
    const bool alphaMask = format.dwRGBAlphaBitMask != 0;
    record->Flags |= SURFACE_FORMAT_VALID;
    record->PixelSize = row->PixelSize;
    record->LogPixelBits = row->LogPixelBits;
    record->Format = row->Format;
    record->FormatExtension = row->FormatExtension;
    record->FormatComponents = alphaMask ? row->Components : row->ComponentsOpaque;
    record->FormatOrder = row->FormatOrder;
    record->HasAlpha = row->Alpha == Always || (row->Alpha == ByMask && alphaMask);
}

// A Glint texture whose pitch is below this is kept linear.
constexpr uint32_t kSmallestPatchedPitch = 128;

bool WantsPatching(const ChipInfo* chip, const DDRAWI_DDRAWSURFACE_LCL* surface) {
    if (!HasCaps(surface, DDSCAPS_TEXTURE)) {
        return false;
    }
    if (chip->Family == FamilyGlint) {
        if ((static_cast<uint32_t>(surface->lpGbl->lPitch) & ~3u) < kSmallestPatchedPitch) {
            return false;
        }
    } else if (chip->Family != FamilyPermedia) {
        return false;
    }
    return DXGlobals.PatchMode == 1 ||
           (DXGlobals.PatchMode == 0 && HasCaps(surface, DDSCAPS_ALLOCONLOAD));
}

} // namespace

const DDPIXELFORMAT* PixelFormatOf(const DDRAWI_DDRAWSURFACE_LCL* surface) {
    return HasOwnFormat(surface) ? &surface->lpGbl->ddpfSurface
                                 : &surface->lpGbl->lpDD->vmiData.ddpfDisplay;
}

void SetupPrivateSurfaceData(DriverData* driver, PrivateSurfaceData* record,
                             DDRAWI_DDRAWSURFACE_LCL* surface) {
    if (HasCaps(surface, DDSCAPS_PRIMARYSURFACE)) {
        record->Flags |= SURFACE_PRIMARY;
    }
    record->Flags &= ~SURFACE_PATCHED_NOW;
    if (WantsPatching(driver->ChipInfo, surface)) {
        record->Flags |= SURFACE_PATCHED;
    }
    SetFormatFields(driver->ChipInfo, *PixelFormatOf(surface), record);
    if (HasCaps(surface, DDSCAPS_VIDEOPORT)) {
        record->Flags |= SURFACE_VIDEOPORT;
    }
}
