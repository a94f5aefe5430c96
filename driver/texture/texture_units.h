#pragma once
// The chip's units for a blit that is drawn as a textured rectangle. Texture coordinates are 12.20
// fixed point here.
#include "driver/core/records/private_surface.h"
#include "driver/core/rectangle.h"

#include <cstdint>

inline constexpr uint32_t kTexelShift = 20;

// A texel coordinate, or a step of so many texels.
constexpr uint32_t FixedTexel(int32_t texel) {
    return static_cast<uint32_t>(texel) << kTexelShift;
}

// A trapezoid with texture on.
inline constexpr uint32_t kRenderTextured =
    field::Render_Texture.Mask() | field::Render_Primitive.Put(0, 1);

// TextureReadMode of a map of 2048 by 2048 texels, so that no blit comes to its edge.
inline constexpr uint32_t kReadTexels = field::TextureReadMode_Enable.Mask() |
                                        field::TextureReadMode_Width.Put(0, 11) |
                                        field::TextureReadMode_Height.Put(0, 11);
inline constexpr uint32_t kReadTexelsFiltered = kReadTexels | field::TextureReadMode_Filter.Mask();
static_assert(kReadTexels == 0x17601 && kReadTexelsFiltered == 0x37601);

// Aims the units at a blit from one surface to another; both offsets in pixels.
inline void WriteTextureUnits(StreamWriter<DriverData>& out, const PrivateSurfaceData* dest,
                              const PrivateSurfaceData* source, uint32_t destOffset,
                              uint32_t sourceOffset, uint32_t readMode) {
    const uint32_t extension = source->FormatExtension;
    // Pixels of 8 bits are indices, and pass as they are.
    if (source->PixelSize != PixelSize8) {
        constexpr uint32_t kConvert =
            field::DitherMode_UnitEnable.Mask() | field::DitherMode_ColorOrder.Mask();
        out.Tag(tag::DitherMode, (extension << 14 | source->Format) << 2 | kConvert);
    }
    out.Tag(tag::FBWindowBase, destOffset);
    out.Tag(tag::FBReadMode, dest->PPCode);
    out.Tag(tag::LogicalOpMode, 0);
    out.Tag(tag::TextureBaseAddress, sourceOffset);
    out.Tag(tag::TextureAddressMode, field::TextureAddressMode_Enable.Mask());
    // The texel replaces the fragment's colour.
    out.Tag(tag::TextureColorMode,
            field::TextureColorMode_Enable.Mask() | field::TextureColorMode_Application.Put(0, 3));
    out.Tag(tag::TextureReadMode, readMode);
    out.Tag(tag::TextureDataFormat,
            extension << 6 | source->Format | field::TextureDataFormat_ColorOrder.Mask());
    out.Tag(tag::TextureMapFormat, source->PPCode | source->PixelSize << 19);
}

// Turns off again what textured blits turned on for texels, once the rectangle is drawn.
inline void StopTextureUnits(StreamWriter<DriverData>& out) {
    out.Tag(tag::TextureAddressMode, 0);
    out.Tag(tag::TextureColorMode, 0);
    out.Tag(tag::TextureReadMode, 0);
}
