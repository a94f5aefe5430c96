#pragma once
// Byte offsets in the chip's register aperture. All accesses are 32-bit.
#include <cstdint>

#define KORV_REGISTERS(X)                                                                          \
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
    X(0x0808, DeltaIntEnable)                                                                      \
    X(0x0868, DeltaDisconnectControl)                                                              \
    X(0x1180, FreeRunningTimer)                                                                    \
    X(0x1808, FBModeSel)                                                                           \
    X(0x2000, FIFOWindow)                                                                          \
    X(0x3000, ScreenBasePermedia)                                                                  \
    X(0x3038, BlankEndGlint)                                                                       \
    X(0x3040, BlankEndPermedia)                                                                    \
    X(0x3068, ScreenBaseGlint)                                                                     \
    X(0x3070, LineCounter)                                                                         \
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
    X(0x6008, ScreenBank)                                                                          \
    X(0x8000, MappedRegisters)

namespace reg {
#define KORV_X(offset, name) inline constexpr uint32_t name = offset;
KORV_REGISTERS(KORV_X)
#undef KORV_X

// Bytes of FIFOWindow: a word written anywhere in it enters the input FIFO.
inline constexpr uint32_t FIFOWindowBytes = 0xFA0;
// So does one in the rest of the window's page: the few writers that reserve less than they write
// run up to 20 bytes past the window's end.
inline constexpr uint32_t FIFOPageBytes = 0x1000;
// Reads here give the next output FIFO word and the one after it.
inline constexpr uint32_t OutFIFOWord = FIFOWindow;
inline constexpr uint32_t OutFIFOSecondWord = FIFOWindow + 4;
// The video block: its registers lie 8 bytes apart from here on.
inline constexpr uint32_t VideoRegisters = 0x5800;
// One register per capture buffer: its offset in video memory, in units of 8 bytes.
inline constexpr uint32_t VSBufferBase[3] = {VSBufferBase0, VSBufferBase1, VSBufferBase2};
// Bytes of the whole aperture: up to the mapped register of the highest tag.
inline constexpr uint32_t ApertureBytes = MappedRegisters + 0x400 * 8;
} // namespace reg

// Offset of a register's mapped form: writing there is the same as sending (tag, data).
constexpr uint32_t MappedOffset(uint32_t tagNumber) {
    return reg::MappedRegisters + tagNumber * 8;
}

struct ApertureName {
    uint32_t offset;
    const char* name;
};

// All named aperture offsets, ascending.
inline constexpr ApertureName kApertureNames[] = {
#define KORV_X(offset, name) {offset, #name},
    KORV_REGISTERS(KORV_X)
#undef KORV_X
};
