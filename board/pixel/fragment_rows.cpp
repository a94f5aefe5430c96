#include "board/pixel/fragment_rows.h"

#include "board/pixel/fog.h"
#include "board/pixel/raw_rows.h"
#include "board/values/logic_op.h"
#include "board/values/row.h"

#include <algorithm>
#include <initializer_list>

namespace board {

namespace {

constexpr uint32_t kUnreadWord = 0xFF000000; // the colour of pixels that are not read

// Interpolated values at the row's leftmost pixel and their steps to the right. Colours have half a
// channel added, to be rounded.
struct RowWalk {
    int64_t first[Interpolants::kCount];
    int64_t step[Interpolants::kCount];

    void Take(int channel, const Interpolants& row, const Span& span, int64_t lead) {
        const Interpolant& of = row.channels[channel];
        const int64_t pixels = span.leftward ? span.right - 1 - span.left : 0;
        first[channel] = of.At(lead, span.skipped + pixels);
        step[channel] = span.leftward ? WrapMultiply(of.dx, -1) : of.dx;
    }
    // On to the right.
    void Skip(int32_t pixels) {
        for (int i = 0; i < Interpolants::kCount; ++i) {
            first[i] = WrapAdd(first[i], WrapMultiply(step[i], pixels));
        }
    }
    // True if a channel fits a signed word from the first to the last of `pixels` pixels.
    bool StaysInWord(int channel, int64_t pixels) const {
        return FitsWord(first[channel]) && FitsWord(step[channel]) && FitsWord(pixels) &&
               FitsWord(first[channel] + MultiplyWords(step[channel], pixels - 1));
    }
    // The same of an unsigned word.
    bool StaysInUnsignedWord(int channel, int64_t pixels) const {
        const auto fits = [](int64_t value) { return value == static_cast<uint32_t>(value); };
        return fits(first[channel]) && FitsWord(step[channel]) && FitsWord(pixels) &&
               fits(first[channel] + MultiplyWords(step[channel], pixels - 1));
    }
    RowRamp Ramp(int channel) const {
        return {static_cast<uint32_t>(first[channel]), static_cast<uint32_t>(step[channel])};
    }
};

// A part of a row, of kRowPixels at most, on its way through the units.
struct FragmentRow {
    int32_t pixels;
    int64_t x, y; // of the first one
    uint8_t* place;
    uint8_t* depthPlace;
    alignas(16) uint32_t colour[kRowPixels];
    alignas(16) uint32_t drawn[kRowPixels]; // all ones, or 0 for what is left out
    alignas(16) uint32_t under[kRowPixels]; // pixels
    alignas(16) uint32_t dest[kRowPixels];  // their colours
    alignas(16) uint32_t fresh[kRowPixels]; // what is compared or mixed
    alignas(16) uint32_t stored[kRowPixels];

