#pragma once
// Boards that are wrong on purpose, each in one way: to see that whoever checks boards notices. A
// board with a break draws everything by the plain forms; one without pays nothing for them.
#include <cstdint>
#include <span>
#include <string_view>

namespace board {

enum class Break : uint8_t {
    None,
    EdgeRule,
    SubPixelIgnored,
    ContinueDominant,
    LineBias,
    ScissorInclusive,
    StippleMirrored,
    ColourCut,
    FogInverted,
    FogAfterBlend,
    DepthSwapped,
    DepthFraction,
    DepthWritten,
    AlphaCompare,
    BlendFactor,
    BlendSaturate,
    LogicReversed,
    DitherTurned,
    DitherOff,
    PixelOrder,
    HardwareMask,
    SoftwareMask,
    BlockLane,
    BlockStipple,
    TexelAlpha,
    TexelOrder,
    TableTurned,
    WrapClamps,
    MirrorRepeats,
    PerspectiveOff,
    PatchesOff,
    FilterOff,
    TexelCentres,
    LevelsOff,
    DecalModulates,
    HighlightOff,
    KeyBounds,
    KeyInverted,
    SourceKeyOff,
    CopyDirection,
    PackedLimits,
    PackedAside,
    StretchOrigin,
    LocalFill,
    LocalCopy,
    SetupOrder,
    VertexLost,
    LineEnd,
    DownloadAside,
    YuvOff,
    PickInclusive,
    SyncTag,
    DmaShort,
    InterruptFlag,
    BeamLines,
};

struct BreakRow {
    Break what;
    const char* name;  // for people, as --break takes it
    const char* units; // of the conformance kit: those that see it, the one whose fault it is first
    const char* about;
};

// All of them, None apart.
std::span<const BreakRow> Breaks();
// Null for a name that none has.
const BreakRow* FindBreak(std::string_view name);

} // namespace board
