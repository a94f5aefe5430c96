#include "board/texture/texel_rows.h"

#include "board/texture/detail.h"
#include "board/values/fixed.h"
#include "board/values/rounding.h"
#include "board/values/row.h"

#include <algorithm>
#include <cmath>

namespace board {

namespace {

constexpr int kCorners = 4; // of a mixture: upper left, upper right, lower left, lower right
constexpr uint32_t kAlphaByte = 0xFF000000;
constexpr int32_t kHalfTexel = 1 << (kTexelFractionBits - 1);
// Coordinates, and those half a texel before them, fit 32 bits.
constexpr double kCoordinateEnd = 2147483648.0 - (1 << kTexelFractionBits);
// Integers up to here are exact as doubles, and so are their steps.
constexpr int64_t kExact = int64_t{1} << 51;
constexpr int64_t kLargestStep = int64_t{1} << 40;

// What the texture unit has of a row's part while it works on it.
struct TexelRow {
    int32_t pixels;
    // Coordinates at the top level, texels with kTexelFractionBits.
    alignas(16) uint32_t u[kRowPixels];
    alignas(16) uint32_t v[kRowPixels];
    alignas(16) uint32_t texels[kCorners][kRowPixels];         // their bits, then their colours
    alignas(16) uint32_t right[kRowPixels], lower[kRowPixels]; // weights, on all channels
    alignas(16) uint32_t columns[2][kRowPixels], rows[2][kRowPixels];
    // Level of detail: 256 a level, rounded down, or kMagnified.
    alignas(16) int32_t detail[kRowPixels];
    alignas(16) uint32_t first[kRowPixels], second[kRowPixels]; // colours of levels
};

constexpr int32_t kMagnified = -1;

double AsDouble(int64_t value) {
    return static_cast<double>(value);
}

// --- coordinates ---

// S, T and Q at a row's pixels, exact.
struct ProjectedWalk {
    double s, t, q;
    double sStep, tStep, qStep;

    ProjectedWalk(const TexelWalk& walk, double scaleS, double scaleT)
        : s(AsDouble(walk.first[Interpolants::S]) * scaleS),
          t(AsDouble(walk.first[Interpolants::T]) * scaleT),
          q(AsDouble(walk.first[Interpolants::Q])),
          sStep(AsDouble(walk.step[Interpolants::S]) * scaleS),
          tStep(AsDouble(walk.step[Interpolants::T]) * scaleT),
          qStep(AsDouble(walk.step[Interpolants::Q])) {}