    bool AnyDrawn() const {
        return std::any_of(drawn, drawn + pixels, [](uint32_t mask) { return mask != 0; });
    }
};

// True if nothing that varies leaves the range of a row's arithmetic.
bool InRange(const RowWalk& walk, const PipelineState& state, int64_t pixels) {
    if (state.gouraud) {
        for (const int channel :
             {Interpolants::Red, Interpolants::Green, Interpolants::Blue, Interpolants::Alpha}) {
            if (!walk.StaysInWord(channel, pixels)) {
                return false;
            }
        }
    }
    if (state.fogged && !walk.StaysInWord(Interpolants::Fog, pixels)) {
        return false;
    }
    return !state.texture.enabled || TexelsInRange(state.texture, {walk.first, walk.step}, pixels);
}

// One channel of a block of colours, shifted to its place in the words.
[[gnu::always_inline]] inline uint32_t ColourChannel(uint32_t value, int shift) {
    const int32_t whole = static_cast<int32_t>(value) >> kColourFractionBits;
    return static_cast<uint32_t>(whole < 0 ? 0 : whole > 255 ? 255 : whole) << shift;
}

void ShadeGouraud(const RowWalk& walk, FragmentRow& row) {
    constexpr int kChannels = 4;
    uint32_t ahead[kChannels][kRowLanes];
    uint32_t value[kChannels];
    uint32_t step[kChannels];
    for (int channel = 0; channel < kChannels; ++channel) {
        value[channel] = static_cast<uint32_t>(walk.first[channel]);
        step[channel] = static_cast<uint32_t>(walk.step[channel]);
        for (uint32_t i = 0; i < kRowLanes; ++i) {
            ahead[channel][i] = i * step[channel];
        }
    }
    for (int32_t block = 0; block < row.pixels; block += kRowLanes) {
        for (int32_t i = 0; i < kRowLanes; ++i) {
            row.colour[block + i] = ColourChannel(value[0] + ahead[0][i], 0) |
                                    ColourChannel(value[1] + ahead[1][i], 8) |
                                    ColourChannel(value[2] + ahead[2][i], 16) |
                                    ColourChannel(value[3] + ahead[3][i], 24);
        }
        for (int channel = 0; channel < kChannels; ++channel) {
            value[channel] += kRowLanes * step[channel];
        }
    }
}

void ShadeFog(const PipelineState& state, const RowWalk& walk, FragmentRow& row) {
    walk.Ramp(Interpolants::Fog).Each(row.pixels, [&](int32_t i, uint32_t value) {
        row.fresh[i] =
            static_cast<uint32_t>(std::clamp<int32_t>(static_cast<int32_t>(value), 0, kFogOne));
    });
    const Colour fog = state.fogColour;
    const auto mix = [](uint32_t channel, int32_t towards, int32_t factor) {
        return static_cast<uint32_t>(
            towards + (((static_cast<int32_t>(channel) - towards) * factor + kFogOne / 2) >>
                       kFogFractionBits));
    };
    MapRow(
        row.pixels, row.colour,
        [&](int32_t, uint32_t colour, uint32_t fresh) {
            const auto factor = static_cast<int32_t>(fresh);
            return mix(colour & 0xFF, fog.red, factor) |
                   mix(colour >> 8 & 0xFF, fog.green, factor) << 8 |
                   mix(colour >> 16 & 0xFF, fog.blue, factor) << 16 | (colour & 0xFF000000);
        },
        row.colour, row.fresh);
}

// `yes` where the mask has ones, else `no`.
constexpr auto Select = [](int32_t, uint32_t mask, uint32_t yes, uint32_t no) {
    return (yes & mask) | (no & ~mask);
};

// Leaves those drawn whose `fresh` OP `stored`.
template <Compare kCompare>
void CompareLanes(FragmentRow& row) {
    MapRow(
        row.pixels, row.drawn,
        [](int32_t, uint32_t drawn, uint32_t fresh, uint32_t stored) {
            return Passes(kCompare, fresh, stored) ? drawn : 0;
        },
        row.drawn, row.fresh, row.stored);
}

void CompareRow(Compare compare, FragmentRow& row) {
    switch (compare) {
    case Compare::Never:
        return CompareLanes<Compare::Never>(row);
    case Compare::Less:
        return CompareLanes<Compare::Less>(row);
    case Compare::Equal:
        return CompareLanes<Compare::Equal>(row);
    case Compare::LessEqual:
        return CompareLanes<Compare::LessEqual>(row);
    case Compare::Greater:
        return CompareLanes<Compare::Greater>(row);
    case Compare::NotEqual:
        return CompareLanes<Compare::NotEqual>(row);
    case Compare::GreaterEqual:
        return CompareLanes<Compare::GreaterEqual>(row);
    case Compare::Always:
        return;
    }
}

void TestAlpha(const PipelineState& state, FragmentRow& row) {
    EachLane(row.pixels, [&](int32_t i) {
        row.fresh[i] = row.colour[i] >> 24;
        row.stored[i] = state.alphaReference;
    });
    CompareRow(state.alphaCompare, row);
}

void LoadDepth(const DepthUnit& depth, const RowWalk& walk, FragmentRow& row) {
    if (depth.constant) {
        std::fill_n(row.fresh, row.pixels, std::min(depth.constantValue, depth.limit));
        return;
    }
    if (walk.StaysInUnsignedWord(Interpolants::Depth, row.pixels)) {
        walk.Ramp(Interpolants::Depth).Each(row.pixels, [&](int32_t i, uint32_t value) {
            row.fresh[i] = value >> kDepthFractionBits;
        });
        return;
    }
    int64_t value = walk.first[Interpolants::Depth];
    for (int32_t i = 0; i < row.pixels; ++i) {
        row.fresh[i] =
            static_cast<uint32_t>(std::clamp<int64_t>(value >> kDepthFractionBits, 0, depth.limit));
        value = WrapAdd(value, walk.step[Interpolants::Depth]);
    }
}

void TestDepth(const DepthUnit& depth, const RowWalk& walk, FragmentRow& row) {
    LoadDepth(depth, walk, row);
    const uint32_t bytes = depth.plane.bytesPerElement;
    if (depth.reads) {
        LoadRow(bytes, row.depthPlace, row.pixels, row.stored);
    } else {
        std::fill_n(row.stored, row.pixels, 0u);
    }
    CompareRow(depth.compare, row);
    if (!depth.writes || !row.AnyDrawn()) {
        return;
    }
    if (!depth.reads) {
        LoadRow(bytes, row.depthPlace, row.pixels, row.stored);
    }
    MapRow(row.pixels, row.stored, Select, row.drawn, row.fresh, row.stored);
    StoreRow(bytes, row.depthPlace, row.pixels, row.stored);
}

void Stipple(const AreaStipple& stipple, FragmentRow& row) {
    for (int32_t i = 0; i < row.pixels; ++i) {
        row.drawn[i] = stipple.Draws(row.x + i, row.y) ? 0xFFFFFFFF : 0;
    }
}

void BlendUnder(const RowPlan& plan, const PipelineState& state, FragmentRow& row) {
    if (state.readsPixels) {
        plan.expand(state.blendFormat, row.pixels, row.under, row.dest);
    } else {
        std::fill_n(row.dest, row.pixels, kUnreadWord);
    }
    plan.sourceFactor(row.pixels, row.colour, row.dest, row.fresh);
    plan.destFactor(row.pixels, row.colour, row.dest, row.stored);
    BlendRow(row.pixels, row.colour, row.fresh, row.dest, row.stored, row.colour);
}

// The mask of memory words as it falls on the pixels of a block whose first one has this index.
void LoadMaskLanes(const PipelineState& state, int64_t index, uint32_t (&lanes)[kRowLanes]) {
    for (int32_t i = 0; i < kRowLanes; ++i) {
        switch (state.pixels.bytesPerElement) {
        case 1:
            lanes[i] = WordLane<1>(state.writeMask, index + i);
            break;
        case 2:
            lanes[i] = WordLane<2>(state.writeMask, index + i);
            break;
        default:
            lanes[i] = state.writeMask;
            break;
        }
    }
}

void WriteRow(const RowPlan& plan, const PipelineState& state, FragmentRow& row) {
    const uint32_t bytes = state.pixels.bytesPerElement;
    if (plan.readsUnder) {
        LoadRow(bytes, row.place, row.pixels, row.under);
    }
    if (state.blended) {
        BlendUnder(plan, state, row);
    }
    uint32_t* pixels = row.dest;
    if (state.constantWrite) {
        std::fill_n(pixels, row.pixels, state.writeData);
    } else if (state.dithered) {
        plan.dither(state.writeFormat, row.pixels, row.colour, static_cast<uint32_t>(row.x),
                    static_cast<uint32_t>(row.y), pixels);
    } else if (state.formatted) {
        plan.encode(state.writeFormat, row.pixels, row.colour, pixels);
    } else {
        pixels = row.colour;
    }
    if (state.logical) {
        const uint32_t read = state.readsPixels ? 0xFFFFFFFF : 0;
        for (int32_t i = 0; i < row.pixels; ++i) {
            pixels[i] = LogicOp(state.logicOp, pixels[i], row.under[i] & read);
        }
    }
    if (state.writeMask != 0xFFFFFFFF) {
        uint32_t lanes[kRowLanes];
        LoadMaskLanes(state, state.pixels.Index(row.x, row.y), lanes);
        for (int32_t i = 0; i < row.pixels; ++i) {
            row.drawn[i] &= lanes[i % kRowLanes];
        }
    }
    if (plan.dropping) {
        MapRow(row.pixels, row.dest, Select, row.drawn, pixels, row.under);
        pixels = row.dest;
    }
    StoreRow(bytes, row.place, row.pixels, pixels);
}

// False: nothing is left to draw.
bool ShadeAndTest(const RowPlan& plan, const PipelineState& state, const RowWalk& walk,
                  const TextureSlopes& slopes, bool picking, FragmentRow& row) {
    if (plan.dropping || picking) {
        std::fill_n(row.drawn, row.pixels, 0xFFFFFFFF);
    }
    if (state.stippled) {
        Stipple(state.stipple, row);
    }
    if (plan.depthFirst) {
        TestDepth(state.depth, walk, row);
        if (!row.AnyDrawn()) {
            return false;
        }
    }
    if (state.gouraud) {
        ShadeGouraud(walk, row);
    } else {
        std::fill_n(row.colour, row.pixels, WordOfColour(state.flatColour));
    }
    if (state.texture.enabled) {
        TextureRow(plan.texels, state.texture, {walk.first, walk.step}, slopes, row.pixels,
                   row.colour, row.drawn);
    }
    if (state.fogged) {
        ShadeFog(state, walk, row);
    }
    if (state.alphaTested) {
        TestAlpha(state, row);
    }
    if (state.depth.enabled && !plan.depthFirst) {
        TestDepth(state.depth, walk, row);
    }
    return true;
}

void NotePicked(const FragmentRow& row, PickUnit& pick) {
    for (int32_t i = 0; i < row.pixels; ++i) {
        if (row.drawn[i] != 0) {
            pick.Note(row.x + i, row.y);
        }
    }
}

// Bytes of memory from `first` to `end` - 1.
struct MemoryRange {
    uintptr_t first, end;

