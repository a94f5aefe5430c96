#include "driver/d3d/dcontext_setup.h"

#include "driver/core/dma.h"
#include "driver/core/registry.h"
#include "driver/core/units.h"
#include "driver/d3d/dcontext_target.h"
#include "driver/d3d/execute.h"
#include "driver/d3d/statepm.h"
#include "driver/d3d/statesx.h"
#include "driver/heap/surface_pitch.h"
#include "driver/raster/del_tex.h"
#include "driver/raster/gl_line.h"
#include "driver/raster/p2_tex.h"

#include <cstddef>

namespace {

using RegisterCopies = D3DContext::RegisterCopies;

// Reserved for turning all units off: 33 pairs at most.
constexpr uint32_t kUnitsOffBytes = 512;
// For what all chips start with, 13 pairs.
constexpr uint32_t kCommonBytes = 256;
// For what a family starts with: 27 pairs at most, on MX with a setup unit in front.
constexpr uint32_t kFamilyBytes = 512;

// A change to some fields of a mode word; all other bits stay.
struct WordEdit {
    uint32_t clear = 0;
    uint32_t set = 0;

    constexpr WordEdit Put(Field bits, uint32_t value) const {
        return {clear | bits.Mask(), bits.Put(set, value)};
    }
    // Clears all but these bits, whatever was put before.
    static constexpr WordEdit KeepOnly(Field bits) { return {~bits.Mask(), 0}; }
    constexpr uint32_t Of(uint32_t word) const { return (word & ~clear) | set; }
};

// A register to program: its copy is edited and sent. Without a copy the word is edit.set.
struct ModeStep {
    uint32_t tagNumber;
    uint32_t RegisterCopies::*copy = nullptr;
    WordEdit edit = {};
};

constexpr ModeStep Constant(uint32_t tagNumber, uint32_t word) {
    return {tagNumber, nullptr, {0, word}};
}

template <size_t N>
void Write(StateWriter& out, D3DContext* ctx, const ModeStep (&steps)[N]) {
    for (const ModeStep& step : steps) {
        uint32_t word = step.edit.set;
        if (step.copy != nullptr) {
            uint32_t& copy = ctx->Copies.*step.copy;
            word = copy = step.edit.Of(copy);
        }
        out.Tag(step.tagNumber, word);
    }
}

// The units that __GlintDisableUnits turns off besides those of driver/core/units.h, in its own
// order.
constexpr uint16_t kBufferUnits[] = {
    tag::DitherMode,  tag::AlphaBlendMode, tag::LogicalOpMode,
    tag::FBWriteMode, tag::StatisticMode,  tag::FilterMode,
    tag::PixelSize,   tag::FBSourceData,   tag::LBWriteFormat,
};
constexpr uint16_t kPermediaUnits[] = {
    tag::TextureReadMode, tag::TextureMapFormat, tag::TextureDataFormat,
    tag::TexelLUTMode,    tag::TextureColorMode,
};
constexpr uint16_t kGlintUnits[] = {
    tag::RouterMode,
    tag::GlintTextureReadMode,
    tag::TextureAddressMode,
    tag::TextureColorMode,
};

// Copies of which the pitch and format fields are the target's: only edited here, sent with it.

constexpr uint32_t kBlendSourceOne = 1; // AlphaBlendMode_Source
constexpr WordEdit kBlendOff = WordEdit()
                                   .Put(field::AlphaBlendMode_Enable, 0)
                                   .Put(field::AlphaBlendMode_Source, kBlendSourceOne)
                                   .Put(field::AlphaBlendMode_Dest, 0)
                                   .Put(field::AlphaBlendMode_ColorOrder, 1)
                                   .Put(field::AlphaBlendMode_Special, 0)
                                   .Put(field::AlphaBlendMode_Unknown12, 0)
                                   .Put(field::AlphaBlendMode_Unknown17, 1);
constexpr WordEdit kPermediaBlend = kBlendOff.Put(field::AlphaBlendMode_Unknown18, 1);
constexpr WordEdit kGlintBlend =
    kBlendOff.Put(field::AlphaBlendMode_FormatExtension, 1).Put(field::AlphaBlendMode_Unknown15, 0);

constexpr WordEdit kGlintDither = WordEdit()
                                      .Put(field::DitherMode_UnitEnable, 1)
                                      .Put(field::DitherMode_ColorOrder, 1)
                                      .Put(field::DitherMode_Unknown6, 0);
constexpr WordEdit kPermediaDither = kGlintDither.Put(field::DitherMode_Unknown12, 0);

constexpr WordEdit kDepthReadOff = WordEdit()
                                       .Put(field::LBReadMode_ReadSource, 0)
                                       .Put(field::LBReadMode_ReadDest, 0)
                                       .Put(field::LBReadMode_Unknown16, 0);
constexpr WordEdit kGlintColourReadOff = WordEdit()
                                             .Put(field::FBReadMode_ReadSource, 0)
                                             .Put(field::FBReadMode_ReadDest, 0)
                                             .Put(field::FBReadMode_Unknown15, 0);
constexpr WordEdit kPermediaColourReadOff = kGlintColourReadOff.Put(field::FBReadMode_Unknown17, 0)
                                                .Put(field::FBReadMode_Packed, 0)
                                                .Put(field::FBReadMode_RelativeOffset, 0)
                                                .Put(field::FBReadMode_PatchKind, 0);

// DepthMode_Compare: one less than the D3DCMP value.
constexpr uint32_t kCompareLessEqual = D3DCMP_LESSEQUAL - 1;
constexpr uint32_t kCompareAlways = D3DCMP_ALWAYS - 1;

constexpr WordEdit DepthWithCompare(uint32_t compare) {
    return WordEdit()
        .Put(field::DepthMode_Enable, 0)
        .Put(field::DepthMode_WriteEnable, 1)
        .Put(field::DepthMode_Source, 0)
        .Put(field::DepthMode_Compare, compare);
}

// Texture colour on, application field 0.
constexpr WordEdit kTextureColour = WordEdit()
                                        .Put(field::TextureColorMode_Enable, 1)
                                        .Put(field::TextureColorMode_Application, 0)
                                        .Put(field::TextureColorMode_Unknown4, 0)
                                        .Put(field::TextureColorMode_Specular, 0);

constexpr WordEdit kStencilOff =
    WordEdit().Put(field::StencilMode_Enable, 0).Put(field::StencilMode_Unknown1, 0);
constexpr WordEdit kWindowUpdateOff =
    WordEdit().Put(field::Window_ForceUpdate, 0).Put(field::Window_UpdateFromRegister, 0);

constexpr ModeStep kCommonSteps[] = {
    Constant(tag::ScissorMode, field::ScissorMode_ScreenEnable.Mask()),
    {tag::ColorDDAMode, &RegisterCopies::ColorDDAMode,
     WordEdit().Put(field::ColorDDAMode_Enable, 1).Put(field::ColorDDAMode_Gouraud, 1)},
    Constant(tag::FBSourceOffset, 0),
    Constant(tag::FBSoftwareWriteMask, 0xFFFFFFFF),
    Constant(tag::FBHardwareWriteMask, 0xFFFFFFFF),
    Constant(tag::FilterMode, 0),
    Constant(tag::StatisticMode, 0),
    Constant(tag::LBSourceOffset, 0),
    Constant(tag::WindowOrigin, 0),
    Constant(tag::FBWindowBase, 0),
};
// RasterizerMode without a setup unit.
constexpr uint32_t kRasterizerHostSetup = field::RasterizerMode_HalfBias.Mask();
constexpr uint32_t kMinusOne = 0xFFFF0000; // 16.16
// Sent as it is: what its bits mean is the chip's matter.
constexpr uint32_t kUnit1E4Quiet = 0x11000000;

constexpr ModeStep kPermediaSteps1[] = {
    {tag::FBWriteMode, &RegisterCopies::FBWriteMode,
     WordEdit().Put(field::FBWriteMode_Enable, 1).Put(field::FBWriteMode_Unknown3, 0)},
    {tag::LBReadFormat, &RegisterCopies::LBReadFormat,
     WordEdit().Put(field::LBReadFormat_DepthWidth, 0).Put(field::LBReadFormat_Unknown2, 0)},
    {tag::LBWriteFormat, &RegisterCopies::LBReadFormat},
    {tag::LBWriteMode, &RegisterCopies::LBWriteMode, WordEdit().Put(field::LBWriteMode_Enable, 0)},
    {tag::DepthMode, &RegisterCopies::DepthMode, DepthWithCompare(kCompareLessEqual)},
    {tag::StencilMode, &RegisterCopies::StencilMode, kStencilOff},
    {tag::FogMode, &RegisterCopies::FogMode, WordEdit().Put(field::FogMode_Enable, 1)},
    {tag::Window, &RegisterCopies::WindowMode,
     kWindowUpdateOff.Put(field::Window_DisableUpdate, 1)},
    Constant(tag::ChromaUpperBound, 0),
    Constant(tag::ChromaLowerBound, 0),
    Constant(tag::ChromaTestMode, 0xFFFFFFFF),
    Constant(tag::Unit1E4, kUnit1E4Quiet),
};
constexpr ModeStep kPermediaSteps2[] = {
    {tag::TextureColorMode, &RegisterCopies::TextureColorMode, kTextureColour},
    {tag::TextureMapFormat, &RegisterCopies::TextureMapFormat,
     WordEdit()
         .Put(field::TextureMapFormat_TexelSize, 1)
         .Put(field::TextureMapFormat_Patched, 0)
         .Put(field::TextureMapFormat_Unknown16, 0)},
    {tag::TextureDataFormat, &RegisterCopies::TextureDataFormat,
     WordEdit()
         .Put(field::TextureDataFormat_Format, 1)
         .Put(field::TextureDataFormat_NoAlpha, 1)
         .Put(field::TextureDataFormat_ColorOrder, 1)},
    Constant(tag::TextureBaseAddress, 0),
    // A 256 by 256 map that wraps.
    {tag::TextureReadMode, &RegisterCopies::TextureReadMode,
     WordEdit::KeepOnly(field::TextureReadMode_Unknown5)
         .Put(field::TextureReadMode_Enable, 1)
         .Put(field::TextureReadMode_WrapS, 1)
         .Put(field::TextureReadMode_WrapT, 1)
         .Put(field::TextureReadMode_Width, 8)
         .Put(field::TextureReadMode_Height, 8)},
    {tag::YUVMode, &RegisterCopies::YUVMode,
     WordEdit()
         .Put(field::YUVMode_Enable, 0)
         .Put(field::YUVMode_KeyMode, 0)
         .Put(field::YUVMode_Unknown3, 0)},
    Constant(tag::TexelLUTMode, 0),
    Constant(tag::AreaStippleMode, field::AreaStippleMode_Enable.Mask()),
};
// What every setup unit starts with.
constexpr WordEdit kAnyDelta = WordEdit()
                                   .Put(field::DeltaMode_Fog, 1)
                                   .Put(field::DeltaMode_SmoothShading, 1)
                                   .Put(field::DeltaMode_DepthEnable, 0)
                                   .Put(field::DeltaMode_Specular, 0)
                                   .Put(field::DeltaMode_SubPixelCorrection, 1)
                                   .Put(field::DeltaMode_Unknown11, 1)
                                   .Put(field::DeltaMode_Unknown12, 0)
                                   .Put(field::DeltaMode_Unknown16, 0);
constexpr WordEdit kPermediaDelta = kAnyDelta.Put(field::DeltaMode_TargetChip, 2)
                                        .Put(field::DeltaMode_DepthFormat, 1)
                                        .Put(field::DeltaMode_Texture, 1)
                                        .Put(field::DeltaMode_Unknown9, 0)
                                        .Put(field::DeltaMode_PerspectiveOff, 1)
                                        .Put(field::DeltaMode_PerspectiveOn, 0);
constexpr WordEdit kPermedia2Delta =
    kPermediaDelta.Put(field::DeltaMode_Unknown17, 0).Put(field::DeltaMode_ColorOrder, 1);

constexpr ModeStep kGlintSteps1[] = {
    {tag::LBReadFormat, &RegisterCopies::LBReadFormat,
     WordEdit()
         .Put(field::LBReadFormat_DepthWidth, 2)
         .Put(field::LBReadFormat_Unknown2, 0)
         .Put(field::LBReadFormat_Unknown4, 0)},
    {tag::LBWriteFormat, &RegisterCopies::LBReadFormat},
    {tag::FBReadMode, &RegisterCopies::FBReadMode, kGlintColourReadOff},
    {tag::FBWriteMode, &RegisterCopies::FBWriteMode,
     WordEdit().Put(field::FBWriteMode_Enable, 1).Put(field::FBWriteMode_Unknown1, 0)},
    {tag::LBWriteMode, &RegisterCopies::LBWriteMode, WordEdit().Put(field::LBWriteMode_Enable, 1)},
    {tag::DepthMode, &RegisterCopies::DepthMode, DepthWithCompare(kCompareAlways)},
    {tag::StencilMode, &RegisterCopies::StencilMode,
     kStencilOff.Put(field::StencilMode_Unknown15, 0)},
};
constexpr WordEdit kAlphaTestOff = WordEdit()
                                       .Put(field::AlphaTestMode_Enable, 0)
                                       .Put(field::AlphaTestMode_Compare, 4)
                                       .Put(field::AlphaTestMode_Reference, 0);
constexpr WordEdit kAlphaTestOn = kAlphaTestOff.Put(field::AlphaTestMode_Enable, 1);
constexpr ModeStep kGlintSteps2[] = {
    {tag::FogMode, &RegisterCopies::FogMode,
     WordEdit().Put(field::FogMode_Enable, 1).Put(field::FogMode_Unknown1, 0)},
    {tag::Window, &RegisterCopies::WindowMode,
     kWindowUpdateOff.Put(field::Window_Unknown0, 0)
         .Put(field::Window_Unknown5, 0)
         .Put(field::Window_DisableUpdate, 0)},
    Constant(tag::TextureChromaUpper, 0),
    Constant(tag::TextureChromaLower, 0),
    Constant(tag::Unit095, 0),
    {tag::AlphaTestMode, &RegisterCopies::AlphaTestMode, kAlphaTestOff},
    {tag::ChromaTestMode, &RegisterCopies::MXModeWord,
     WordEdit().Put(field::ChromaTestMode_Enable, 0).Put(field::ChromaTestMode_Unknown1, 5)},
    Constant(tag::AreaStippleMode, field::AreaStippleMode_Enable.Put(0, 1) |
                                       field::AreaStippleMode_XSelect.Put(0, 2) |
                                       field::AreaStippleMode_YSelect.Put(0, 2)),
};
constexpr WordEdit kGlintDelta =
    kAnyDelta.Put(field::DeltaMode_DepthFormat, 3).Put(field::DeltaMode_PerspectiveOff, 0);
constexpr WordEdit kDeltaUntextured = kGlintDelta.Put(field::DeltaMode_TargetChip, 0)
                                          .Put(field::DeltaMode_Texture, 0)
                                          .Put(field::DeltaMode_PerspectiveOn, 0);
constexpr WordEdit kDeltaTextured = kGlintDelta.Put(field::DeltaMode_TargetChip, 1)
                                        .Put(field::DeltaMode_Texture, 1)
                                        .Put(field::DeltaMode_Unknown9, 0)
                                        .Put(field::DeltaMode_PerspectiveOn, 1);
constexpr ModeStep kGlintTextureSteps[] = {
    {tag::TextureAddressMode, &RegisterCopies::GlintTextureAddressMode,
     WordEdit()
         .Put(field::TextureAddressMode_Enable, 1)
         .Put(field::TextureAddressMode_Perspective, 1)
         .Put(field::TextureAddressMode_FastPerspective, 0)
         .Put(field::TextureAddressMode_DeltaFormat, 1)
         .Put(field::TextureAddressMode_Unknown4, 2)
         .Put(field::TextureAddressMode_LevelOfDetail, 0)
         .Put(field::TextureAddressMode_Unknown17, 1)},
    {tag::GlintTextureReadMode, &RegisterCopies::GlintTextureReadMode,
     WordEdit()
         .Put(field::GlintTextureReadMode_Enable, 1)
         .Put(field::GlintTextureReadMode_Width, 8)
         .Put(field::GlintTextureReadMode_Height, 8)
         .Put(field::GlintTextureReadMode_TexelSize, 4)
         .Put(field::GlintTextureReadMode_MagFilter, 0)
         .Put(field::GlintTextureReadMode_MinFilter, 0)
         .Put(field::GlintTextureReadMode_WrapS, 1)
         .Put(field::GlintTextureReadMode_WrapT, 1)
         .Put(field::GlintTextureReadMode_MipMap, 0)
         .Put(field::GlintTextureReadMode_Unknown12, 0)
         .Put(field::GlintTextureReadMode_Unknown22, 1)
         .Put(field::GlintTextureReadMode_Unknown24, 9)},
    {tag::TextureFormat, &RegisterCopies::GlintTextureFormat,
     WordEdit()
         .Put(field::TextureFormat_Unknown0, 0)
         .Put(field::TextureFormat_ColorOrder, 1)
         .Put(field::TextureFormat_RedHigh, 1)
         .Put(field::TextureFormat_Components, 3)
         .Put(field::TextureFormat_Application, 0)
         .Put(field::TextureFormat_Unknown7, 0)
         .Put(field::TextureFormat_Unknown18, 1)},
    {tag::TextureColorMode, &RegisterCopies::TextureColorMode, kTextureColour},
    Constant(tag::TextureCacheControl, field::TextureCacheControl_Unknown0.Mask()),
};
constexpr ModeStep kGlintTextureBase[] = {
    Constant(tag::Unit0CD, 0),
    Constant(tag::TextureBaseAddr0, 0),
    Constant(tag::TextureBaseAddr1, 0),
    Constant(tag::RouterMode, 1),
};
constexpr ModeStep kMXSteps[] = {
    {tag::ChromaTestMode, &RegisterCopies::MXModeWord,
     WordEdit().Put(field::ChromaTestMode_Enable, 1).Put(field::ChromaTestMode_Unknown1, 4)},
    {tag::TextureFilterMode, &RegisterCopies::GlintTextureFilterMode,
     WordEdit()
         .Put(field::TextureFilterMode_Enable, 1)
         .Put(field::TextureFilterMode_KeyTest, 0)
         .Put(field::TextureFilterMode_Unknown2, 1)},
};

bool RegistrySwitchIsOn(const char* name) {
    uint32_t value;
    bGlintQueryRegistryValueUlong(name, &value);
    return value != 0;
}

// With disconnect the chip holds the bus while its FIFO is full, and no space need be waited for.
void SetupDisconnect(D3DContext* ctx) {
    DriverData* driver = ctx->Driver;
    ctx->Stream.DisconnectMode = 0;
    if (!RegistrySwitchIsOne("Direct3DHAL.EnableDisconnects") ||
        ctx->Stream.CommandMode == kCommandModeDMA) {
        return;
    }
    if (ctx->UseDelta != 0) {
        WriteChip(driver->Registers, reg::DeltaDisconnectControl,
                  field::DeltaDisconnectControl_Enable.Mask());
        ctx->Stream.DisconnectMode = 1;
    } else if ((driver->ChipInfo->Flags & DisconnectUsable) != 0) {
        WriteChip(driver->Registers, reg::DisconnectControl,
                  field::DisconnectControl_Enable.Mask());
        ctx->Stream.DisconnectMode = 1;
    }
}

Renderer StartingLineRenderer(const D3DContext* ctx) {
    const ChipInfo* chip = ctx->Driver->ChipInfo;
    if (IsPermedia2(chip)) {
        return P2_Line_XYZ_STQ_RGBFS;
    }
    if (ctx->UseDelta == 0) {
        return Glint_Line_XYZ_STQ_RGBF;
    }
    return chip->Family == FamilyGlint || IsFirstPermedia(chip) ? Delta_Line_XYZ_STQ_RGBF
                                                                : Delta_Line_XYZ_STQ_RGBFS;
}

} // namespace

