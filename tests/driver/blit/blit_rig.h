#pragma once
// A display whose blit primitives are recorders: what the dispatch decided, and with what numbers.
#include "driver/blit/pmdirecx.h"
#include "driver/blit/txdirecx.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace test {

inline constexpr uint32_t kStillDrawing = 0x8876021C; // DDERR_WASSTILLDRAWING

// One call of a primitive. What its form does not have stays 0.
struct BlitCall {
    std::string slot;
    int32_t destStride = 0, srcStride = 0;
    PrivateSurfaceData *destPriv = nullptr, *srcPriv = nullptr;
    RECTL destRect{}, srcRect{};
    uint32_t destOffset = 0;
    int32_t srcOffset = 0; // absolute or relative, as the form has it
    uint32_t logicOp = 0xEE;
    const void* request = nullptr; // bltData or bltFX
    const void *source = nullptr, *dest = nullptr;
    uint32_t fill = 0xEEEEEEEE;
};

class BlitRig : public Rig {
  public:
    static constexpr HRESULT kUntouched = 0x5EED5EED;

    explicit BlitRig(const RigOptions& options = {}) : Rig(options) {
        Ready();
        driver->LocalBufferShift = IsPermedia() ? 1 : 2;
        driver->ModeKey = driver->ScreenHeight << 17 | driver->ScreenWidth << 2 | driver->PixelSize;
        bus->registers[reg::IntFlags] = 16; // a retrace has been: no flip holds a surface
        Record();
        data.lpDD = &directDraw;
        data.ddRVal = kUntouched;
    }
    ~BlitRig() override {
        current_ = nullptr;
        CHIPRender = {};
    }

    bool IsPermedia() const { return chip->Family == FamilyPermedia; }

    // Fills the table for the mode and puts a recorder in each slot.
    void Record();
    static BlitRig* Current() { return current_; }

    // Sets up a copy between two rectangles of 16 by 8 pixels.
    void CopyOf(RigSurface& dest, RigSurface& source) {
        data.lpDDDestSurface = &dest.local;
        data.lpDDSrcSurface = &source.local;
        data.rDest = {10, 20, 26, 28};
        data.rSrc = {30, 40, 46, 48};
        data.dwFlags = DDBLT_ROP;
        data.bltFX.dwROP = SRCCOPY;
    }
    // Sets up a fill of such a rectangle.
    void FillOf(RigSurface& dest, uint32_t flags, uint32_t value) {
        data.lpDDDestSurface = &dest.local;
        data.lpDDSrcSurface = nullptr;
        data.rDest = {10, 20, 26, 28};
        data.dwFlags = flags;
        data.bltFX.dwFillColor = value;
    }
    // Asks for a raster operation without a source.
    void RopOf(RigSurface& dest, uint32_t rop) {
        FillOf(dest, DDBLT_ROP, 0);
        data.bltFX.dwROP = rop;
    }

    // The callback's answer to `data`.
    DWORD Blt() {
        calls.clear();
        return IsPermedia() ? PermediaBlt32(&data) : GlintBlt32(&data);
    }
    // The same for a request that is to reach exactly one primitive.
    const BlitCall& OneCall() {
        EXPECT_EQ(Blt(), DDHAL_DRIVER_HANDLED);
        EXPECT_EQ(data.ddRVal, DD_OK);
        EXPECT_EQ(calls.size(), 1u);
        if (calls.empty()) {
            calls.emplace_back();
        }
        return calls.front();
    }
    // The primitives that the request reaches, as one string.
    std::string Slots() {
        Blt();
        std::string result;
        for (const BlitCall& call : calls) {
            result += (result.empty() ? "" : " ") + call.slot;
        }
        return result;
    }

    // A surface in system memory, which has no record of the driver's.
    RigSurface& MakeSystemSurface() {
        RigSurface& surface = MakeBuffer(64);
        surface.Global().lpDD = &directDraw;
        return surface;
    }

    DDHAL_BLTDATA data{};
    std::vector<BlitCall> calls;
    std::function<void()> duringCall;

  private:
    inline static BlitRig* current_ = nullptr;
};

