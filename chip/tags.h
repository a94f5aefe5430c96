#pragma once
// The chip's registers by tag, and the bit fields of their mode words.
#include <cstdint>

// A register is known by its tag; its mapped offset in the aperture is 0x8000 + tag * 8.
// Names of the form UnitNNN are registers that the driver only ever quiets.
#define KORV_TAGS(X)                                                                               \
    X(0x000, StartXDom)                                                                            \
    X(0x001, dXDom)                                                                                \
    X(0x002, StartXSub)                                                                            \
    X(0x003, dXSub)                                                                                \
    X(0x004, StartY)                                                                               \
    X(0x005, dY)                                                                                   \
    X(0x006, Count)                                                                                \
    X(0x007, Render)                                                                               \
    X(0x008, ContinueNewLine)                                                                      \
    X(0x009, ContinueNewDom)                                                                       \
    X(0x00A, ContinueNewSub)                                                                       \
    X(0x00B, Continue)                                                                             \
    X(0x00C, FlushSpan)                                                                            \
    X(0x00D, BitMaskPattern)                                                                       \
    X(0x014, RasterizerMode)                                                                       \
    X(0x015, YLimits)                                                                              \
    X(0x017, WaitForCompletion)                                                                    \
    X(0x018, PixelSize)                                                                            \
    X(0x019, XLimits)                                                                              \
    X(0x01A, RectangleOrigin)                                                                      \
    X(0x01B, RectangleSize)                                                                        \
    X(0x02A, PackedDataLimits)                                                                     \
    X(0x030, ScissorMode)                                                                          \
    X(0x031, ScissorMinXY)                                                                         \
    X(0x032, ScissorMaxXY)                                                                         \
    X(0x033, ScreenSize)                                                                           \
    X(0x034, AreaStippleMode)                                                                      \
    X(0x035, LineStippleMode)                                                                      \
    X(0x039, WindowOrigin)                                                                         \
    X(0x040, AreaStipplePattern0)                                                                  \
    X(0x041, AreaStipplePattern1)                                                                  \
    X(0x042, AreaStipplePattern2)                                                                  \
    X(0x043, AreaStipplePattern3)                                                                  \
    X(0x044, AreaStipplePattern4)                                                                  \
    X(0x045, AreaStipplePattern5)                                                                  \
    X(0x046, AreaStipplePattern6)                                                                  \
    X(0x047, AreaStipplePattern7)                                                                  \
    X(0x070, TextureAddressMode)                                                                   \
    X(0x071, SStart)                                                                               \
    X(0x072, dSdx)                                                                                 \
    X(0x073, dSdyDom)                                                                              \
    X(0x074, TStart)                                                                               \
    X(0x075, dTdx)                                                                                 \
    X(0x076, dTdyDom)                                                                              \
    X(0x077, QStart)                                                                               \
    X(0x078, dQdx)                                                                                 \
    X(0x079, dQdyDom)                                                                              \
    X(0x07A, LOD)                                                                                  \
    X(0x07B, dLodx)                                                                                \
    X(0x07C, dLodyDom)                                                                             \
    X(0x090, GlintTextureReadMode)                                                                 \
    X(0x091, TextureFormat)                                                                        \
    X(0x092, TextureCacheControl)                                                                  \
    X(0x095, Unit095)                                                                              \
    X(0x098, TexelLUTIndex)                                                                        \
    X(0x09A, TexelLUTAddress)                                                                      \
    X(0x09B, TexelLUTTransfer)                                                                     \
    X(0x09C, TextureFilterMode)                                                                    \
    X(0x09D, TextureChromaUpper)                                                                   \
    X(0x09E, TextureChromaLower)                                                                   \
    X(0x0A0, TextureBaseAddr0)                                                                     \
    X(0x0A1, TextureBaseAddr1)                                                                     \
    X(0x0A2, TextureBaseAddr2)                                                                     \
    X(0x0A3, TextureBaseAddr3)                                                                     \
    X(0x0A4, TextureBaseAddr4)                                                                     \
    X(0x0A5, TextureBaseAddr5)                                                                     \
    X(0x0A6, TextureBaseAddr6)                                                                     \
    X(0x0A7, TextureBaseAddr7)                                                                     \
    X(0x0A8, TextureBaseAddr8)                                                                     \
    X(0x0A9, TextureBaseAddr9)                                                                     \
    X(0x0AA, TextureBaseAddr10)                                                                    \
    X(0x0AB, TextureBaseAddr11)                                                                    \
    X(0x0B0, TextureBaseAddress)                                                                   \
    X(0x0B1, TextureMapFormat)                                                                     \
    X(0x0B2, TextureDataFormat)                                                                    \
    X(0x0CD, Unit0CD)                                                                              \
    X(0x0CE, TextureReadMode)                                                                      \
    X(0x0CF, TexelLUTMode)                                                                         \
    X(0x0D0, TextureColorMode)                                                                     \
    X(0x0D2, FogMode)                                                                              \
    X(0x0D3, FogColor)                                                                             \
    X(0x0D4, FStart)                                                                               \
    X(0x0D5, dFdx)                                                                                 \
    X(0x0D6, dFdyDom)                                                                              \
    X(0x0D9, KsStart)                                                                              \
    X(0x0DA, dKsdx)                                                                                \
    X(0x0DB, dKsdyDom)                                                                             \
    X(0x0DC, KdStart)                                                                              \
    X(0x0DD, dKddx)                                                                                \
    X(0x0DE, dKddyDom)                                                                             \
    X(0x0F0, RStart)                                                                               \
    X(0x0F1, dRdx)                                                                                 \
    X(0x0F2, dRdyDom)                                                                              \
    X(0x0F3, GStart)                                                                               \
    X(0x0F4, dGdx)                                                                                 \
    X(0x0F5, dGdyDom)                                                                              \
    X(0x0F6, BStart)                                                                               \
    X(0x0F7, dBdx)                                                                                 \
    X(0x0F8, dBdyDom)                                                                              \
    X(0x0F9, AStart)                                                                               \
    X(0x0FA, dAdx)                                                                                 \
    X(0x0FB, dAdyDom)                                                                              \
    X(0x0FC, ColorDDAMode)                                                                         \
    X(0x0FD, ConstantColor)                                                                        \
    X(0x0FE, Color)                                                                                \
    X(0x100, AlphaTestMode)                                                                        \
    X(0x101, AntialiasMode)                                                                        \
    X(0x102, AlphaBlendMode)                                                                       \
    X(0x103, DitherMode)                                                                           \
    X(0x104, FBSoftwareWriteMask)                                                                  \
    X(0x105, LogicalOpMode)                                                                        \
    X(0x106, FBWriteData)                                                                          \
    X(0x108, RouterMode)                                                                           \
    X(0x110, LBReadMode)                                                                           \
    X(0x111, LBReadFormat)                                                                         \
    X(0x112, LBSourceOffset)                                                                       \
    X(0x117, LBWindowBase)                                                                         \
    X(0x118, LBWriteMode)                                                                          \
    X(0x119, LBWriteFormat)                                                                        \
    X(0x11D, TextureData)                                                                          \
    X(0x11E, TextureDownloadOffset)                                                                \
    X(0x130, Window)                                                                               \
    X(0x131, StencilMode)                                                                          \
    X(0x132, StencilData)                                                                          \
    X(0x134, DepthMode)                                                                            \
    X(0x135, Depth)                                                                                \
    X(0x136, ZStartU)                                                                              \
    X(0x137, ZStartL)                                                                              \
    X(0x138, dZdxU)                                                                                \
    X(0x139, dZdxL)                                                                                \
    X(0x13A, dZdyDomU)                                                                             \
    X(0x13B, dZdyDomL)                                                                             \
    X(0x13C, FastClearDepth)                                                                       \
    X(0x150, FBReadMode)                                                                           \
    X(0x151, FBSourceOffset)                                                                       \
    X(0x152, FBPixelOffset)                                                                        \
    X(0x153, FBColor)                                                                              \
    X(0x155, FBSourceData)                                                                         \
    X(0x156, FBWindowBase)                                                                         \
    X(0x157, FBWriteMode)                                                                          \
    X(0x158, FBHardwareWriteMask)                                                                  \
    X(0x159, FBBlockColor)                                                                         \
    X(0x15A, FBReadPixel)                                                                          \
    X(0x15D, FBWriteConfig)                                                                        \
    X(0x15F, PatternRamMode)                                                                       \
    X(0x180, FilterMode)                                                                           \
    X(0x181, StatisticMode)                                                                        \
    X(0x182, MinRegion)                                                                            \
    X(0x183, MaxRegion)                                                                            \
    X(0x184, ResetPickResult)                                                                      \
    X(0x187, PickResult)                                                                           \
    X(0x188, Sync)                                                                                 \
    X(0x18D, FBBlockColorU)                                                                        \
    X(0x18E, FBBlockColorL)                                                                        \
    X(0x18F, SuspendUntilFrameBlank)                                                               \
    X(0x1D0, TexelLUT0)                                                                            \
    X(0x1D1, TexelLUT1)                                                                            \
    X(0x1D2, TexelLUT2)                                                                            \
    X(0x1D3, TexelLUT3)                                                                            \
    X(0x1D4, TexelLUT4)                                                                            \
    X(0x1D5, TexelLUT5)                                                                            \
    X(0x1D6, TexelLUT6)                                                                            \
    X(0x1D7, TexelLUT7)                                                                            \
    X(0x1D8, TexelLUT8)                                                                            \
    X(0x1D9, TexelLUT9)                                                                            \
    X(0x1DA, TexelLUT10)                                                                           \
    X(0x1DB, TexelLUT11)                                                                           \
    X(0x1DC, TexelLUT12)                                                                           \
    X(0x1DD, TexelLUT13)                                                                           \
    X(0x1DE, TexelLUT14)                                                                           \
    X(0x1DF, TexelLUT15)                                                                           \
    X(0x1E0, YUVMode)                                                                              \
    X(0x1E1, ChromaUpperBound)                                                                     \
    X(0x1E2, ChromaLowerBound)                                                                     \
    X(0x1E3, ChromaTestMode)                                                                       \
    X(0x1E4, Unit1E4)                                                                              \
    X(0x200, V0Fixed)                                                                              \
    X(0x210, V1Fixed)                                                                              \
    X(0x220, V2Fixed)                                                                              \
    X(0x230, V0Float)                                                                              \
    X(0x240, V1Float)                                                                              \
    X(0x250, V2Float)                                                                              \
    X(0x260, DeltaMode)                                                                            \
    X(0x261, DrawTriangle)                                                                         \
    X(0x262, RepeatTriangle)                                                                       \
    X(0x263, DrawLine01)                                                                           \
    X(0x264, DrawLine10)