    // Calls pixel(i, s, t, q).
    template <typename Pixel>
    [[gnu::always_inline]] void Each(int32_t pixels, Pixel&& pixel) const {
        double sAt = s;
        double tAt = t;
        double qAt = q;
        for (int32_t i = 0; i < pixels; ++i) {
            pixel(i, sAt, tAt, qAt);
            sAt += sStep;
            tAt += tStep;
            qAt += qStep;
        }
    }
};

void LoadCoordinates(const TextureState& state, const TexelWalk& walk, TexelRow& row) {
    const RowRamp s{static_cast<uint32_t>(walk.first[Interpolants::S]),
                    static_cast<uint32_t>(walk.step[Interpolants::S])};
    const RowRamp t{static_cast<uint32_t>(walk.first[Interpolants::T]),
                    static_cast<uint32_t>(walk.step[Interpolants::T])};
    if (state.perspective) {
        // Scales are powers of two: it makes no difference when they are applied.
        ProjectedWalk(walk, state.scaleS, state.scaleT)
            .Each(row.pixels, [&](int32_t i, double sAt, double tAt, double qAt) {
                const double inverse = 1 / qAt;
                row.u[i] = FloorWord(sAt * inverse);
                row.v[i] = FloorWord(tAt * inverse);
            });
    } else if (state.glintTexels) {
        constexpr uint32_t kExtra = kGlintTexelFractionBits - kTexelFractionBits;
        s.Each(row.pixels, [&](int32_t i, uint32_t value) { row.u[i] = value >> kExtra; });
        t.Each(row.pixels, [&](int32_t i, uint32_t value) { row.v[i] = value >> kExtra; });
    } else {
        s.Each(row.pixels, [&](int32_t i, uint32_t value) { row.u[i] = value; });
        t.Each(row.pixels, [&](int32_t i, uint32_t value) { row.v[i] = value; });
    }
}

// --- places in a level ---

uint32_t WrapWord(Wrap wrap, int32_t texel, uint32_t logSize) {
    const int32_t size = int32_t{1} << logSize;
    switch (wrap) {
    case Wrap::Clamp:
        return static_cast<uint32_t>(std::clamp(texel, 0, size - 1));
    case Wrap::Repeat:
        return static_cast<uint32_t>(texel & (size - 1));
    case Wrap::Mirror: {
        const int32_t inPair = texel & (2 * size - 1);
        return static_cast<uint32_t>(std::min(inPair, 2 * size - 1 - inPair));
    }
    }
    return 0;
}

// Brings whole texels `ahead` of the coordinates into a level.
template <Wrap kWrap>
void WrapLanes(int32_t pixels, const uint32_t* coordinates, uint32_t shift, int32_t ahead,
               uint32_t logSize, uint32_t* to) {
    MapRow(
        pixels, to,
        [=](int32_t, uint32_t coordinate) {
            const int32_t texel =
                (static_cast<int32_t>(coordinate - shift) >> kTexelFractionBits) + ahead;
            return WrapWord(kWrap, texel, logSize);
        },
        coordinates);
}

void WrapRow(Wrap wrap, int32_t pixels, const uint32_t* coordinates, uint32_t shift, int32_t ahead,
             uint32_t logSize, uint32_t* to) {
    switch (wrap) {
    case Wrap::Clamp:
        return WrapLanes<Wrap::Clamp>(pixels, coordinates, shift, ahead, logSize, to);
    case Wrap::Repeat:
        return WrapLanes<Wrap::Repeat>(pixels, coordinates, shift, ahead, logSize, to);
    case Wrap::Mirror:
        return WrapLanes<Wrap::Mirror>(pixels, coordinates, shift, ahead, logSize, to);
    }
}

// --- texels ---

// A texel's index is the sum of its column's part and its row's; on patched maps, too.
template <int kBits, bool kPatched>
uint32_t ColumnPart(uint32_t x) {
    if constexpr (!kPatched) {
        return x;
    } else if constexpr (kBits == 4) {
        return 2 * static_cast<uint32_t>(PatchedOffset(x >> 1, 0, 0)) + (x & 1);
    } else {
        return static_cast<uint32_t>(PatchedOffset(x, 0, 0));
    }
}

template <int kBits, bool kPatched>
uint32_t RowPart(uint32_t y, uint32_t pitch) {
    if constexpr (!kPatched) {
        return y * pitch;
    } else if constexpr (kBits == 4) {
        return 2 * ((y & ~(kPatchRows - 1)) * (pitch / 2) + patch::kRows[y & (kPatchRows - 1)]);
    } else {
        return (y & ~(kPatchRows - 1)) * pitch + patch::kRows[y & (kPatchRows - 1)];
    }
}

template <int kBits>
uint32_t LoadTexel(const uint8_t* memory, uint32_t index) {
    if constexpr (kBits == 4) {
        return memory[index / 2] >> (4 * (index & 1)) & 0xF;
    } else {
        return LoadElement<kBits / 8>(memory + index * (kBits / 8));
    }
}

template <int kBits, bool kPatched>
void LoadNearest(const TextureState& state, const TextureLevel& level, TexelRow& row) {
    const auto base = static_cast<uint32_t>(level.base);
    const auto pitch = static_cast<uint32_t>(level.pitch);
    for (int32_t i = 0; i < row.pixels; ++i) {
        row.texels[0][i] =
            // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): rows go as far as pixels
            LoadTexel<kBits>(state.memory, base + RowPart<kBits, kPatched>(row.rows[0][i], pitch) +
                                               ColumnPart<kBits, kPatched>(row.columns[0][i]));
    }
}

template <int kBits, bool kPatched>
void LoadCorners(const TextureState& state, const TextureLevel& level, TexelRow& row) {
    const auto base = static_cast<uint32_t>(level.base);
    const auto pitch = static_cast<uint32_t>(level.pitch);
    for (int32_t i = 0; i < row.pixels; ++i) {
        const uint32_t left = ColumnPart<kBits, kPatched>(row.columns[0][i]);
        const uint32_t right = ColumnPart<kBits, kPatched>(row.columns[1][i]);
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): columns go as far as pixels
        const uint32_t above = base + RowPart<kBits, kPatched>(row.rows[0][i], pitch);
        const uint32_t below = base + RowPart<kBits, kPatched>(row.rows[1][i], pitch);
        row.texels[0][i] = LoadTexel<kBits>(state.memory, above + left);
        row.texels[1][i] = LoadTexel<kBits>(state.memory, above + right);
        row.texels[2][i] = LoadTexel<kBits>(state.memory, below + left);
        row.texels[3][i] = LoadTexel<kBits>(state.memory, below + right);
    }
}

// Levels that change from pixel to pixel, and whether texels are mixed at all: one that is not has
// weights of 0, which leave the upper left corner as it is. No map of a chip that has patches is
// drawn so.
struct PixelLevel {
    uint32_t level;
    bool linear;
};

template <int kBits, typename LevelOf>
void LoadMixed(const TextureState& state, LevelOf levelOf, TexelRow& row) {
    const TextureLevel& top = state.levels[0];
    for (int32_t i = 0; i < row.pixels; ++i) {
        const PixelLevel of = levelOf(row.detail[i]);
        const TextureLevel& level = state.levels[of.level];
        const int32_t shift = of.linear && state.centred ? kHalfTexel : 0;
        const int32_t u =
            (static_cast<int32_t>(row.u[i]) >> (top.logWidth - level.logWidth)) - shift;
        const int32_t v =
            (static_cast<int32_t>(row.v[i]) >> (top.logHeight - level.logHeight)) - shift;
        const auto column = [&](int32_t ahead) {
            return WrapWord(state.wrapS, (u >> kTexelFractionBits) + ahead, level.logWidth);
        };
        const auto base = static_cast<uint32_t>(level.base);
        const auto pitch = static_cast<uint32_t>(level.pitch);
        const auto line = [&](int32_t ahead) {
            const uint32_t y =
                WrapWord(state.wrapT, (v >> kTexelFractionBits) + ahead, level.logHeight);
            return base + y * pitch;
        };
        const uint32_t left = column(0);
        const uint32_t above = line(0);
        row.texels[0][i] = LoadTexel<kBits>(state.memory, above + left);
        if (!of.linear) {
            row.right[i] = row.lower[i] = 0;
            for (int corner = 1; corner < kCorners; ++corner) {
                row.texels[corner][i] = row.texels[0][i];
            }
            continue;
        }
        const auto weight = [](int32_t coordinate) {
            return OnAllChannels(
                static_cast<uint32_t>(coordinate >> (kTexelFractionBits - kWeightBits)) & 0xFF);
        };
        row.right[i] = weight(u);
        row.lower[i] = weight(v);
        const uint32_t right = column(1);
        const uint32_t below = line(1);
        row.texels[1][i] = LoadTexel<kBits>(state.memory, above + right);
        row.texels[2][i] = LoadTexel<kBits>(state.memory, below + left);
        row.texels[3][i] = LoadTexel<kBits>(state.memory, below + right);
    }
}

// Calls load.operator()<bits>() for the size of the state's texels.
template <typename Load>
void ByTexelBits(const TextureState& state, Load&& load) {
    switch (state.format.texelBits) {
    case 4:
        return load.template operator()<4>();
    case 8:
        return load.template operator()<8>();
    case 16:
        return load.template operator()<16>();
    case 24:
        return load.template operator()<24>();
    default:
        return load.template operator()<32>();
    }
}

// Calls load.operator()<bits, patched>() for the layout of the state's map.
template <typename Load>
void ByLayout(const TextureState& state, Load&& load) {
    ByTexelBits(state, [&]<int kBits>() {
        if (state.patched) {
            load.template operator()<kBits, true>();
        } else {
            load.template operator()<kBits, false>();
        }
    });
}

// --- colours ---

uint32_t KeyedColour(const TextureState& state, uint32_t texel) {
    Colour colour = TexelColour(state.format, *state.table, texel);
    colour.alpha = state.chroma.Inside(TexelKey(state.format, *state.table, texel)) ? 0 : 255;
    return WordOfColour(colour);
}

// Texels' bits to their colours, in place.
void ExpandTexels(const TexelPlan& plan, const TextureState& state, int32_t pixels,
                  uint32_t* texels) {
    if (state.chroma.action == ChromaKey::Action::KeyAlpha) {
        for (int32_t i = 0; i < pixels; ++i) {
            texels[i] = KeyedColour(state, texels[i]);
        }
        return;
    }
    const uint32_t opaque = state.format.opaque ? kAlphaByte : 0;
    switch (state.format.kind) {
    case TexelFormat::Kind::Direct:
        plan.expand(state.format.layout, pixels, texels, texels);
        break;
    case TexelFormat::Kind::Table:
        for (int32_t i = 0; i < pixels; ++i) {
            texels[i] = state.table->words[texels[i] & (LookupTable::kEntries - 1)];
        }
        break;
    case TexelFormat::Kind::Index:
        MapRow(
            pixels, texels,
            [](int32_t, uint32_t index) { return OnAllChannels(index) | kAlphaByte; }, texels);
        break;
    default: // Kind::Word; pairs of YUV are none of a plan's
        break;
    }
    if (opaque != 0) {
        MapRow(
            pixels, texels, [](int32_t, uint32_t colour) { return colour | kAlphaByte; }, texels);
    }
}

void MixCorners(TexelRow& row, uint32_t* to) {
    MapBytes(
        row.pixels, to,
        [](uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t right, uint32_t lower) {
            constexpr uint32_t kOne = 1 << kWeightBits;
            // 16 bits each.
            const auto above = static_cast<uint16_t>(a * (kOne - right) + b * right);
            const auto below = static_cast<uint16_t>(c * (kOne - right) + d * right);
            return (above * (kOne - lower) + below * lower + (1u << (2 * kWeightBits - 1))) >>
                   (2 * kWeightBits);
        },
        row.texels[0], row.texels[1], row.texels[2], row.texels[3], row.right, row.lower);
}

// The colours of one level, nearest or mixed, to `to`.
void SampleUniform(const TexelPlan& plan, const TextureState& state, bool linear, TexelRow& row,
                   uint32_t* to) {
    const TextureLevel& level = state.levels[0];
    const uint32_t shift = linear && state.centred ? kHalfTexel : 0;
    WrapRow(state.wrapS, row.pixels, row.u, shift, 0, level.logWidth, row.columns[0]);
    WrapRow(state.wrapT, row.pixels, row.v, shift, 0, level.logHeight, row.rows[0]);
    if (!linear) {
        ByLayout(state, [&]<int kBits, bool kPatched>() {
            LoadNearest<kBits, kPatched>(state, level, row);
        });
        ExpandTexels(plan, state, row.pixels, row.texels[0]);
        std::copy_n(row.texels[0], row.pixels, to);
        return;
    }
    WrapRow(state.wrapS, row.pixels, row.u, shift, 1, level.logWidth, row.columns[1]);
    WrapRow(state.wrapT, row.pixels, row.v, shift, 1, level.logHeight, row.rows[1]);
    const auto weigh = [shift](int32_t, uint32_t coordinate) {
        return OnAllChannels((coordinate - shift) >> (kTexelFractionBits - kWeightBits) & 0xFF);
    };
    MapRow(row.pixels, row.right, weigh, row.u);
    MapRow(row.pixels, row.lower, weigh, row.v);
    ByLayout(state,
             [&]<int kBits, bool kPatched>() { LoadCorners<kBits, kPatched>(state, level, row); });
    for (uint32_t* corner : row.texels) {
        ExpandTexels(plan, state, row.pixels, corner);
    }
    MixCorners(row, to);
}

template <typename LevelOf>
void SampleMixed(const TexelPlan& plan, const TextureState& state, LevelOf levelOf, TexelRow& row,
                 uint32_t* to) {
    ByTexelBits(state, [&]<int kBits>() { LoadMixed<kBits>(state, levelOf, row); });
    const bool mixes = state.magLinear || MixesTexels(state.minFilter);
    for (int corner = 0; corner < (mixes ? kCorners : 1); ++corner) {
        ExpandTexels(plan, state, row.pixels, row.texels[corner]);
    }
    if (mixes) {
        MixCorners(row, to);
    } else {
        std::copy_n(row.texels[0], row.pixels, to);
    }
}

// --- level of detail ---

void LoadDetail(const TextureState& state, const TexelWalk& walk, const TextureSlopes& slopes,
                TexelRow& row) {
    const auto fixed = [](double span) { return span > 1 ? FixedDetailOfSpan(span) : kMagnified; };
    if (!state.perspective) {
        std::fill_n(row.detail, row.pixels, fixed(TexelSpan(state, 0, 0, 1, slopes)));
        return;
    }
    ProjectedWalk(walk, 1, 1).Each(row.pixels, [&](int32_t i, double s, double t, double q) {
        row.detail[i] = fixed(TexelSpan(state, s, t, q, slopes));
    });
}

void SampleDetailed(const TexelPlan& plan, const TextureState& state, TexelRow& row, uint32_t* to) {
    constexpr int32_t kOneLevel = 1 << kWeightBits;
    const MinFilter filter = state.minFilter;
    const bool linear = MixesTexels(filter);
    const auto last = static_cast<int32_t>(state.levelCount - 1);
    const bool magLinear = state.magLinear;
    if (last == 0 || filter == MinFilter::Nearest || filter == MinFilter::Linear) {
        SampleMixed(
            plan, state,
            [=](int32_t detail) {
                return PixelLevel{0, detail == kMagnified ? magLinear : linear};
            },
            row, to);
        return;
    }
    const bool nearestLevel = filter == MinFilter::MipNearest || filter == MinFilter::MipLinear;
    const int32_t rounding = nearestLevel ? kOneLevel / 2 : 0;
    const auto level = [=](int32_t detail) {
        return std::min(detail + rounding, last * kOneLevel) >> kWeightBits;
    };
    SampleMixed(
        plan, state,
        [=](int32_t detail) {
            return detail == kMagnified ? PixelLevel{0, magLinear}
                                        : PixelLevel{static_cast<uint32_t>(level(detail)), linear};
        },
        row, to);
    if (nearestLevel) {
        return;
    }
    SampleMixed(
        plan, state,
        [=](int32_t detail) {
            return detail == kMagnified
                       ? PixelLevel{0, magLinear}
                       : PixelLevel{static_cast<uint32_t>(std::min(level(detail) + 1, last)),
                                    linear};
        },
        row, row.second);
    EachLane(row.pixels, [&](int32_t i) {
        const int32_t weight = std::min(row.detail[i], last * kOneLevel) & (kOneLevel - 1);
        row.right[i] =
            row.detail[i] == kMagnified ? 0 : OnAllChannels(static_cast<uint32_t>(weight));
    });
    MapBytes(
        row.pixels, to,
        [](uint32_t upper, uint32_t lower, uint32_t weight) {
            return (upper * (256 - weight) + lower * weight + 128) >> 8;
        },
        to, row.second, row.right);
}

// --- the fragments ---

// The chroma test compares the nearest texel of the top level.
void DropKeyed(const TextureState& state, TexelRow& row, uint32_t* drawn) {
    const TextureLevel& top = state.levels[0];
    WrapRow(state.wrapS, row.pixels, row.u, 0, 0, top.logWidth, row.columns[0]);
    WrapRow(state.wrapT, row.pixels, row.v, 0, 0, top.logHeight, row.rows[0]);
    ByLayout(state,
             [&]<int kBits, bool kPatched>() { LoadNearest<kBits, kPatched>(state, top, row); });
    for (int32_t i = 0; i < row.pixels; ++i) {
        if (state.chroma.Inside(TexelKey(state.format, *state.table, row.texels[0][i]))) {
            drawn[i] = 0;
        }
    }
}

void ApplyTextureRow(TextureApplication application, int32_t pixels, const uint32_t* texels,
                     uint32_t* colours) {
    switch (application) {
    case TextureApplication::Modulate:
        MapBytes(
            pixels, colours,
            [](uint32_t fragment, uint32_t texel) { return DivideBy255(fragment * texel + 127); },
            colours, texels);
        break;
    case TextureApplication::Decal: {
        alignas(16) uint32_t over[kRowPixels];
        MapRow(
            pixels, over,
            [](int32_t, uint32_t texel) { return OnAllChannels(texel >> 24) & ~kAlphaByte; },
            texels);
        MapBytes(
            pixels, colours,
            [](uint32_t under, uint32_t top, uint32_t alpha) {
                return DivideBy255(under * (255 - alpha) + top * alpha + 127);
            },
            colours, texels, over);
        break;
    }
    case TextureApplication::Copy:
        std::copy_n(texels, pixels, colours);
        break;
    }
}

void AddHighlightRow(const TexelWalk& walk, int32_t pixels, uint32_t* colours) {
    constexpr int32_t kOne = 1 << kKsFractionBits;
    alignas(16) uint32_t highlight[kRowPixels];
    RowRamp{static_cast<uint32_t>(walk.first[Interpolants::Ks]),
            static_cast<uint32_t>(walk.step[Interpolants::Ks])}
        .Each(pixels, [&](int32_t i, uint32_t value) {
            const auto ks = static_cast<int32_t>(value);
            const int32_t held = ks < 0 ? 0 : ks > kOne ? kOne : ks;
            highlight[i] =
                OnAllChannels(static_cast<uint32_t>(held * 255 + kOne / 2) >> kKsFractionBits) &
                ~kAlphaByte;
        });
    MapBytes(
        pixels, colours,
        [](uint32_t channel, uint32_t more) { return std::min(channel + more, 255u); }, colours,
        highlight);
}

bool StaysBelow(int64_t first, int64_t step, int64_t pixels, int64_t low, int64_t end) {
    if (step >= kLargestStep || step <= -kLargestStep || first < low || first >= end) {
        return false;
    }
    const int64_t last = first + step * (pixels - 1);
    return last >= low && last < end;
}

// One past the last texel of a level, counted from its base.
int64_t LevelTexels(const TextureState& state, const TextureLevel& level) {
    const int64_t right = (int64_t{1} << level.logWidth) - 1;
    const int64_t bottom = (int64_t{1} << level.logHeight) - 1;
    if (!state.patched) {
        return bottom * level.pitch + right + 1;
    }
    const int64_t perElement = state.format.texelBits == 4 ? 2 : 1;
    const int64_t last = PatchedOffset(right / perElement | (kPatchColumns - 1),
                                       bottom | (kPatchRows - 1), level.pitch / perElement);
    return perElement * (last + 1);
}

} // namespace

