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

// A change to some bits of a mode word. Bits that have a field of their own go by Put; the others,
// whose meaning the driver never needs, by their masks.
struct WordEdit {
    uint32_t clear = 0;
    uint32_t set = 0;

    constexpr WordEdit Put(Field bits, uint32_t value) const {
        return {clear | bits.Mask(), bits.Put(set, value)};
    }
    constexpr WordEdit Off(uint32_t bits) const { return {clear | bits, set & ~bits}; }
    constexpr WordEdit On(uint32_t bits) const { return {clear | bits, set | bits}; }
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
                                   .Off(0x1000);
constexpr WordEdit kPermediaBlend = kBlendOff.On(0x60000);
constexpr WordEdit kGlintBlend =
    kBlendOff.Put(field::AlphaBlendMode_FormatExtension, 1).Off(0x8000).On(0x20000);

constexpr WordEdit kGlintDither = WordEdit()
                                      .Put(field::DitherMode_UnitEnable, 1)
                                      .Put(field::DitherMode_ColorOrder, 1)
                                      .Off(0x03C0);
constexpr WordEdit kPermediaDither = kGlintDither.Off(0x3000);

constexpr WordEdit kDepthReadOff =
    WordEdit().Put(field::LBReadMode_ReadSource, 0).Put(field::LBReadMode_ReadDest, 0).Off(0x70000);
constexpr WordEdit kPermediaColourReadOff = WordEdit()
                                                .Put(field::FBReadMode_ReadSource, 0)
                                                .Put(field::FBReadMode_ReadDest, 0)
                                                .Off(0x067B8000);
constexpr WordEdit kGlintColourReadOff =
    WordEdit().Put(field::FBReadMode_ReadSource, 0).Put(field::FBReadMode_ReadDest, 0).Off(0x18000);

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
                                        .Off(0x70);

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
constexpr uint32_t kRasterizerHostSetup = 0x20;
constexpr uint32_t kMinusOne = 0xFFFF0000; // 16.16

constexpr ModeStep kPermediaSteps1[] = {
    {tag::FBWriteMode, &RegisterCopies::FBWriteMode,
     WordEdit().Put(field::FBWriteMode_Enable, 1).Off(0x8)},
    {tag::LBReadFormat, &RegisterCopies::LBReadFormat, WordEdit().Off(0xF)},
    {tag::LBWriteFormat, &RegisterCopies::LBReadFormat},
    {tag::LBWriteMode, &RegisterCopies::LBWriteMode, WordEdit().Put(field::LBWriteMode_Enable, 0)},
    {tag::DepthMode, &RegisterCopies::DepthMode, DepthWithCompare(kCompareLessEqual)},
    {tag::StencilMode, &RegisterCopies::StencilMode, WordEdit().Off(0x7F)},
    {tag::FogMode, &RegisterCopies::FogMode, WordEdit().Put(field::FogMode_Enable, 1)},
    {tag::Window, &RegisterCopies::WindowMode,
     WordEdit().Put(field::Window_DisableUpdate, 1).Off(0x18)},
    Constant(tag::ChromaUpperBound, 0),
    Constant(tag::ChromaLowerBound, 0),
    Constant(tag::ChromaTestMode, 0xFFFFFFFF),
    Constant(tag::Unit1E4, 0x11000000),
};
constexpr ModeStep kPermediaSteps2[] = {
    {tag::TextureColorMode, &RegisterCopies::TextureColorMode, kTextureColour},
    {tag::TextureMapFormat, &RegisterCopies::TextureMapFormat,
     WordEdit()
         .Put(field::TextureMapFormat_TexelSize, 1)
         .Put(field::TextureMapFormat_Patched, 0)
         .Off(0x10000)},
    {tag::TextureDataFormat, &RegisterCopies::TextureDataFormat,
     WordEdit()
         .Put(field::TextureDataFormat_Format, 1)
         .Put(field::TextureDataFormat_NoAlpha, 1)
         .Put(field::TextureDataFormat_ColorOrder, 1)},
    Constant(tag::TextureBaseAddress, 0),
    // A 256 by 256 map that wraps; of an old word only bits 5 to 8 are kept.
    {tag::TextureReadMode, &RegisterCopies::TextureReadMode,
     WordEdit()
         .Off(~0x1E0u)
         .Put(field::TextureReadMode_Enable, 1)
         .Put(field::TextureReadMode_WrapS, 1)
         .Put(field::TextureReadMode_WrapT, 1)
         .Put(field::TextureReadMode_Width, 8)
         .Put(field::TextureReadMode_Height, 8)},
    {tag::YUVMode, &RegisterCopies::YUVMode, WordEdit().Off(0x3F)},
    Constant(tag::TexelLUTMode, 0),
    Constant(tag::AreaStippleMode, field::AreaStippleMode_Enable.Mask()),
};
constexpr WordEdit kPermediaDelta = WordEdit()
                                        .Put(field::DeltaMode_SmoothShading, 1)
                                        .Put(field::DeltaMode_DepthEnable, 0)
                                        .Put(field::DeltaMode_Specular, 0)
                                        .Put(field::DeltaMode_PerspectiveOff, 1)
                                        .Put(field::DeltaMode_PerspectiveOn, 0)
                                        .Off(0x13209)
                                        .On(0x00C36);
constexpr WordEdit kPermedia2Delta = kPermediaDelta.Off(0x20000).On(0x40000);

constexpr ModeStep kGlintSteps1[] = {
    {tag::LBReadFormat, &RegisterCopies::LBReadFormat,
     WordEdit().Put(field::LBReadFormat_DepthWidth, 2).Off(0x1FFFC)},
    {tag::LBWriteFormat, &RegisterCopies::LBReadFormat},
    {tag::FBReadMode, &RegisterCopies::FBReadMode, kGlintColourReadOff},
    {tag::FBWriteMode, &RegisterCopies::FBWriteMode,
     WordEdit().Put(field::FBWriteMode_Enable, 1).Off(0x6)},
    {tag::LBWriteMode, &RegisterCopies::LBWriteMode, WordEdit().Put(field::LBWriteMode_Enable, 1)},
    {tag::DepthMode, &RegisterCopies::DepthMode, DepthWithCompare(kCompareAlways)},
    {tag::StencilMode, &RegisterCopies::StencilMode, WordEdit().Off(0x1807F)},
};
constexpr WordEdit kAlphaTestOff = WordEdit()
                                       .Put(field::AlphaTestMode_Enable, 0)
                                       .Put(field::AlphaTestMode_Compare, 4)
                                       .Put(field::AlphaTestMode_Reference, 0);
constexpr WordEdit kAlphaTestOn = kAlphaTestOff.Put(field::AlphaTestMode_Enable, 1);
constexpr ModeStep kGlintSteps2[] = {
    {tag::FogMode, &RegisterCopies::FogMode, WordEdit().Put(field::FogMode_Enable, 1).Off(0x2)},
    {tag::Window, &RegisterCopies::WindowMode, WordEdit().Off(0x7FFFF)},
    Constant(tag::TextureChromaUpper, 0),
    Constant(tag::TextureChromaLower, 0),
    Constant(tag::Unit095, 0),
    {tag::AlphaTestMode, &RegisterCopies::AlphaTestMode, kAlphaTestOff},
    {tag::ChromaTestMode, &RegisterCopies::MXModeWord, WordEdit().Off(0x5).On(0xA)},
    Constant(tag::AreaStippleMode, field::AreaStippleMode_Enable.Put(0, 1) |
                                       field::AreaStippleMode_XSelect.Put(0, 2) |
                                       field::AreaStippleMode_YSelect.Put(0, 2)),
};
constexpr WordEdit kGlintDelta = WordEdit()
                                     .Put(field::DeltaMode_DepthEnable, 0)
                                     .Off(0x13000)
                                     .On(0x00C1C | field::DeltaMode_SmoothShading.Mask());
constexpr WordEdit kDeltaUntextured = kGlintDelta.Put(field::DeltaMode_Specular, 0)
                                          .Put(field::DeltaMode_PerspectiveOff, 0)
                                          .Put(field::DeltaMode_PerspectiveOn, 0)
                                          .Off(0x00023);
constexpr WordEdit kDeltaTextured = kGlintDelta.Put(field::DeltaMode_Specular, 0)
                                        .Put(field::DeltaMode_PerspectiveOff, 0)
                                        .Put(field::DeltaMode_PerspectiveOn, 1)
                                        .Off(0x00202)
                                        .On(0x00021);
constexpr ModeStep kGlintTextureSteps[] = {
    {tag::TextureAddressMode, &RegisterCopies::GlintTextureAddressMode,
     WordEdit().Off(0x1D4).On(0x2002B)},
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
         .Off(0x06003000)
         .On(0x09400000)},
    {tag::TextureFormat, &RegisterCopies::GlintTextureFormat, WordEdit().Off(0x803E1).On(0x4001E)},
    {tag::TextureColorMode, &RegisterCopies::TextureColorMode, kTextureColour},
    Constant(tag::TextureCacheControl, 3),
};
constexpr ModeStep kGlintTextureBase[] = {
    Constant(tag::Unit0CD, 0),
    Constant(tag::TextureBaseAddr0, 0),
    Constant(tag::TextureBaseAddr1, 0),
    Constant(tag::RouterMode, 1),
};
constexpr ModeStep kMXSteps[] = {
    {tag::ChromaTestMode, &RegisterCopies::MXModeWord, WordEdit().Off(0x6).On(0x9)},
    {tag::TextureFilterMode, &RegisterCopies::GlintTextureFilterMode, WordEdit().Off(0x2).On(0x5)},
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
        WriteChip(driver->Registers, reg::DeltaDisconnectControl, 1);
        ctx->Stream.DisconnectMode = 1;
    } else if ((driver->ChipInfo->Flags & DisconnectUsable) != 0) {
        WriteChip(driver->Registers, reg::DisconnectControl, 1);
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
    out.Reserve(0x200);
    TurnUnitsOff(out, chip, kBufferUnits, kPermediaUnits, kGlintUnits);
    out.Store();
}

void SetupCommonContext(D3DContext* ctx) {
    StateWriter out(ctx);
    out.Reserve(0x100);
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
    out.Reserve(0x200);
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
    const bool hasTextureUnit = chip->DeviceId != DeviceSX;
    copies.DitherMode = kGlintDither.Of(copies.DitherMode);
    copies.AlphaBlendMode = kGlintBlend.Of(copies.AlphaBlendMode);
    copies.LBReadMode = kDepthReadOff.Of(copies.LBReadMode);
    SetupGlintTargetData(ctx, ctx->RenderTargetSurface, ctx->ZBufferSurface);

    StateWriter out(ctx);
    out.Reserve(0x200);
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
        if (chip->DeviceId == DeviceMX) {
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