namespace recorder {

inline void Note(BlitCall call, RECTL* destRect, RECTL* srcRect) {
    BlitRig& rig = *BlitRig::Current();
    call.destRect = *destRect;
    *destRect = {-1, -1, -1, -1}; // primitives may change what they get
    if (srcRect != nullptr) {
        call.srcRect = *srcRect;
        *srcRect = {-1, -1, -1, -1};
    }
    rig.calls.push_back(call);
    if (rig.duringCall) {
        rig.duringCall();
    }
}

template <size_t N>
struct Name {
    char text[N];
    constexpr Name(const char (&name)[N]) {
        for (size_t i = 0; i < N; ++i) {
            text[i] = name[i];
        }
    }
};

template <Name name>
void SurfaceCopy(DriverData*, int32_t destStride, int32_t srcStride, PrivateSurfaceData* destPriv,
                 PrivateSurfaceData* srcPriv, RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                 int32_t srcRelative, uint32_t logicOp) {
    Note({.slot = name.text,
          .destStride = destStride,
          .srcStride = srcStride,
          .destPriv = destPriv,
          .srcPriv = srcPriv,
          .destOffset = destOffset,
          .srcOffset = srcRelative,
          .logicOp = logicOp},
         destRect, srcRect);
}

template <Name name>
void Stretch(DriverData*, DDHAL_BLTDATA* data, PrivateSurfaceData* destPriv,
             PrivateSurfaceData* srcPriv, RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
             uint32_t srcOffset) {
    Note({.slot = name.text,
          .destPriv = destPriv,
          .srcPriv = srcPriv,
          .destOffset = destOffset,
          .srcOffset = static_cast<int32_t>(srcOffset),
          .request = data},
         destRect, srcRect);
}

inline void YUV(DriverData*, DDBLTFX* fx, PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                RECTL* destRect, RECTL* srcRect, uint32_t destOffset, uint32_t srcOffset) {
    Note({.slot = "YUVBlt",
          .destPriv = destPriv,
          .srcPriv = srcPriv,
          .destOffset = destOffset,
          .srcOffset = static_cast<int32_t>(srcOffset),
          .request = fx},
         destRect, srcRect);
}

template <Name name>
void PermediaClear(DriverData*, DDRAWI_DDRAWSURFACE_GBL* surface, RECTL* destRect, uint32_t offset,
                   uint32_t fill) {
    Note({.slot = name.text, .destOffset = offset, .dest = surface, .fill = fill}, destRect,
         nullptr);
}

inline void LocalClear(DriverData*, DDRAWI_DDRAWSURFACE_LCL* surface, RECTL* destRect,
                       uint32_t offset, uint32_t fill) {
    Note({.slot = "GlintLBClear", .destOffset = offset, .dest = surface, .fill = fill}, destRect,
         nullptr);
}

inline void ScreenClear(DriverData*, RECTL* destRect, uint32_t destOffset, uint32_t fill) {
    Note({.slot = "GlintClear", .destOffset = destOffset, .fill = fill}, destRect, nullptr);
}

inline void ScreenCopy(DriverData*, RECTL* destRect, RECTL* srcRect, int32_t stride,
                       uint32_t destOffset, int32_t srcRelative, uint32_t logicOp) {
    Note({.slot = "ScreenCopyBlt",
          .destStride = stride,
          .destOffset = destOffset,
          .srcOffset = srcRelative,
          .logicOp = logicOp},
         destRect, srcRect);
}

template <Name name>
void Download(DriverData*, PrivateSurfaceData* destPriv, DDRAWI_DDRAWSURFACE_LCL* source,
              RECTL* srcRect, DDRAWI_DDRAWSURFACE_LCL* dest, RECTL* destRect) {
    Note({.slot = name.text, .destPriv = destPriv, .source = source, .dest = dest}, destRect,
         srcRect);
}

} // namespace recorder

inline void BlitRig::Record() {
    current_ = this;
    SetupFnTable(driver);
    CHIPRender.PackedCopyBlt = recorder::SurfaceCopy<"PackedCopyBlt">;
    CHIPRender.PatchedCopyBlt = recorder::SurfaceCopy<"PatchedCopyBlt">;
    CHIPRender.StretchCopyBlt = recorder::Stretch<"StretchCopyBlt">;
    CHIPRender.FastClear = recorder::PermediaClear<"FastClear">;
    CHIPRender.FastLBClear = recorder::PermediaClear<"FastLBClear">;
    CHIPRender.YUVBlt = recorder::YUV;
    CHIPRender.PackedDisplayDownload = recorder::Download<"PackedDisplayDownload">;
    CHIPRender.PackedDownload = recorder::Download<"PackedDownload">;
    CHIPRender.PatchedDownload = recorder::Download<"PatchedDownload">;
    CHIPRender.Bypass4BitDownload = recorder::Download<"Bypass4BitDownload">;
    CHIPRender.ScreenCopyBlt = recorder::ScreenCopy;
    CHIPRender.LBCopyBlt = recorder::SurfaceCopy<"LBCopyBlt">;
    CHIPRender.GlintClear = recorder::ScreenClear;
    CHIPRender.GlintLBClear = recorder::LocalClear;
    CHIPRender.TXPatchedDownload = recorder::Download<"TXPatchedDownload">;
    CHIPRender.TXPackedDownload = recorder::Download<"TXPackedDownload">;
    CHIPRender.MXStretchBlt = recorder::Stretch<"MXStretchBlt">;
}

} // namespace test