TexelPlan PlanTexels(const TextureState& state) {
    TexelPlan plan{};
    const uint8_t bits = state.format.texelBits;
    if (!state.enabled || state.format.kind == TexelFormat::Kind::YUV ||
        (state.format.kind == TexelFormat::Kind::Index && bits > 8)) {
        return plan;
    }
    int64_t first = INT64_MAX;
    int64_t end = 0;
    for (uint32_t i = 0; i < state.levelCount; ++i) {
        const TextureLevel& level = state.levels[i];
        first = std::min(first, level.base);
        end = std::max(end, level.base + LevelTexels(state, level));
    }
    if (first < 0 || (end * bits + 7) / 8 > state.bytes || end > INT32_MAX) {
        return plan;
    }
    plan.possible = true;
    plan.drops = state.chroma.action == ChromaKey::Action::DropInside;
    plan.detailed = state.NeedsDetail();
    plan.mapBegin = state.memory + first * bits / 8;
    plan.mapEnd = state.memory + (end * bits + 7) / 8;
    plan.expand = ExpandRowOf(state.format.layout);
    return plan;
}

bool TexelsInRange(const TextureState& state, const TexelWalk& walk, int64_t pixels) {
    const auto within = [&](int channel, int64_t low, int64_t end) {
        return StaysBelow(walk.first[channel], walk.step[channel], pixels, low, end);
    };
    if (state.highlighted && !within(Interpolants::Ks, -(int64_t{1} << 31), (int64_t{1} << 31))) {
        return false;
    }
    if (!state.perspective) {
        constexpr auto kEnd = static_cast<int64_t>(kCoordinateEnd);
        return state.glintTexels ||
               (within(Interpolants::S, -kEnd, kEnd) && within(Interpolants::T, -kEnd, kEnd));
    }
    if (!within(Interpolants::S, -kExact, kExact) || !within(Interpolants::T, -kExact, kExact) ||
        !within(Interpolants::Q, 1, kExact)) {
        return false;
    }
    // With a Q above 0 throughout, coordinates run one way only.
    const ProjectedWalk at(walk, state.scaleS, state.scaleT);
    const auto inRange = [](double s, double q) { return std::fabs(s) < kCoordinateEnd * q; };
    const auto steps = static_cast<double>(static_cast<int32_t>(pixels - 1));
    const double lastQ = at.q + at.qStep * steps;
    return inRange(at.s, at.q) && inRange(at.t, at.q) && inRange(at.s + at.sStep * steps, lastQ) &&
           inRange(at.t + at.tStep * steps, lastQ);
}

void TextureRow(const TexelPlan& plan, const TextureState& state, const TexelWalk& walk,
                const TextureSlopes& slopes, int32_t pixels, uint32_t* colours, uint32_t* drawn) {
    TexelRow row;
    row.pixels = pixels;
    LoadCoordinates(state, walk, row);
    if (plan.drops) {
        DropKeyed(state, row, drawn);
    }
    if (state.applied) {
        if (plan.detailed) {
            LoadDetail(state, walk, slopes, row);
            SampleDetailed(plan, state, row, row.first);
        } else {
            SampleUniform(plan, state, state.magLinear, row, row.first);
        }
        if (state.ignoreAlpha) {
            MapRow(
                pixels, row.first, [](int32_t, uint32_t colour) { return colour | kAlphaByte; },
                row.first);
        }
        ApplyTextureRow(state.application, pixels, row.first, colours);
    }
    if (state.highlighted) {
        AddHighlightRow(walk, pixels, colours);
    }
}

} // namespace board