void __GlintDisableUnits(D3DContext* ctx) {
    const ChipInfo* chip = ctx->Driver->ChipInfo;
    StateWriter out(ctx);
    out.Reserve(kUnitsOffBytes);
    TurnUnitsOff(out, chip, kBufferUnits, kPermediaUnits, kGlintUnits);
    out.Store();
}

void SetupCommonContext(D3DContext* ctx) {
    StateWriter out(ctx);
    out.Reserve(kCommonBytes);
    out.Wait(16);
    Write(out, ctx, kCommonSteps);
    out.Tag(tag::RasterizerMode, ctx->UseDelta != 0 ? 0 : kRasterizerHostSetup);
    out.Tag(tag::dY, kMinusOne);
    out.Tag(tag::FogColor, 0xFFFFFFFF);
    out.Store();
}

void SetupPermediaContext(D3DContext* ctx) {
    const ChipInfo* chip = ctx->Driver->ChipInfo;
    RegisterCopies& copies = ctx->Copies;
    copies.LBReadMode = kDepthReadOff.Put(field::LBReadMode_Patched, DXGlobals.ZPatch != 0 ? 1 : 0)
                            .Of(copies.LBReadMode);
    copies.FBReadMode = kPermediaColourReadOff.Of(copies.FBReadMode);
    copies.DitherMode = kPermediaDither.Of(copies.DitherMode);
    copies.AlphaBlendMode = kPermediaBlend.Of(copies.AlphaBlendMode);
    SetupPermediaTargetData(ctx, ctx->RenderTargetSurface, ctx->ZBufferSurface);

    StateWriter out(ctx);
    out.Reserve(kFamilyBytes);
    out.Wait(16);
    Write(out, ctx, kPermediaSteps1);
    out.Wait(3);
    out.Tag(tag::FBBlockColor, 0);
    ctx->ForceCopyMode = RegistrySwitchIsOn("Direct3DHAL.ForceCopyMode") ? 1 : 0;
    const bool fast = RegistrySwitchIsOn("Direct3DHAL.FastPerspective");
    const bool deltaFormat = IsFirstPermedia(chip) && ctx->UseDelta != 0;
    copies.TextureAddressMode = WordEdit()
                                    .Put(field::TextureAddressMode_FastPerspective, fast ? 1 : 0)
                                    .Put(field::TextureAddressMode_Perspective, 0)
                                    .Put(field::TextureAddressMode_Enable, 1)
                                    .Put(field::TextureAddressMode_DeltaFormat, deltaFormat ? 1 : 0)
                                    .Of(copies.TextureAddressMode);
    out.Tag(tag::TextureAddressMode, copies.TextureAddressMode);
    out.Wait(16);
    copies.TextureMapFormat = PutDisplayProducts(copies.TextureMapFormat, ctx);
    Write(out, ctx, kPermediaSteps2);
    if (ctx->UseDelta != 0) {
        copies.DeltaMode =
            (IsPermedia2(chip) ? kPermedia2Delta : kPermediaDelta).Of(copies.DeltaMode);
        out.Tag(tag::DeltaMode, copies.DeltaMode);
    }
    out.Store();

    ctx->HandleDirtyState = HandleDirtyPermediaState;
    ctx->ProcessStates = ProcessPermediaStates;
}

