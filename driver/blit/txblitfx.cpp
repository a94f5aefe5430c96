#include "driver/blit/txblitfx.h"

#include "driver/blit/chroma_bounds.h"
#include "driver/blit/glint_screen.h"
#include "driver/blit/stretch_way.h"
#include "driver/core/glintutl.h"
#include "driver/core/source_clip.h"
#include "driver/heap/surface_format.h"
#include "driver/raster/flt2fix.h"

namespace {

// Keys in the chip's order, red lowest, each field at the bottom of its byte.
constexpr uint32_t kOpaque = 0xFF000000;
constexpr ChromaLayout kSwappedBytes = {
    0, kAnyExtension, {{0, 8, 16}, {8, 8, 8}, {16, 8, 0}, {24, 8, 24}}, kOpaque};
constexpr ChromaLayout kLayouts[] = {
    {0, 1, {{11, 5, 0}, {5, 6, 8}, {0, 5, 16}, {}}, kOpaque},
    {1, kAnyExtension, {{10, 5, 0}, {5, 5, 8}, {0, 5, 16}, {}}, kOpaque},
    {5, kAnyExtension, {{5, 3, 0}, {2, 3, 8}, {0, 2, 16}, {}}, kOpaque},
    {9, kAnyExtension, {{5, 2, 0}, {2, 3, 8}, {0, 2, 16}, {}}, kOpaque},
    {kTexelFormatIndexed8, kAnyExtension, {{0, 8, 0}, {}, {}, {}}, 0},
    {kTexelFormatIndexed4, kAnyExtension, {{0, 4, 0}, {}, {}, {}}, 0},
};

// ChromaTestMode: pixels within the bounds are not drawn.
constexpr uint32_t kRejectInside =
    field::ChromaTestMode_Enable.Mask() | field::ChromaTestMode_Unknown1.Put(0, 4);

constexpr uint32_t kRenderTextured = kRenderPlain | field::Render_Texture.Mask();

// FBReadMode of a stretch: the source is read as texels.
constexpr uint32_t kReadTexels =
    field::FBReadMode_ReadTexels.Mask() | field::FBReadMode_ReadSource.Mask();
// GlintTextureReadMode without the texel size: the frame buffer as a map of 2048 by 2048 texels,
// so that no blit comes to its edge.
constexpr uint32_t kScreenMap =
    field::GlintTextureReadMode_Enable.Mask() | field::GlintTextureReadMode_Width.Put(0, 11) |
    field::GlintTextureReadMode_Height.Put(0, 11) | field::GlintTextureReadMode_Unknown22.Mask() |
    field::GlintTextureReadMode_Unknown24.Put(0, 4);

ChromaBounds BoundsOf(const DDHAL_BLTDATA* data, const PrivateSurfaceData* source) {
    return ChromaBoundsOf(data->bltFX.ddckSrcColorkey, source, kLayouts, kSwappedBytes);
}

// Texels for each pixel of a destination that is taken one pixel larger than it is.
float Step(int32_t source, int32_t dest) {
    return static_cast<float>(source) / static_cast<float>(dest + 1);
}

// A texel coordinate in 11.21.
constexpr uint32_t FixedTexel(int32_t texel) {
    return static_cast<uint32_t>(texel) << 21;
}

// A stretch between rectangles of which the source's is changed by a mirror. `stepX` and `stepY`
// are forward; `bounds` may be null.
void DrawStretch(DriverData* driver, const DDHAL_BLTDATA* data,
                 const PrivateSurfaceData* sourcePrivate, const RECTL& dest, RECTL source,
                 float stepX, float stepY, uint32_t destOffset, uint32_t sourceOffset,
                 const ChromaBounds* bounds) {
    MatchFBDepth(driver);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kCopyBytes);
    out.Wait(16);
    if (bounds != nullptr) {
        out.Tag(tag::ChromaTestMode, kRejectInside);
        WriteChromaBounds(out, *bounds);
    }
    out.Tag(tag::FBReadMode, driver->PartialProducts | kReadTexels);
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::FBSourceOffset, sourceOffset);
    out.Tag(tag::FBWindowBase, destOffset);
    out.Tag(tag::TextureFormat, 0);
    out.Tag(tag::GlintTextureReadMode,
            field::GlintTextureReadMode_TexelSize.Put(kScreenMap, driver->PixelSize + 3));
    out.Tag(tag::TextureAddressMode, field::TextureAddressMode_Enable.Mask());
    out.Tag(tag::TextureColorMode, 0);
    const StretchWay way = ChooseStretchWay(data, sourcePrivate, dest, source);
    // Reversed rows start on the last line, reversed columns one past the last.
    out.Tag(tag::SStart, FixedTexel(way.FlipX ? source.right : source.left));
    out.Tag(tag::TStart, FixedTexel(way.FlipY ? source.bottom - 1 : source.top));
    out.Tag(tag::dSdx, float_to_fix_11_21(way.FlipX ? -stepX : stepX));
    out.Tag(tag::dSdyDom, 0);
    out.Tag(tag::dTdx, 0);
    out.Tag(tag::dTdyDom, float_to_fix_11_21(way.FlipY ? -stepY : stepY));
    DrawRectangle(out, way.Direction, dest, kRenderTextured);
    out.Tag(tag::TextureAddressMode, 0);
    out.Tag(tag::GlintTextureReadMode, 0);
    if (bounds != nullptr) {
        out.Tag(tag::ChromaTestMode, 0);
    }
    out.Store();
}

} // namespace

