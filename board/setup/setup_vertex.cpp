#include "board/setup/setup_vertex.h"

#include "board/values/fixed.h"
#include "board/values/rounding.h"
#include "chip/register_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace board {

namespace {

// Of the DeltaMode bits without a meaning one is part of every mode, the others of none.
constexpr uint32_t kAlwaysSet = field::DeltaMode_Unknown11.Mask();
constexpr uint32_t KnownBits() {
    uint32_t bits = kAlwaysSet;
    for (const FieldRow& field : kFields) {
        if (field.offset == MappedOffset(tag::DeltaMode) && !IsKind(field.kind, kind::Unknown)) {
            bits |= field.Mask();
        }
    }
    return bits;
}
constexpr uint32_t kKnownBits = KnownBits();

enum TargetChip : uint32_t { kGlintSX = 0, kGlint = 1, kPermedia = 2 };

constexpr double Unit(uint32_t fractionBits) {
    return static_cast<double>(int64_t{1} << fractionBits);
}

// 1.0 of a depth format: all its bits set.
double DepthScale(uint32_t format, FaultCounts& faults) {
    switch (format) {
    case 1:
        return 65535.0;
    case 3:
        return 4294967295.0;
    default:
        ++faults.unmodelled[fmt::format("setup depth format {}", format)];
        return 65535.0;
    }
}

constexpr double kLargestCoordinate = 32767.0; // of 16.16

double HoldCoordinate(double value) {
    return std::isnan(value) ? value : std::clamp(value, -kLargestCoordinate, kLargestCoordinate);
}

} // namespace

SetupMode DecodeSetupMode(const RegisterFile& registers, FaultCounts& faults) {
    using I = Interpolants;
    const auto on = [&registers](const Field& field) { return registers.Get(field) != 0; };
    SetupMode mode{};
    const auto enable = [&mode](bool value, std::initializer_list<I::Channel> channels) {
        for (const I::Channel channel : channels) {
            mode.enabled[channel] = value;
        }
    };
    enable(on(field::DeltaMode_SmoothShading), {I::Red, I::Green, I::Blue, I::Alpha});
    enable(on(field::DeltaMode_Fog), {I::Fog});
    enable(on(field::DeltaMode_DepthEnable), {I::Depth});
    enable(on(field::DeltaMode_Texture), {I::S, I::T, I::Q});
    enable(on(field::DeltaMode_Specular), {I::Ks});
    mode.perspective = on(field::DeltaMode_PerspectiveOn);
    mode.subPixel = on(field::DeltaMode_SubPixelCorrection);

    // The Permedia family is sent texels / 2048, Glint the coordinates of the texture as they are.
    const bool permedia = registers.Get(field::DeltaMode_TargetChip) == kPermedia;
    mode.texelScale = permedia ? 2048.0 * Unit(kTexelFractionBits) : Unit(kQFractionBits);
    mode.depthScale = 65535.0;
    if (mode.enabled[I::Depth]) {
        mode.depthScale = DepthScale(registers.Get(field::DeltaMode_DepthFormat), faults);
    }
    if (const uint32_t unknown = registers[tag::DeltaMode] & ~kKnownBits; unknown != 0) {
        ++faults.unmodelled[fmt::format("DeltaMode bits {:X}", unknown)];
    }
    return mode;
}

SetupVertex Prepare(const SetupMode& mode, const StoredVertex& vertex) {
    using I = Interpolants;
    SetupVertex result{};
    result.x = HoldCoordinate(vertex[Quantity::X]);
    result.y = HoldCoordinate(vertex[Quantity::Y]);
    const double colourScale = 256.0 * Unit(kColourFractionBits);
    result.values[I::Red] = vertex[Quantity::Red] * colourScale;
    result.values[I::Green] = vertex[Quantity::Green] * colourScale;
    result.values[I::Blue] = vertex[Quantity::Blue] * colourScale;
    result.values[I::Alpha] = vertex[Quantity::Alpha] * colourScale;
    result.values[I::Fog] = vertex[Quantity::Fog] * Unit(kFogFractionBits);
    result.values[I::Depth] = vertex[Quantity::Z] * mode.depthScale * Unit(kDepthFractionBits);
    result.values[I::S] = vertex[Quantity::S] * mode.texelScale;
    result.values[I::T] = vertex[Quantity::T] * mode.texelScale;
    result.values[I::Q] = vertex[Quantity::Q] * Unit(kQFractionBits);
    result.values[I::Ks] = vertex[Quantity::Ks] * Unit(kKsFractionBits);
    return result;
}

void NormalisePerspective(SetupVertex* vertices, size_t count) {
    using I = Interpolants;
    double largest = 0;
    for (size_t i = 0; i < count; ++i) {
        largest = std::max(largest, std::fabs(vertices[i].values[I::Q]));
    }
    if (largest == 0 || !std::isfinite(largest)) {
        return;
    }
    const double scale = Unit(kQFractionBits) / largest;
    for (size_t i = 0; i < count; ++i) {
        for (const I::Channel channel : {I::S, I::T, I::Q}) {
            vertices[i].values[channel] *= scale;
        }
    }
}

bool HasCoordinates(const SetupVertex& vertex) {
    return !std::isnan(vertex.x) && !std::isnan(vertex.y);
}

int64_t Accumulator(double value) {
    constexpr double kLimit = 4611686018427387904.0; // 2^62
    if (std::isnan(value)) {
        return 0;
    }
    return FloorInteger(std::clamp(value, -kLimit, kLimit) + 0.5);
}

} // namespace board