void SetupGlintContext(D3DContext* ctx) {
    const ChipInfo* chip = ctx->Driver->ChipInfo;
    RegisterCopies& copies = ctx->Copies;
    const bool hasTextureUnit = !IsSX(chip);
    copies.DitherMode = kGlintDither.Of(copies.DitherMode);
    copies.AlphaBlendMode = kGlintBlend.Of(copies.AlphaBlendMode);
    copies.LBReadMode = kDepthReadOff.Of(copies.LBReadMode);
    SetupGlintTargetData(ctx, ctx->RenderTargetSurface, ctx->ZBufferSurface);

    StateWriter out(ctx);
    out.Reserve(kFamilyBytes);
    out.Wait(16);
    copies.FBReadMode = PutDisplayProducts(copies.FBReadMode, ctx);
    Write(out, ctx, kGlintSteps1);
    ctx->RenderFlags &= ~RF_FOG;
    out.Wait(16);
    Write(out, ctx, kGlintSteps2);
    copies.AlphaTestModeKeyed = kAlphaTestOn.Of(copies.AlphaTestModeKeyed);
    if (ctx->UseDelta != 0) {
        copies.DeltaMode =
            (hasTextureUnit ? kDeltaTextured : kDeltaUntextured).Of(copies.DeltaMode);
        out.Tag(tag::DeltaMode, copies.DeltaMode);
    }
    if (hasTextureUnit) {
        Write(out, ctx, kGlintTextureSteps);
        out.Wait(10);
        Write(out, ctx, kGlintTextureBase);
        if (IsMX(chip)) {
            Write(out, ctx, kMXSteps);
        }
        // As if textured; the texture flush of the first primitive corrects it.
        ctx->RenderFlags |= RF_TEXTURE;
    }
    out.Store();

    ctx->HandleDirtyState = HandleDirtyGlintState;
    ctx->ProcessStates = ProcessGlintStates;
}

