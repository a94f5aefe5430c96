// The texture formats that a display offers.
#include "driver/core/registry.h"
#include "driver/d3d/direct3d.h"

namespace {

struct TexelFormat {
    DWORD flags;
    DWORD bits; // of a texel
    DWORD red;
    DWORD green;
    DWORD blue;
    DWORD alpha;
};

constexpr DWORD kRGB = DDPF_RGB;
constexpr DWORD kARGB = DDPF_RGB | DDPF_ALPHAPIXELS;

constexpr TexelFormat RGB555 = {kRGB, 16, 0x7C00, 0x3E0, 0x1F, 0};
constexpr TexelFormat RGB565 = {kRGB, 16, 0xF800, 0x7E0, 0x1F, 0};
constexpr TexelFormat RGB888 = {kRGB, 32, 0xFF0000, 0xFF00, 0xFF, 0};
constexpr TexelFormat RGB332 = {kRGB, 8, 0xE0, 0x1C, 3, 0};
constexpr TexelFormat ARGB1232 = {kARGB, 8, 0x60, 0x1C, 3, 0x80};
constexpr TexelFormat ARGB1555 = {kARGB, 16, 0x7C00, 0x3E0, 0x1F, 0x8000};
constexpr TexelFormat ARGB4444 = {kARGB, 16, 0xF00, 0xF0, 0xF, 0xF000};
constexpr TexelFormat ARGB8888 = {kARGB, 32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000};
constexpr TexelFormat PAL4 = {DDPF_RGB | DDPF_PALETTEINDEXED4, 4, 0, 0, 0, 0};
constexpr TexelFormat PAL8 = {DDPF_RGB | DDPF_PALETTEINDEXED8, 8, 0, 0, 0, 0};

// Presets all places of the display's list, then appends formats one by one.
class FormatList {
  public:
    explicit FormatList(DriverData* driver) : places_(driver->TextureFormats) {
        for (DDSURFACEDESC& place : driver->TextureFormats) {
            place = {};
            place.dwSize = sizeof(DDSURFACEDESC);
            place.dwFlags = DDSD_CAPS | DDSD_PIXELFORMAT;
            place.ddpfPixelFormat.dwSize = sizeof(DDPIXELFORMAT);
            place.ddsCaps.dwCaps = DDSCAPS_TEXTURE;
        }
    }

    void AddIf(bool offered, const TexelFormat& format) {
        if (!offered) {
            return;
        }
        DDPIXELFORMAT& place = places_[count_++].ddpfPixelFormat;
        place.dwFlags = format.flags;
        place.dwRGBBitCount = format.bits;
        place.dwRBitMask = format.red;
        place.dwGBitMask = format.green;
        place.dwBBitMask = format.blue;
        place.dwRGBAlphaBitMask = format.alpha;
    }

    uint32_t Count() const { return count_; }

  private:
    DDSURFACEDESC* places_;
    uint32_t count_ = 0;
};

// Off when absent, on at any value but 0.
bool IsOn(const char* name) {
    uint32_t value;
    return bGlintQueryRegistryValueUlong(name, &value) != 0 && value != 0;
}

bool RGB8Wanted() {
    return IsOn("Direct3DHAL.Enable8BitRGBTextures");
}

bool TrueColorWanted() {
    return IsOn("Direct3DHAL.EnableTrueColorTextures");
}

bool AlphaWanted() {
    return !IsOn("Direct3DHAL.DisableAlphaTextures");
}

// The end of every list: the formats without a palette, with RGB565 last of all.
void AddDirectColours(FormatList& list, bool rgb8, bool trueColor) {
    const bool alpha = AlphaWanted();
    list.AddIf(rgb8, RGB332);
    list.AddIf(rgb8 && alpha, ARGB1232);
    list.AddIf(alpha, ARGB1555);
    list.AddIf(alpha, ARGB4444);
    list.AddIf(alpha && trueColor, ARGB8888);
    list.AddIf(true, RGB565);
}

} // namespace

uint32_t BuildTextureFormatsPermedia(DriverData* driver) {
    const bool p2In8Bits = IsOn("Direct3DHAL.Enable8BitP2Textures");
    const bool trueColor = TrueColorWanted();
    const bool first = IsFirstPermedia(driver->ChipInfo);
    const bool second = IsPermedia2(driver->ChipInfo);
    const bool offersRGB8 = RGB8Wanted() && (first || (second && p2In8Bits));

    FormatList list(driver);
    list.AddIf(true, RGB555);
    list.AddIf(trueColor, RGB888);
    list.AddIf(first || p2In8Bits, PAL4);
    list.AddIf(second && p2In8Bits, PAL8);
    AddDirectColours(list, offersRGB8, trueColor);
    return list.Count();
}

uint32_t BuildTextureFormatsTX(DriverData* driver) {
    FormatList list(driver);
    list.AddIf(true, RGB555);
    list.AddIf(true, PAL4);
    list.AddIf(IsMX(driver->ChipInfo), PAL8);
    AddDirectColours(list, RGB8Wanted(), TrueColorWanted());
    return list.Count();
}
