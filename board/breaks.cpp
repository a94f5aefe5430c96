#include "board/breaks.h"

#include <algorithm>
#include <iterator>

namespace board {

namespace {

constexpr BreakRow kBreaks[] = {
    {Break::EdgeRule, "edge-rule", "edges setup",
     "a centre on the left edge is outside, one on the right edge inside"},
    {Break::SubPixelIgnored, "sub-pixel-ignored", "edges filters setup",
     "values start at the first pixel instead of the edge"},
    {Break::ContinueDominant, "continue-dominant", "rasteriser",
     "ContinueNewDom goes on along the old edge"},
    {Break::LineBias, "line-bias", "rasteriser", "the half pixel of lines is left out"},
    {Break::ScissorInclusive, "scissor-inclusive",
     "scissor-stipple block-fill copies downloads local-buffer",
     "the right and lower bounds are inside"},
    {Break::StippleMirrored, "stipple-mirrored", "scissor-stipple",
     "bit 0 is the last column of the pattern"},
    {Break::ColourCut, "colour-cut", "colour", "interpolated colours are cut, not rounded"},
    {Break::FogInverted, "fog-inverted", "fog", "a factor of 0 is no fog"},
    {Break::FogAfterBlend, "fog-after-blend", "fog", "what is under a fragment is fogged as well"},
    {Break::DepthSwapped, "depth-swapped", "depth pick", "less is greater"},
    {Break::DepthFraction, "depth-fraction", "depth", "the fractions of depths are dropped"},
    {Break::DepthWritten, "depth-written", "depth pick",
     "depths that pass are written whatever the modes say"},
    {Break::AlphaCompare, "alpha-compare", "alpha-test keys",
     "the alpha test swaps Less and LessEqual, Greater and GreaterEqual"},
    {Break::BlendFactor, "blend-factor", "blend downloads fog",
     "the factor InverseSourceAlpha of the pixel under a fragment is InverseDestAlpha"},
    {Break::BlendSaturate, "blend-saturate", "blend", "SourceAlphaSaturate is SourceAlpha"},
    {Break::LogicReversed, "logic-reversed", "logic-op",
     "the operations that invert one operand invert the other one"},
    {Break::DitherTurned, "dither-turned", "dither",
     "rows and columns of the matrix are exchanged"},
    {Break::DitherOff, "dither-off", "dither", "nothing is dithered"},
    {Break::PixelOrder, "pixel-order", "dither", "red is in the high bits always"},
    {Break::HardwareMask, "hardware-mask", "write-masks block-fill copies",
     "the hardware mask is ignored"},
    {Break::SoftwareMask, "software-mask", "write-masks", "the software mask is ignored"},
    {Break::BlockLane, "block-lane", "block-fill", "the block colour is turned by a byte"},
    {Break::BlockStipple, "block-stipple", "block-fill", "block fills pass the stipple"},
    {Break::TexelAlpha, "texel-alpha", "texel-formats texel-colour",
     "the alpha of texels is ignored"},
    {Break::TexelOrder, "texel-order", "texel-formats", "red is in the high bits of texels always"},
    {Break::TableTurned, "table-turned", "texel-formats",
     "the palette of 256 begins an entry too late"},
    {Break::WrapClamps, "wrap-clamps", "texel-address filters",
     "maps that repeat are held at their edges"},
    {Break::MirrorRepeats, "mirror-repeats", "texel-address filters",
     "maps that are mirrored repeat"},
    {Break::PerspectiveOff, "perspective-off", "texel-address filters setup",
     "nothing is divided by Q"},
    {Break::PatchesOff, "patches-off", "texel-address", "maps in patches are read row by row"},
    {Break::FilterOff, "filter-off", "filters keys stretch yuv", "texels are never mixed"},
    {Break::TexelCentres, "texel-centres", "filters keys stretch yuv",
     "texel centres lie at .5 without sub-pixel correction, and not with it"},
    {Break::LevelsOff, "levels-off", "filters", "a chain of levels has its first one alone"},
    {Break::DecalModulates, "decal-modulates", "texel-colour", "a decal is a product"},
    {Break::HighlightOff, "highlight-off", "texel-colour", "no highlight is added"},
    {Break::KeyBounds, "key-bounds", "keys", "the upper bounds of a texel's key are outside"},
    {Break::KeyInverted, "key-inverted", "keys stretch",
     "what lies inside a key's bounds is kept, and what lies outside is left out"},
    {Break::SourceKeyOff, "source-key-off", "keys stretch", "copies ignore their key"},
    {Break::CopyDirection, "copy-direction", "copies", "rows are copied from the wrong end"},
    {Break::PackedLimits, "packed-limits", "copies", "packed copies write whole words"},
    {Break::PackedAside, "packed-aside", "copies", "packed pixels move aside the wrong way"},
    {Break::StretchOrigin, "stretch-origin", "stretch", "stretched copies read a pixel further"},
    {Break::LocalFill, "local-fill", "local-buffer",
     "fills of the local buffer exchange the halves of the word"},
    {Break::LocalCopy, "local-copy", "local-buffer",
     "copies of the local buffer read a word further"},
    {Break::SetupOrder, "setup-order", "setup", "the setup unit exchanges red and blue"},
    {Break::VertexLost, "vertex-lost", "setup", "a vertex is gone when a triangle has been drawn"},
    {Break::LineEnd, "line-end", "setup", "lines of the setup unit have their last pixel"},
    {Break::DownloadAside, "download-aside", "downloads",
     "pixels from the host fall a pixel further"},
    {Break::YuvOff, "yuv-off", "yuv", "texels of video are not converted"},
    {Break::PickInclusive, "pick-inclusive", "pick",
     "the lower right corner of the region is inside"},
    {Break::SyncTag, "sync-tag", "sync dma",
     "the bits for the tag and the data of answers are exchanged"},
    {Break::DmaShort, "dma-short", "dma", "transfers end a word too early"},
    {Break::InterruptFlag, "interrupt-flag", "dma", "the end of a transfer sets the error's flag"},
    {Break::BeamLines, "beam-lines", "beam", "a frame has 512 lines"},
};

} // namespace

std::span<const BreakRow> Breaks() {
    return kBreaks;
}

const BreakRow* FindBreak(std::string_view name) {
    const auto found = std::find_if(std::begin(kBreaks), std::end(kBreaks),
                                    [name](const BreakRow& row) { return name == row.name; });
    return found == std::end(kBreaks) ? nullptr : found;
}

} // namespace board
