#include "driver/blit/pmblitfx.h"

#include "driver/blit/chroma_bounds.h"
#include "driver/blit/stretch_way.h"
#include "driver/core/glintutl.h"
#include "driver/core/rectangle.h"
#include "driver/texture/texture_units.h"

namespace {

constexpr uint32_t kReserveBytes = 280;

// YUVMode for a texel that is not drawn when it lies within the bounds.
constexpr uint32_t kRejectWithinBounds = field::YUVMode_KeyMode.Put(0, 2);
static_assert(kRejectWithinBounds == 4);

// The upper bound's alpha, and with it the bits below a field of five.
constexpr uint32_t kAnyAlpha = 0xFF000000;
constexpr uint32_t kAnyLowBits = 0xFF070707;

// Keys by texel format: fields go to the top of their bytes, red lowest. Only the formats of five
// bits a field have the bits below them on in the upper bound.
constexpr ChromaLayout kBounds[] = {
    // 5:6:5; green is compared by its upper five bits.
    {0, 1, {{11, 5, 3}, {6, 5, 11}, {0, 5, 19}}, kAnyLowBits},
    // 8:8:8:8
    {0, kAnyExtension, {{16, 8, 0}, {8, 8, 8}, {0, 8, 16}, {24, 8, 24}}, kAnyAlpha},
    // 5:5:5
    {1, kAnyExtension, {{10, 5, 3}, {5, 5, 11}, {0, 5, 19}}, kAnyLowBits},
    // 8:8:8
    {4, kAnyExtension, {{16, 8, 0}, {8, 8, 8}, {0, 8, 16}, {24, 8, 24}}, kAnyAlpha},
    // 3:3:2
    {5, kAnyExtension, {{5, 3, 5}, {2, 3, 13}, {0, 2, 22}}, kAnyAlpha},
    // 1:2:3:2
    {9, kAnyExtension, {{5, 2, 6}, {2, 3, 13}, {0, 2, 22}}, kAnyAlpha},
    // Indices of eight and four bits
    {14, kAnyExtension, {{0, 8, 0}, {0, 8, 8}, {0, 8, 16}}, kAnyAlpha},
    {15, kAnyExtension, {{0, 8, 0}, {0, 8, 8}, {0, 8, 16}}, kAnyAlpha},
};
constexpr ChromaLayout kUnchanged = {0, kAnyExtension, {{0, 32, 0}}, 0};

ChromaBounds BoundsOf(const DDHAL_BLTDATA* data, const PrivateSurfaceData* source) {
    return ChromaBoundsOf(data->bltFX.ddckSrcColorkey, source, kBounds, kUnchanged);
}

// Ends the conversion to the source's format.
void StopConversion(StreamWriter<DriverData>& out, const PrivateSurfaceData* source) {
    if (source->PixelSize != PixelSize8) {
        out.Tag(tag::DitherMode, 0);
    }
}

// Texels per pixel, in 12.20.
uint32_t StepOf(int32_t texels, int32_t pixels) {
    return FixedTexel(texels) / static_cast<uint32_t>(pixels);
}

// The stretch, with a source colour key or without. A mirrored axis changes `srcRect` for good.
template <bool Keyed>
void Stretch(DriverData* driver, const DDHAL_BLTDATA* data, const PrivateSurfaceData* destPriv,
             const PrivateSurfaceData* srcPriv, const RECTL& dest, RECTL& source,
             uint32_t destOffset, uint32_t srcOffset) {
    uint32_t stepS = StepOf(WidthOf(source), WidthOf(dest));
    uint32_t stepT = StepOf(HeightOf(source), HeightOf(dest));
    MatchFBDepth(driver);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kReserveBytes);
    out.Wait(15);
    if constexpr (Keyed) {
        out.Tag(tag::YUVMode, kRejectWithinBounds);
    }
    WriteTextureUnits(out, destPriv, srcPriv, destOffset, srcOffset,
                      DXGlobals.FilterStretch != 0 ? kReadTexelsFiltered : kReadTexels);

    const StretchWay way = ChooseStretchWay(data, srcPriv, dest, source);
    int32_t startS = source.left;
    int32_t startT = source.top;
    if (way.FlipX) {
        startS = source.right - 1;
        stepS = -stepS;
    }
    if (way.FlipY) {
        startT = source.bottom - 1;
        stepT = -stepT;
    }
    out.Tag(tag::SStart, FixedTexel(startS));
    out.Tag(tag::TStart, FixedTexel(startT));
    out.Tag(tag::dSdx, stepS);
    out.Tag(tag::dSdyDom, 0);
    out.Tag(tag::dTdx, 0);
    out.Wait(11);
    out.Tag(tag::dTdyDom, stepT);
    if constexpr (Keyed) {
        WriteChromaBounds(out, BoundsOf(data, srcPriv));
    }
    DrawRectangle(out, way.Direction, dest, kRenderTextured);
    StopConversion(out, srcPriv);
    StopTextureUnits(out);
    if constexpr (Keyed) {
        out.Tag(tag::YUVMode, 0);
    }
    out.Store();
}

} // namespace

void PermediaStretchCopyBlt(DriverData* driver, DDHAL_BLTDATA* bltData,
                            PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                            RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                            uint32_t srcOffset) {
    Stretch<false>(driver, bltData, destPriv, srcPriv, *destRect, *srcRect, destOffset, srcOffset);
}

void PermediaStretchCopyChromaBlt(DriverData* driver, DDHAL_BLTDATA* bltData,
                                  PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                                  RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                                  uint32_t srcOffset) {
    Stretch<true>(driver, bltData, destPriv, srcPriv, *destRect, *srcRect, destOffset, srcOffset);
}

void PermediaSourceChromaBlt(DriverData* driver, DDHAL_BLTDATA* bltData,
                             PrivateSurfaceData* destPriv, PrivateSurfaceData* srcPriv,
                             RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                             uint32_t srcOffset) {
    const ChromaBounds bounds = BoundsOf(bltData, srcPriv);
    MatchFBDepth(driver);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kReserveBytes);
    out.Wait(16);
    out.Tag(tag::YUVMode, kRejectWithinBounds);
    // Equal sizes leave nothing to filter.
    WriteTextureUnits(out, destPriv, srcPriv, destOffset, srcOffset, kReadTexels);
    WriteChromaBounds(out, bounds);

    const BlitDirection direction = StretchDirection(bltData, *destRect, *srcRect);
    const bool forward = direction == BlitDirection::Forward;
    const uint32_t step = FixedTexel(forward ? 1 : -1);
    out.Wait(16);
    // Backward the first texel in S is the one behind the edge, unlike in T and in a stretch.
    out.Tag(tag::SStart, FixedTexel(forward ? srcRect->left : srcRect->right));
    out.Tag(tag::TStart, FixedTexel(forward ? srcRect->top : srcRect->bottom - 1));
    out.Tag(tag::dSdx, step);
    out.Tag(tag::dSdyDom, 0);
    out.Tag(tag::dTdx, 0);
    out.Tag(tag::dTdyDom, step);
    DrawRectangle(out, direction, *destRect, kRenderTextured);
    StopConversion(out, srcPriv);
    out.Tag(tag::YUVMode, 0);
    StopTextureUnits(out);
    out.Store();
}
