#pragma once
// The registers as the tests know them, by tag and, those of the aperture alone, by byte offset:
// own lists, which one test compares with the driver's. Names of the form UnitNNN are registers
// that are only ever quieted.
#include <cstdint>

#define TEST_TAGS(X)                                                                               \
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

#define TEST_PORTS(X)                                                                              \
    X(0x0008, IntEnable)                                                                           \
    X(0x0010, IntFlags)                                                                            \
    X(0x0018, InFIFOSpace)                                                                         \
    X(0x0020, OutFIFOWords)                                                                        \
    X(0x0028, DMAAddress)                                                                          \
    X(0x0030, DMACount)                                                                            \
    X(0x0038, ErrorFlags)                                                                          \
    X(0x0060, DMAControl)                                                                          \
    X(0x0068, DisconnectControl)                                                                   \
    X(0x0090, AGPTextureBase)                                                                      \
    X(0x1180, FreeRunningTimer)                                                                    \
    X(0x1808, FBModeSel)                                                                           \
    X(0x2000, FIFOWindow)                                                                          \
    X(0x3000, ScreenBasePermedia)                                                                  \
    X(0x3068, ScreenBaseGlint)                                                                     \
    X(0x5800, VSControl)                                                                           \
    X(0x5900, VSStreamControl)                                                                     \
    X(0x5910, VSCurrentLine)                                                                       \
    X(0x5918, VSNextBuffer)                                                                        \
    X(0x5920, VSCurrentBuffer)                                                                     \
    X(0x5928, VSBufferBase0)                                                                       \
    X(0x5930, VSBufferBase1)                                                                       \
    X(0x5938, VSBufferBase2)                                                                       \
    X(0x5940, VSBufferStride)                                                                      \
    X(0x5948, VSStartLine)                                                                         \
    X(0x5950, VSEndLine)                                                                           \
    X(0x5958, VSStartPixel)                                                                        \
    X(0x5960, VSEndPixel)                                                                          \
    X(0x6008, ScreenBank)

namespace t {
#define TEST_REGISTER(number, name) inline constexpr uint32_t name = number;
TEST_TAGS(TEST_REGISTER)
TEST_PORTS(TEST_REGISTER)
#undef TEST_REGISTER

// Where the output FIFO's next word is read, and the one after it.
inline constexpr uint32_t OutFIFOWord = FIFOWindow, OutFIFOSecondWord = FIFOWindow + 4;

// The byte offset at which the aperture shows a register of the stream.
constexpr uint32_t Mapped(uint32_t tag) {
    return 0x8000 + tag * 8;
}
} // namespace t
