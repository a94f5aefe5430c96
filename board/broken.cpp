#include "board/broken.h"

#include <algorithm>
#include <utility>

namespace board {

namespace {

Compare Reversed(Compare compare) {
    switch (compare) {
    case Compare::Less:
        return Compare::Greater;
    case Compare::Greater:
        return Compare::Less;
    case Compare::LessEqual:
        return Compare::GreaterEqual;
    case Compare::GreaterEqual:
        return Compare::LessEqual;
    default:
        return compare;
    }
}

// With equality for without.
Compare Loosened(Compare compare) {
    switch (compare) {
    case Compare::Less:
        return Compare::LessEqual;
    case Compare::LessEqual:
        return Compare::Less;
    case Compare::Greater:
        return Compare::GreaterEqual;
    case Compare::GreaterEqual:
        return Compare::Greater;
    default:
        return compare;
    }
}

// Source and destination exchanged.
uint32_t ReversedLogic(uint32_t code) {
    switch (code) {
    case 0x2:
        return 0x4;
    case 0x4:
        return 0x2;
    case 0xB:
        return 0xD;
    case 0xD:
        return 0xB;
    default:
        return code;
    }
}

void PutRedHigh(PixelFormat& format) {
    if (format.red.width != 0 && format.red.shift < format.blue.shift) {
        const auto widths = [](auto... bits) { return (0 + ... + bits.width); };
        format.red.shift = static_cast<uint8_t>(widths(format.green, format.blue));
        format.green.shift = static_cast<uint8_t>(widths(format.blue));
        format.blue.shift = 0;
    }
}

void MirrorStipple(AreaStipple& stipple) {
    for (uint32_t& row : stipple.rows) {
        uint32_t mirrored = 0;
        for (uint32_t x = 0; x <= stipple.columnMask; ++x) {
            mirrored |= (row >> x & 1) << (stipple.columnMask - x);
        }
        row = mirrored;
    }
}

void BreakTexture(Break what, TextureState& texture) {
    const auto replace = [](Wrap& wrap, Wrap from, Wrap to) { wrap = wrap == from ? to : wrap; };
    switch (what) {
    case Break::TexelAlpha:
        texture.format.opaque = true;
        break;
    case Break::TexelOrder:
        PutRedHigh(texture.format.layout);
        break;
    case Break::WrapClamps:
        replace(texture.wrapS, Wrap::Repeat, Wrap::Clamp);
        replace(texture.wrapT, Wrap::Repeat, Wrap::Clamp);
        break;
    case Break::MirrorRepeats:
        replace(texture.wrapS, Wrap::Mirror, Wrap::Repeat);
        replace(texture.wrapT, Wrap::Mirror, Wrap::Repeat);
        break;
    case Break::PerspectiveOff:
        texture.perspective = false;
        break;
    case Break::PatchesOff:
        texture.patched = false;
        break;
    case Break::FilterOff:
        texture.magLinear = false;
        texture.minFilter = MinFilter::Nearest;
        break;
    case Break::TexelCentres:
        texture.centred = !texture.centred;
        break;
    case Break::LevelsOff:
        texture.levelCount = 1;
        break;
    case Break::DecalModulates:
        if (texture.application == TextureApplication::Decal) {
            texture.application = TextureApplication::Modulate;
        }
        break;
    case Break::HighlightOff:
        texture.highlighted = false;
        break;
    case Break::KeyBounds:
        for (int32_t* upper : {&texture.chroma.upper.red, &texture.chroma.upper.green,
                               &texture.chroma.upper.blue, &texture.chroma.upper.alpha}) {
            --*upper;
        }
        break;
    case Break::KeyInverted:
        texture.chroma.inverted = true;
        break;
    case Break::YuvOff:
        if (texture.format.kind == TexelFormat::Kind::YUV) {
            texture.format.kind = TexelFormat::Kind::Index;
        }
        break;
    default:
        break;
    }
}

void BreakCopy(Break what, PipelineState& state) {
    CopyState& copy = state.copy;
    const int64_t aside = copy.limits.relative * state.pixels.bytesPerElement;
    switch (what) {
    case Break::KeyInverted:
        copy.key.bounds.inverted = true;
        break;
    case Break::SourceKeyOff:
        copy.key.enabled = false;
        break;
    case Break::PackedLimits:
        copy.limits.first = 0;
        copy.limits.end = kFarthestPixel;
        break;
    case Break::PackedAside:
        copy.byteShift += copy.way == CopyState::Way::Packed ? 2 * aside : 0;
        break;
    case Break::StretchOrigin:
        copy.source.base += copy.way == CopyState::Way::Texels ? 1 : 0;
        break;
    default:
        break;
    }
}

} // namespace

void BreakState(Break what, const RegisterFile& registers, PipelineState& state) {
    BreakTexture(what, state.texture);
    BreakCopy(what, state);
    switch (what) {
    case Break::SubPixelIgnored:
        state.subPixel = false;
        break;
    case Break::ScissorInclusive:
        ++state.clip.right;
        ++state.clip.bottom;
        break;
    case Break::StippleMirrored:
        MirrorStipple(state.stipple);
        break;
    case Break::FogAfterBlend:
        state.wrong = WrongPixels::FogAfterBlend;
        break;
    case Break::DepthSwapped:
        state.depth.compare = Reversed(state.depth.compare);
        break;
    case Break::DepthWritten:
        state.depth.writes = state.depth.enabled;
        break;
    case Break::AlphaCompare:
        state.alphaCompare = Loosened(state.alphaCompare);
        break;
    case Break::BlendFactor:
        if (state.destFactor == DestFactor::InverseSourceAlpha) {
            state.destFactor = DestFactor::InverseDestAlpha;
        }
        break;
    case Break::BlendSaturate:
        if (state.sourceFactor == SourceFactor::SourceAlphaSaturate) {
            state.sourceFactor = SourceFactor::SourceAlpha;
        }
        break;
    case Break::LogicReversed:
        state.logicOp = ReversedLogic(state.logicOp);
        break;
    case Break::DitherTurned:
        state.wrong = WrongPixels::DitherTurned;
        break;
    case Break::DitherOff:
        state.dithered = false;
        break;
    case Break::PixelOrder:
        PutRedHigh(state.writeFormat);
        break;
    case Break::HardwareMask:
        state.hardwareMask = ~0u;
        state.writeMask = registers[tag::FBSoftwareWriteMask];
        break;
    case Break::SoftwareMask:
        state.writeMask = state.hardwareMask;
        break;
    case Break::BlockLane:
        state.blockColour = state.blockColour << 8 | state.blockColour >> 24;
        break;
    case Break::BlockStipple:
        state.stippled = state.stippled && !state.blockFill;
        break;
    case Break::LocalFill:
        state.localUpdate.fill = state.localUpdate.fill << 16 | state.localUpdate.fill >> 16;
        break;
    case Break::LocalCopy:
        ++state.localUpdate.sourceBase;
        break;
    case Break::DownloadAside:
        state.pixels.base += registers.Get(field::Render_SyncOnHostData);
        break;
    default:
        break;
    }
}

void BreakInterpolants(Break what, Interpolants& row) {
    using I = Interpolants;
    switch (what) {
    case Break::ColourCut:
        for (const I::Channel channel : {I::Red, I::Green, I::Blue, I::Alpha}) {
            row.channels[channel].value -= kHalfColour;
        }
        break;
    case Break::FogInverted: {
        Interpolant& fog = row.channels[I::Fog];
        fog = {(int64_t{1} << kFogFractionBits) - fog.value, -fog.dx, -fog.dyDom};
        break;
    }
    case Break::DepthFraction:
        for (int64_t* value : {&row.channels[I::Depth].value, &row.channels[I::Depth].dx,
                               &row.channels[I::Depth].dyDom}) {
            *value &= ~((int64_t{1} << kDepthFractionBits) - 1);
        }
        break;
    case Break::SetupOrder:
        std::swap(row.channels[I::Red], row.channels[I::Blue]);
        break;
    default:
        break;
    }
}

void BreakTable(Break what, LookupTable& table) {
    if (what == Break::TableTurned) {
        std::rotate(table.words.begin(), table.words.begin() + 1, table.words.end());
    }
}

Span BrokenSpan(Break what, const PipelineState& state, Span span) {
    if (what == Break::CopyDirection &&
        (state.copy.way == CopyState::Way::Pixels || state.copy.way == CopyState::Way::Packed)) {
        span.leftward = !span.leftward;
    }
    return span;
}

} // namespace board
