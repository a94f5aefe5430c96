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

// Turns all units off, with a wait for 16 entries in front of each of three groups. What differs
// between the display's own stream and a context's is told: the buffer units' registers in their
// order, and the texture units of either family. The caller has reserved.
template <class Owner, size_t B, size_t P, size_t G>
inline void TurnUnitsOff(StreamWriter<Owner>& out, const ChipInfo* chip,
                         const uint16_t (&bufferUnits)[B], const uint16_t (&permediaUnits)[P],
                         const uint16_t (&glintUnits)[G]) {
    out.Wait(16);
    WriteZeros(out, kRasterUnits);
    out.Wait(16);
    WriteZeros(out, bufferUnits);
    out.Wait(16);
    if (chip->Family == FamilyPermedia) {
        WriteZeros(out, permediaUnits);
        out.Tag(tag::AStart, kOpaqueAlpha);
        if (IsPermedia2(chip)) {
            WriteZeros(out, kPermedia2Units);
        }
    } else if (chip->Family == FamilyGlint) {
        WriteZeros(out, glintUnits);
        if (IsMX(chip)) {
            WriteZeros(out, kMXUnits);
        }
    }
}
