#pragma once
// Surfaces as DirectDraw hands them to the surface callbacks, before they have anything of the
// driver's.
#include "driver/core/driverdata.h"
#include "driver/heap/surface.h"
#include "host/win32/heap.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <vector>

namespace test {

struct RawSurface {
    DDRAWI_DDRAWSURFACE_LCL local{};
    DDRAWI_DDRAWSURFACE_GBL global{};

    PrivateSurfaceData& Record() { return *PrivateOf(&local); }
    DWORD Caps() const { return local.ddsCaps.dwCaps; }
    // The three product codes and PPCode.
    std::array<uint32_t, 4> Products() {
        const PrivateSurfaceData& r = Record();
        return {r.PartialProduct0, r.PartialProduct1, r.PartialProduct2, r.PPCode};
    }
    std::array<uint32_t, 4> Packed() {
        const PrivateSurfaceData& r = Record();
        return {r.PackedPP0, r.PackedPP1, r.PackedPP2, r.PackedPPCode};
    }
};

inline DDPIXELFORMAT RGBFormat(uint32_t bits, uint32_t red = 0, uint32_t alpha = 0) {
    DDPIXELFORMAT format{};
    format.dwSize = sizeof format;
    format.dwFlags = DDPF_RGB | (alpha != 0 ? DDPF_ALPHAPIXELS : 0);
    format.dwRGBBitCount = bits;
    format.dwRBitMask = red;
    format.dwRGBAlphaBitMask = alpha;
    return format;
}

inline DDPIXELFORMAT FlagFormat(uint32_t flags, uint32_t bits) {
    DDPIXELFORMAT format = RGBFormat(bits);
    format.dwFlags = flags;
    return format;
}

inline DDPIXELFORMAT FourCCFormat(const char* code) {
    DDPIXELFORMAT format{};
    format.dwSize = sizeof format;
    format.dwFlags = DDPF_FOURCC;
    format.dwFourCC = MAKEFOURCC(code[0], code[1], code[2], code[3]);
    return format;
}

inline const DDPIXELFORMAT kRGB555 = RGBFormat(16, 0x7C00);
inline const DDPIXELFORMAT kIndexed8 = FlagFormat(DDPF_RGB | DDPF_PALETTEINDEXED8, 8);
inline const DDPIXELFORMAT kIndexed4 = FlagFormat(DDPF_RGB | DDPF_PALETTEINDEXED4, 4);

class SurfaceRig : public Rig {
  public:
    explicit SurfaceRig(uint32_t deviceId = DevicePermedia, uint32_t bits = 16)
        : Rig({.deviceId = deviceId, .bits = bits}) {
        Ready();
        driver->RectAlloc = 1;
        // The screen's products and depth as a mode change left them: codes 5, 3, 0.
        driver->FBDepth = driver->PixelSize;
        driver->PartialProducts = 5 | 3 << 3 | 0 << 6;
    }

    // A surface of the display's format, at a pitch that DirectDraw chose.
    RawSurface& Make(uint32_t width, uint32_t height, uint32_t caps, int32_t pitch = 0) {
        surfaces_.push_back(std::make_unique<RawSurface>());
        RawSurface& surface = *surfaces_.back();
        surface.local.lpGbl = &surface.global;
        surface.local.ddsCaps.dwCaps = caps | DDSCAPS_VIDEOMEMORY;
        surface.global.lpDD = &directDraw;
        surface.global.wWidth = static_cast<WORD>(width);
        surface.global.wHeight = static_cast<WORD>(height);
        surface.global.lPitch = pitch;
        surface.global.fpVidMem = 0x77777777;
        return surface;
    }
    // The same with a format of its own.
    RawSurface& Make(uint32_t width, uint32_t height, uint32_t caps, const DDPIXELFORMAT& format,
                     int32_t pitch = 0) {
        RawSurface& surface = Make(width, height, caps, pitch);
        surface.local.dwFlags = DDRAWISURF_HASPIXELFORMAT;
        surface.global.ddpfSurface = format;
        return surface;
    }

    // One create call over a list; the answer. The result goes to `result`.
    DWORD Create(const std::vector<RawSurface*>& surfaces) {
        std::vector<DDRAWI_DDRAWSURFACE_LCL*> list;
        for (RawSurface* surface : surfaces) {
            list.push_back(&surface->local);
        }
        DDHAL_CREATESURFACEDATA data{};
        data.lpDD = &directDraw;
        data.lplpSList = list.data();
        data.dwSCnt = static_cast<DWORD>(list.size());
        data.ddRVal = kUntouched;
        const DWORD answer = chip->Family == FamilyPermedia ? PermediaCreateSurface32(&data)
                                                            : GlintCreateSurface32(&data);
        result = data.ddRVal;
        return answer;
    }
    DWORD Create(RawSurface& surface) { return Create(std::vector{&surface}); }

    DWORD Destroy(RawSurface& surface) {
        DDHAL_DESTROYSURFACEDATA data{};
        data.lpDD = &directDraw;
        data.lpDDSurface = &surface.local;
        data.ddRVal = kUntouched;
        const DWORD answer = DestroySurface32(&data);
        result = data.ddRVal;
        return answer;
    }

    static constexpr HRESULT kUntouched = 0x5EED5EED;
    HRESULT result = kUntouched;

  private:
    std::vector<std::unique_ptr<RawSurface>> surfaces_;
};

} // namespace test
