#include "board/pixel/fragment_rows.h"

#include "board/pixel/fog.h"
#include "board/pixel/raw_rows.h"
#include "board/values/logic_op.h"
#include "board/values/row.h"

#include <algorithm>

namespace board {

namespace {

constexpr uint32_t kUnreadWord = 0xFF000000; // the colour of pixels that are not read

// Values at the row's leftmost pixel and their steps to the right, of what the state uses.
struct RowWalk {
    // Colours, with half a channel added to be rounded, and the fog factor: what stays within words
    // from end to end of the row.
    RowRamp words[Interpolants::Depth];
    // All else, by Interpolants::Channel.
    int64_t first[Interpolants::kCount];
    int64_t step[Interpolants::kCount];

    // On to the right.
    void Skip(uint32_t pixels) {
        for (RowRamp& ramp : words) {
            ramp.first += pixels * ramp.step;
        }
        for (int i = Interpolants::Depth; i < Interpolants::kCount; ++i) {
            first[i] = WrapAdd(first[i], WrapMultiply(step[i], pixels));
        }
    }
    // True if depth stays within an unsigned word for `pixels` pixels.
    bool HasNarrowDepth(int32_t pixels) const {
        const int64_t from = first[Interpolants::Depth];
        const int64_t by = step[Interpolants::Depth];
        return from >> 32 == 0 && FitsWord(by) && (from + MultiplyWords(by, pixels - 1)) >> 32 == 0;
    }
    RowRamp Depth() const {
        return {static_cast<uint32_t>(first[Interpolants::Depth]),
                static_cast<uint32_t>(step[Interpolants::Depth])};
    }
    TexelWalk Texels() const { return {first, step}; }
};

// Takes a row's values from its dominant edge.
class WalkTaker {
  public:
    // `lead` as of Interpolant::At.
    WalkTaker(const Interpolants& row, const Span& span, int64_t lead)
        : row_(row), leftward_(span.leftward), lead_(lead),
          ahead_(span.skipped + (leftward_ ? span.right - 1 - span.left : 0)),
          steps_(span.right - 1 - span.left),
          beyond_(BeyondWord(lead_) | BeyondWord(ahead_) | BeyondWord(steps_)) {}

    // Of a channel that has to stay within words, `bias` added to its values.
    void TakeWord(size_t channel, int32_t bias, RowWalk& walk) {
        const Interpolant& of = row_.channels[channel];
        const int64_t first = WrapAdd(of.value, (MultiplyWords(of.dx, lead_) >> 16) +
                                                    MultiplyWords(of.dx, ahead_) + bias);
        const int64_t step = leftward_ ? -static_cast<int64_t>(static_cast<int32_t>(of.dx)) : of.dx;
        beyond_ |= BeyondWord(of.dx) | BeyondWord(step) | BeyondWord(first) |
                   BeyondWord(WrapAdd(first, MultiplyWords(step, steps_)));
        walk.words[channel] = {static_cast<uint32_t>(first), static_cast<uint32_t>(step)};
    }
    void Take(size_t channel, RowWalk& walk) const {
        const Interpolant& of = row_.channels[channel];
        walk.first[channel] = of.At(lead_, ahead_);
        walk.step[channel] = leftward_ ? WrapMultiply(of.dx, -1) : of.dx;
    }
    // A word did not hold what it should have.
    bool WordsOverflow() const { return beyond_ != 0; }

  private:
    const Interpolants& row_;
    bool leftward_;
    int64_t lead_, ahead_; // to the leftmost pixel
    int64_t steps_;        // from there to the rightmost one
    uint32_t beyond_;
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
        value[channel] = walk.words[channel].first;
        step[channel] = walk.words[channel].step;
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
    walk.words[Interpolants::Fog].Each(row.pixels, [&](int32_t i, uint32_t value) {
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
    if (walk.HasNarrowDepth(row.pixels)) {
        walk.Depth().Each(row.pixels, [&](int32_t i, uint32_t value) {
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
        TextureRow(plan.texels, state.texture, walk.Texels(), slopes, row.pixels, row.colour,
                   row.drawn);
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

// False: a value leaves the range of a row's arithmetic.
bool LoadWalk(const PipelineState& state, const Span& span, const Interpolants& interpolants,
              RowWalk& walk) {
    using I = Interpolants;
    WalkTaker taker(interpolants, span, state.subPixel ? span.lead : 0);
    if (state.gouraud) {
        for (size_t channel = I::Red; channel <= I::Alpha; ++channel) {
            taker.TakeWord(channel, kHalfColour, walk);
        }
    }
    if (state.fogged) {
        taker.TakeWord(I::Fog, 0, walk);
    }
    if (state.depth.enabled && !state.depth.constant) {
        taker.Take(I::Depth, walk);
    }
    if (taker.WordsOverflow()) {
        return false;
    }
    if (!state.texture.enabled) {
        return true;
    }
    for (size_t channel = I::S; channel <= I::Ks; ++channel) {
        taker.Take(channel, walk);
    }
    return TexelsInRange(state.texture, walk.Texels(), span.right - span.left);
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
    RowWalk walk{};
    if (!LoadWalk(state, span, interpolants, walk) || ReadsOwnWrites(plan, state, row, width)) {
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
        if (row.place != nullptr) {
            row.place += row.pixels * static_cast<int32_t>(state.pixels.bytesPerElement);
        }
        if (row.depthPlace != nullptr) {
            row.depthPlace += row.pixels * static_cast<int32_t>(state.depth.plane.bytesPerElement);
        }
        walk.Skip(static_cast<uint32_t>(row.pixels));
    }
}

} // namespace board