uint32_t SetupContext(D3DContext* ctx) {
    DriverData* driver = ctx->Driver;
    SynchroniseContext(ctx);
    ctx->Copies = {};
    SetupDisconnect(ctx);
    __GlintDisableUnits(ctx);

    ctx->BytesPerPixel = driver->PixelDepthBits >> 3;
    DeterminePPCode(driver, driver->ScreenWidth, &ctx->PartialProduct0, &ctx->PartialProduct1,
                    &ctx->PartialProduct2, &ctx->PartialProductExtra);
    FlipSurfaces(driver, ctx);
    ctx->RenderFlags = RF_GOURAUD;
    SetupCommonContext(ctx);
    if (driver->ChipInfo->Family == FamilyPermedia) {
        SetupPermediaContext(ctx);
    } else if (driver->ChipInfo->Family == FamilyGlint) {
        SetupGlintContext(ctx);
    }

    ctx->FogColor = 0;
    ctx->SpecularEnabled = 1;
    ctx->StippleEnabled = 0;
    ctx->DitherEnabled = 0;
    ctx->ColorKeyActive = 0;
    ctx->BlendForcesZeroAlpha = 0;
    ctx->RenderCommand = field::Render_SubPixelCorrection.Mask();
    // The first primitive chooses its triangle renderer and settles the texture.
    ctx->DirtyFlags |= DIRTY_RENDERERS | DIRTY_TEXTURE;
    ctx->PointRenderer = Dummy_Point_Renderer;
    ctx->LineRenderer = StartingLineRenderer(ctx);
    return 1;
}
