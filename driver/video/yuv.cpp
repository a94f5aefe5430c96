// The blit that shows YUV data: through the texture unit, with the chip's conversion on.
#include "driver/core/glintutl.h"
#include "driver/texture/texture_units.h"
#include "driver/video/video.h"

namespace {

// YUVMode with the conversion on.
constexpr uint32_t kConvertYUV = 1;

uint32_t ReadModeFor(const ChipInfo* chip) {
    return IsPermedia2(chip) && DXGlobals.FilterVideo != 0 ? kReadTexelsFiltered : kReadTexels;
}

// Texels per pixel, 12.20.
uint32_t StepOf(int32_t texels, int32_t pixels) {
    return static_cast<uint32_t>(static_cast<int32_t>(FixedTexel(texels)) / pixels);
}

} // namespace

void YUVtoRGB(DriverData* driver, DDBLTFX*, PrivateSurfaceData* destPriv,
              PrivateSurfaceData* srcPriv, RECTL* destRect, RECTL* srcRect, uint32_t destOffset,
              uint32_t srcOffset) {
    constexpr uint32_t kDither = field::DitherMode_UnitEnable.Mask() |
                                 field::DitherMode_Enable.Mask() |
                                 field::DitherMode_ColorOrder.Mask();
    // In bytes: less is reserved than may be written.
    constexpr uint32_t kReserved = 200, kWritten = 224;
    const uint32_t stepX = StepOf(WidthOf(*srcRect), WidthOf(*destRect));
    const uint32_t stepY = StepOf(HeightOf(*srcRect), HeightOf(*destRect));
    const bool converts = srcPriv->PixelSize != PixelSize8;
    MatchFBDepth(driver);
    StreamWriter<DriverData> out(driver);
    out.Reserve(kReserved);
    driver->Stream.Guard.Allow(driver->Stream.WritePointer + kWritten / 4);
    out.Wait(16);
    if (converts) {
        // Unlike in other textured blits, by the destination's format.
        out.Tag(tag::DitherMode,
                (destPriv->FormatExtension << 14 | destPriv->Format) << 2 | kDither);
    }
    out.Tag(tag::FBWindowBase, destOffset);
    out.Tag(tag::FBReadMode, destPriv->PPCode);
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::TextureBaseAddress, srcOffset);
    out.Tag(tag::TextureAddressMode, field::TextureAddressMode_Enable.Mask());
    out.Tag(tag::TextureColorMode,
            field::TextureColorMode_Enable.Mask() | field::TextureColorMode_Application.Put(0, 3));
    out.Tag(tag::TextureReadMode, ReadModeFor(driver->ChipInfo));
    out.Tag(tag::TextureDataFormat, srcPriv->FormatExtension << 6 | srcPriv->Format);
    out.Tag(tag::TextureMapFormat, srcPriv->PPCode | srcPriv->PixelSize << 19);
    out.Tag(tag::YUVMode, kConvertYUV);
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::SStart, FixedTexel(srcRect->left));
    out.Tag(tag::TStart, FixedTexel(srcRect->top));
    out.Tag(tag::dSdx, stepX);
    out.Tag(tag::dSdyDom, 0);
    out.Wait(12);
    out.Tag(tag::dTdx, 0);
    out.Tag(tag::dTdyDom, stepY);
    DrawRectangle(out, BlitDirection::Forward, *destRect, kRenderTextured);
    if (converts) {
        out.Tag(tag::DitherMode, 0);
    }
    out.Tag(tag::YUVMode, 0);
    out.Tag(tag::TextureAddressMode, 0);
    out.Tag(tag::TextureColorMode, 0);
    out.Store();
}