    MemoryRange(const uint8_t* begin, const uint8_t* behind)
        : first(reinterpret_cast<uintptr_t>(begin)), end(reinterpret_cast<uintptr_t>(behind)) {}
    bool Meets(const MemoryRange& other) const { return first < other.end && other.first < end; }
};

// True if the row reads or writes memory that it writes for something else.
bool ReadsOwnWrites(const RowPlan& plan, const PipelineState& state, const FragmentRow& row,
                    int64_t pixels) {
    const auto range = [pixels](bool touched, const uint8_t* place, uint32_t bytes) {
        return MemoryRange(place, touched ? place + pixels * bytes : place);
    };
    const MemoryRange written = range(state.drawsPixels, row.place, state.pixels.bytesPerElement);
    const MemoryRange depths =
        range(state.depth.Touches(), row.depthPlace, state.depth.plane.bytesPerElement);
    if (state.texture.enabled) {
        const MemoryRange map(plan.texels.mapBegin, plan.texels.mapEnd);
        if (written.Meets(map) || depths.Meets(map)) {
            return true;
        }
    }
    return written.Meets(depths);
}

RowWalk WalkOf(const PipelineState& state, const Span& span, const Interpolants& interpolants) {
    using I = Interpolants;
    const int64_t lead = state.subPixel ? span.lead : 0;
    RowWalk walk{};
    const auto take = [&](std::initializer_list<I::Channel> channels) {
        for (const I::Channel channel : channels) {
            walk.Take(channel, interpolants, span, lead);
        }
    };
    if (state.gouraud) {
        take({I::Red, I::Green, I::Blue, I::Alpha});
        for (const int channel : {I::Red, I::Green, I::Blue, I::Alpha}) {
            walk.first[channel] = WrapAdd(walk.first[channel], kHalfColour);
        }
    }
    if (state.fogged) {
        take({I::Fog});
    }
    if (state.depth.enabled && !state.depth.constant) {
        take({I::Depth});
    }
    if (state.texture.enabled) {
        take({I::S, I::T, I::Q, I::Ks});
    }
    return walk;
}

} // namespace

RowPlan PlanRows(const PipelineState& state) {
    RowPlan plan{};
    plan.raw = MovesRowsWhole(state);
    plan.texels = PlanTexels(state.texture);
    plan.possible = !state.blockFill && state.copy.way == CopyState::Way::None &&
                    !state.pixels.patched && (!state.texture.enabled || plan.texels.possible);
    if (!plan.possible) {
        return plan;
    }
    const bool keyed = state.texture.enabled && plan.texels.drops;
    plan.depthFirst = state.depth.enabled && !state.alphaTested && !keyed;
    plan.dropping = state.stippled || state.depth.enabled || state.alphaTested || keyed ||
                    state.writeMask != 0xFFFFFFFF;
    plan.readsUnder = plan.dropping || (state.readsPixels && (state.blended || state.logical));
    plan.expand = ExpandRowOf(state.blendFormat);
    plan.sourceFactor = FactorRowOf(state.sourceFactor);
    plan.destFactor = FactorRowOf(state.destFactor);
    plan.encode = EncodeRowOf(state.writeFormat);
    plan.dither = DitherRowOf(state.writeFormat);
    return plan;
}

bool DrawFragmentRow(const RowPlan& plan, const PipelineState& state, const Span& span,
                     const Interpolants& interpolants, PickUnit& pick) {
    const int64_t width = span.right - span.left;
    FragmentRow row;
    row.x = span.left;
    row.y = span.y;
    row.place = state.drawsPixels ? state.pixels.Address(span.left, span.y) : nullptr;
    row.depthPlace = state.depth.Touches() ? state.depth.plane.Address(span.left, span.y) : nullptr;
    RowWalk walk = WalkOf(state, span, interpolants);
    if (!InRange(walk, state, width) || ReadsOwnWrites(plan, state, row, width)) {
        return false;
    }
    const TextureSlopes slopes = state.texture.enabled && plan.texels.detailed
                                     ? SlopesOf(interpolants, span.leftward)
                                     : TextureSlopes{};
    for (;;) {
        row.pixels = static_cast<int32_t>(std::min<int64_t>(span.right - row.x, kRowPixels));
        if (ShadeAndTest(plan, state, walk, slopes, pick.Enabled(), row)) {
            if (pick.Enabled()) {
                NotePicked(row, pick);
            }
            if (state.drawsPixels) {
                WriteRow(plan, state, row);
            }
        }
        row.x += row.pixels;
        if (row.x == span.right) {
            return true;
        }
        row.place += row.pixels * static_cast<int32_t>(state.pixels.bytesPerElement);
        row.depthPlace += row.pixels * static_cast<int32_t>(state.depth.plane.bytesPerElement);
        walk.Skip(row.pixels);
    }
}

} // namespace board