// Bit fields of the mode words: register, field, lowest bit, width in bits.
#define KORV_FIELDS(X)                                                                             \
    X(Render, AreaStipple, 0, 1)                                                                   \
    X(Render, ResetLineStipple, 2, 1)                                                              \
    X(Render, FastFill, 3, 1)                                                                      \
    X(Render, Primitive, 6, 2)                                                                     \
    X(Render, SyncOnBitMask, 11, 1)                                                                \
    X(Render, SyncOnHostData, 12, 1)                                                               \
    X(Render, Texture, 13, 1)                                                                      \
    X(Render, Fog, 14, 1)                                                                          \
    X(Render, SubPixelCorrection, 16, 1)                                                           \
    X(Render, BlockFillKind, 18, 1)                                                                \
    X(ScissorMode, UserEnable, 0, 1)                                                               \
    X(ScissorMode, ScreenEnable, 1, 1)                                                             \
    X(AreaStippleMode, Enable, 0, 1)                                                               \
    X(AreaStippleMode, XSelect, 1, 3)                                                              \
    X(AreaStippleMode, YSelect, 4, 3)                                                              \
    X(ColorDDAMode, Enable, 0, 1)                                                                  \
    X(ColorDDAMode, Gouraud, 1, 1)                                                                 \
    X(FogMode, Enable, 0, 1)                                                                       \
    X(AlphaTestMode, Enable, 0, 1)                                                                 \
    X(AlphaTestMode, Compare, 1, 3)                                                                \
    X(AlphaTestMode, Reference, 4, 8)                                                              \
    X(AlphaBlendMode, Enable, 0, 1)                                                                \
    X(AlphaBlendMode, Source, 1, 4)                                                                \
    X(AlphaBlendMode, Dest, 5, 3)                                                                  \
    X(AlphaBlendMode, ColorFormat, 8, 4)                                                           \
    X(AlphaBlendMode, ColorOrder, 13, 1)                                                           \
    X(AlphaBlendMode, Special, 14, 1)                                                              \
    X(AlphaBlendMode, FormatExtension, 16, 1)                                                      \
    X(DitherMode, UnitEnable, 0, 1)                                                                \
    X(DitherMode, Enable, 1, 1)                                                                    \
    X(DitherMode, ColorFormat, 2, 4)                                                               \
    X(DitherMode, ColorOrder, 10, 1)                                                               \
    X(DitherMode, FormatExtension, 16, 1)                                                          \
    X(LogicalOpMode, Enable, 0, 1)                                                                 \
    X(LogicalOpMode, Operation, 1, 4)                                                              \
    X(LogicalOpMode, ConstantColour, 5, 1)                                                         \
    X(LBReadMode, PartialProduct0, 0, 3)                                                           \
    X(LBReadMode, PartialProduct1, 3, 3)                                                           \
    X(LBReadMode, PartialProduct2, 6, 3)                                                           \
    X(LBReadMode, ReadSource, 9, 1)                                                                \
    X(LBReadMode, ReadDest, 10, 1)                                                                 \
    X(LBReadMode, Patched, 19, 1)                                                                  \
    X(LBReadFormat, DepthWidth, 0, 2)                                                              \
    X(LBWriteMode, Enable, 0, 1)                                                                   \
    X(Window, ForceUpdate, 3, 1)                                                                   \
    X(Window, UpdateFromRegister, 4, 1)                                                            \
    X(Window, DisableUpdate, 18, 1)                                                                \
    X(StencilMode, Enable, 0, 1)                                                                   \
    X(DepthMode, Enable, 0, 1)                                                                     \
    X(DepthMode, WriteEnable, 1, 1)                                                                \
    X(DepthMode, Source, 2, 2)                                                                     \
    X(DepthMode, Compare, 4, 3)                                                                    \
    X(FBReadMode, PartialProduct0, 0, 3)                                                           \
    X(FBReadMode, PartialProduct1, 3, 3)                                                           \
    X(FBReadMode, PartialProduct2, 6, 3)                                                           \
    X(FBReadMode, ReadSource, 9, 1)                                                                \
    X(FBReadMode, ReadDest, 10, 1)                                                                 \
    X(FBReadMode, Patched, 18, 1)                                                                  \
    X(FBReadMode, Packed, 19, 1)                                                                   \
    X(FBReadMode, RelativeOffset, 20, 3)                                                           \
    X(FBReadMode, PatchKind, 25, 2)                                                                \
    X(FBReadMode, ReadTexels, 29, 1)                                                               \
    X(FBWriteMode, Enable, 0, 1)                                                                   \
    X(FilterMode, SyncTag, 10, 1)                                                                  \
    X(FilterMode, SyncData, 11, 1)                                                                 \
    X(FilterMode, StatisticsTag, 12, 1)                                                            \
    X(FilterMode, StatisticsData, 13, 1)                                                           \
    X(TextureAddressMode, Enable, 0, 1)                                                            \
    X(TextureAddressMode, Perspective, 1, 1)                                                       \
    X(TextureAddressMode, FastPerspective, 2, 1)                                                   \
    X(TextureAddressMode, DeltaFormat, 3, 1)                                                       \
    X(TextureAddressMode, LevelOfDetail, 7, 2)                                                     \
    X(TextureColorMode, Enable, 0, 1)                                                              \
    X(TextureColorMode, Application, 1, 3)                                                         \
    X(TextureColorMode, Specular, 6, 1)                                                            \
    X(TextureColorMode, BaseFormat, 7, 2)                                                          \
    X(TextureColorMode, BaseFormatEnable, 9, 1)                                                    \
    X(TextureReadMode, Enable, 0, 1)                                                               \
    X(TextureReadMode, WrapS, 1, 2)                                                                \
    X(TextureReadMode, WrapT, 3, 2)                                                                \
    X(TextureReadMode, Width, 9, 4)                                                                \
    X(TextureReadMode, Height, 13, 4)                                                              \
    X(TextureReadMode, Filter, 17, 1)                                                              \
    X(TextureMapFormat, PartialProduct0, 0, 3)                                                     \
    X(TextureMapFormat, PartialProduct1, 3, 3)                                                     \
    X(TextureMapFormat, PartialProduct2, 6, 3)                                                     \
    X(TextureMapFormat, Patched, 17, 1)                                                            \
    X(TextureMapFormat, TexelSize, 19, 3)                                                          \
    X(TextureDataFormat, Format, 0, 4)                                                             \
    X(TextureDataFormat, NoAlpha, 4, 1)                                                            \
    X(TextureDataFormat, ColorOrder, 5, 1)                                                         \
    X(TextureDataFormat, FormatExtension, 6, 1)                                                    \
    X(TextureDataFormat, KeyMode, 7, 2)                                                            \
    X(GlintTextureReadMode, Enable, 0, 1)                                                          \
    X(GlintTextureReadMode, Width, 1, 4)                                                           \
    X(GlintTextureReadMode, Height, 5, 4)                                                          \
    X(GlintTextureReadMode, TexelSize, 9, 3)                                                       \
    X(GlintTextureReadMode, MagFilter, 14, 1)                                                      \
    X(GlintTextureReadMode, MinFilter, 15, 3)                                                      \
    X(GlintTextureReadMode, WrapS, 18, 2)                                                          \
    X(GlintTextureReadMode, WrapT, 20, 2)                                                          \
    X(GlintTextureReadMode, MipMap, 23, 1)                                                         \
    X(TextureFormat, ColorOrder, 1, 1)                                                             \
    X(TextureFormat, RedHigh, 2, 1)                                                                \
    X(TextureFormat, Components, 3, 2)                                                             \
    X(TextureFormat, Application, 5, 2)                                                            \
    X(TextureFilterMode, Enable, 0, 1)                                                             \
    X(TextureFilterMode, KeyTest, 1, 1)                                                            \
    X(YUVMode, Enable, 0, 1)                                                                       \
    X(YUVMode, KeyMode, 1, 2)                                                                      \
    X(ChromaTestMode, Enable, 0, 1)                                                                \
    X(DeltaMode, DepthEnable, 7, 1)                                                                \
    X(DeltaMode, SmoothShading, 6, 1)                                                              \
    X(DeltaMode, Specular, 8, 1)                                                                   \
    X(DeltaMode, PerspectiveOff, 14, 1)                                                            \
    X(DeltaMode, PerspectiveOn, 15, 1)                                                             \
    X(DeltaMode, TargetChip, 0, 2)                                                                 \
    X(DeltaMode, DepthFormat, 2, 2)                                                                \
    X(DeltaMode, Fog, 4, 1)                                                                        \
    X(DeltaMode, Texture, 5, 1)                                                                    \
    X(DeltaMode, SubPixelCorrection, 10, 1)                                                        \
    X(DeltaMode, ColorOrder, 18, 1)                                                                \
    X(RasterizerMode, HalfBias, 5, 1)                                                              \
    X(LineStippleMode, Enable, 0, 1)

