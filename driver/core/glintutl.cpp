#include "driver/core/glintutl.h"

#include "driver/core/dma.h"

#include <span>

uint32_t rops[8];

namespace {

// Alpha 255 in 9.15.
constexpr uint32_t kOpaqueAlpha = 0x7F8000;

using Writer = StreamWriter<DriverData>;

void Quiet(Writer& out, std::span<const uint16_t> tags) {
    for (const uint16_t tagNumber : tags) {
        out.Tag(tagNumber, 0);
    }
}

constexpr uint16_t kRasterUnits[] = {
    tag::RasterizerMode, tag::AreaStippleMode, tag::LineStippleMode, tag::ScissorMode,
    tag::ColorDDAMode,   tag::FogMode,         tag::AntialiasMode,   tag::AlphaTestMode,
    tag::LBReadMode,     tag::Window,          tag::StencilMode,     tag::DepthMode,
    tag::LBWriteMode,    tag::FBReadMode,      tag::PatternRamMode,
};

constexpr uint16_t kBufferUnits[] = {
    tag::DitherMode, tag::LogicalOpMode, tag::FBWriteMode,  tag::StatisticMode, tag::AlphaBlendMode,
    tag::FilterMode, tag::PixelSize,     tag::FBSourceData, tag::LBWriteFormat,
};

constexpr uint16_t kPermediaTextureUnits[] = {
    tag::TextureReadMode, tag::TextureMapFormat, tag::TextureDataFormat,
    tag::TexelLUTMode,    tag::TextureColorMode, tag::YUVMode,
};

constexpr uint16_t kPermedia2TextureUnits[] = {
    tag::TextureBaseAddress,
    tag::TexelLUTIndex,
    tag::TexelLUTTransfer,
};

constexpr uint16_t kGlintTextureUnits[] = {
    tag::GlintTextureReadMode,
    tag::TextureAddressMode,
    tag::TextureColorMode,
};

constexpr uint16_t kMXTextureUnits[] = {
    tag::ChromaTestMode, tag::TextureFilterMode, tag::TexelLUTTransfer,
    tag::TexelLUTIndex,  tag::TexelLUTAddress,
};

} // namespace

void DisableAllUnits(DriverData* driver) {
    ChipInfo* chip = driver->ChipInfo;
    Writer out(driver);
    out.Reserve(800);
    SetFlag(chip, CursorExclude);
    out.Wait(16);
    Quiet(out, kRasterUnits);
    out.Wait(16);
    Quiet(out, kBufferUnits);
    out.Wait(16);
    if (chip->Family == FamilyPermedia) {
        Quiet(out, kPermediaTextureUnits);
        out.Tag(tag::AStart, kOpaqueAlpha);
        if (IsPermedia2(chip)) {
            Quiet(out, kPermedia2TextureUnits);
        }
    } else if (chip->Family == FamilyGlint) {
        Quiet(out, kGlintTextureUnits);
        if (chip->DeviceId == DeviceMX) {
            Quiet(out, kMXTextureUnits);
        }
    }
    out.Store();
    ClearFlag(chip, CursorExclude);
}

void vGlintChangeFBDepth(DriverData* driver, uint32_t depth) {
    ChipInfo* chip = driver->ChipInfo;
    driver->PartialProducts = DepthWord(driver, depth);
    driver->FBDepth = depth;
    if (chip->DeviceId == DeviceSX) {
        // Past the stream: the select takes effect as soon as the pipeline is empty.
        SyncChip(driver);
        WriteChip(driver->Registers, reg::FBModeSel, driver->DepthTable[depth].select);
        return;
    }
    Writer out(driver);
    out.Reserve(40);
    out.Wait(1);
    if (chip->DeviceId == DeviceTX || chip->DeviceId == DeviceMX) {
        out.Tag(tag::PixelSize, 2 - depth);
    } else if (chip->Family == FamilyPermedia) {
        out.Tag(tag::FBReadPixel, depth);
    }
    out.Store();
}

void setupRops(const uint8_t* list, uint32_t* bits, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        bits[list[i] >> 5] |= 1u << (list[i] & 31);
    }
}
