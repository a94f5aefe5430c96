#pragma once
// The chip's units by the registers that turn them off, in the order in which they are sent. What
// the screen's path and a new context quiet alike stands here.
#include "driver/core/dma.h"

#include <cstddef>
#include <cstdint>

inline constexpr uint16_t kRasterUnits[] = {
    tag::RasterizerMode, tag::AreaStippleMode, tag::LineStippleMode, tag::ScissorMode,
    tag::ColorDDAMode,   tag::FogMode,         tag::AntialiasMode,   tag::AlphaTestMode,
    tag::LBReadMode,     tag::Window,          tag::StencilMode,     tag::DepthMode,
    tag::LBWriteMode,    tag::FBReadMode,      tag::PatternRamMode,
};
inline constexpr uint16_t kPermediaTextureUnits[] = {
    tag::TextureReadMode, tag::TextureMapFormat, tag::TextureDataFormat,
    tag::TexelLUTMode,    tag::TextureColorMode, tag::YUVMode,
};
inline constexpr uint16_t kGlintTextureUnits[] = {
    tag::GlintTextureReadMode,
    tag::TextureAddressMode,
    tag::TextureColorMode,
};
// What Permedia 2 has besides the first Permedia's texture units.
inline constexpr uint16_t kPermedia2Units[] = {
    tag::TextureBaseAddress,
    tag::TexelLUTIndex,
    tag::TexelLUTTransfer,
};
// What MX has besides TX's texture units.
inline constexpr uint16_t kMXUnits[] = {
    tag::ChromaTestMode, tag::TextureFilterMode, tag::TexelLUTTransfer,
    tag::TexelLUTIndex,  tag::TexelLUTAddress,
};

// AStart for alpha 255, in 8.15.
inline constexpr uint32_t kOpaqueAlpha = 0x7F8000;

// Writes 0 to each register of `tags`. The caller has reserved and waited.
template <class Owner, size_t N>
inline void WriteZeros(StreamWriter<Owner>& out, const uint16_t (&tags)[N]) {
    for (const uint16_t tagNumber : tags) {
        out.Tag(tagNumber, 0);
    }
}