namespace tag {
#define KORV_X(number, name) inline constexpr uint32_t name = number;
KORV_TAGS(KORV_X)
#undef KORV_X
} // namespace tag

struct RegisterName {
    uint32_t tag;
    const char* name;
};

// All named registers, ascending by tag.
inline constexpr RegisterName kRegisterNames[] = {
#define KORV_X(number, name) {number, #name},
    KORV_TAGS(KORV_X)
#undef KORV_X
};

// A run of bits in the mode word of one register.
struct Field {
    uint16_t tag;
    uint8_t low;   // lowest bit
    uint8_t width; // bits
    const char* name;

    constexpr uint32_t Mask() const { return ((1u << width) - 1u) << low; }
    constexpr uint32_t Get(uint32_t word) const { return (word & Mask()) >> low; }
    // The word with this field replaced by the low `width` bits of `value`.
    constexpr uint32_t Put(uint32_t word, uint32_t value) const {
        return (word & ~Mask()) | ((value << low) & Mask());
    }
};

// field::Register_Name, for instance field::DepthMode_Compare.
namespace field {
#define KORV_X(reg, name, low, width)                                                              \
    inline constexpr Field reg##_##name{tag::reg, low, width, #name};
KORV_FIELDS(KORV_X)
#undef KORV_X
} // namespace field

// All fields, grouped by register.
inline constexpr Field kRegisterFields[] = {
#define KORV_X(reg, name, low, width) field::reg##_##name,
    KORV_FIELDS(KORV_X)
#undef KORV_X
};

// Name of a register, or null where the vocabulary has none.
constexpr const char* NameOfTag(uint32_t tagNumber) {
    for (const RegisterName& entry : kRegisterNames) {
        if (entry.tag == tagNumber) {
            return entry.name;
        }
    }
    return nullptr;
}