void MXSourceChromaBlt(DriverData* driver, DDHAL_BLTDATA* bltData, int32_t stride,
                       PrivateSurfaceData* /*destPriv*/, PrivateSurfaceData* srcPriv,
                       RECTL* destRect, RECTL* srcRect, uint32_t destOffset, int32_t srcRelative) {
    CopyRects at;
    if (!ClipToSource(*srcRect, *destRect, at)) {
        return;
    }
    MatchFBDepth(driver);
    const int32_t distance = SourceDistance(at.Source, at.Dest, stride, srcRelative);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kCopyBytes);
    out.Wait(14);
    out.Tag(tag::ChromaTestMode, kRejectInside);
    out.Tag(tag::FBReadMode, driver->PartialProducts | field::FBReadMode_ReadSource.Mask());
    out.Tag(tag::LogicalOpMode, 0);
    WriteChromaBounds(out, BoundsOf(bltData, srcPriv));
    out.Tag(tag::FBSourceOffset, static_cast<uint32_t>(distance));
    out.Tag(tag::FBWindowBase, destOffset);
    DrawRectangle(out, distance < 0 ? BlitDirection::Backward : BlitDirection::Forward, at.Dest,
                  kRenderPlain);
    out.Tag(tag::ChromaTestMode, 0);
    out.Store();
}

void MXStretchCopyBlt(DriverData* driver, DDHAL_BLTDATA* bltData, PrivateSurfaceData* /*destPriv*/,
                      PrivateSurfaceData* srcPriv, RECTL* destRect, RECTL* srcRect,
                      uint32_t destOffset, uint32_t srcOffset) {
    DrawStretch(driver, bltData, srcPriv, *destRect, *srcRect,
                Step(WidthOf(*srcRect), WidthOf(*destRect)),
                Step(HeightOf(*srcRect), HeightOf(*destRect)), destOffset, srcOffset, nullptr);
}

void MXStretchCopyChromaBlt(DriverData* driver, DDHAL_BLTDATA* bltData, int32_t /*stride*/,
                            PrivateSurfaceData* /*destPriv*/, PrivateSurfaceData* srcPriv,
                            RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
                            int32_t srcRelative) {
    CopyRects at;
    if (!ClipToSource(*srcRect, *destRect, at)) {
        return;
    }
    const ChromaBounds bounds = BoundsOf(bltData, srcPriv);
    // The steps are those of the rectangles before the clip. The source is given relative to the
    // destination, and goes out like that where the unkeyed stretch sends an absolute offset.
    DrawStretch(driver, bltData, srcPriv, at.Dest, at.Source,
                Step(WidthOf(*srcRect), WidthOf(*destRect)),
                Step(HeightOf(*srcRect), HeightOf(*destRect)), destOffset,
                static_cast<uint32_t>(srcRelative), &bounds);
}
