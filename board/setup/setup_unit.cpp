#include "board/setup/setup_unit.h"

#include "board/values/register_names.h"

#include <algorithm>
#include <array>

namespace board {

namespace {

constexpr int64_t kOneStep = 0x10000; // of Interpolants::dominantStep, in 32.32

// The vertices of a primitive, ready for slopes; false when one of them has no coordinates.
template <size_t Count>
bool PrepareAll(const SetupMode& mode, const VertexStore& store,
                const std::array<uint32_t, Count>& slots,
                std::array<SetupVertex, Count>& vertices) {
    for (size_t i = 0; i < Count; ++i) {
        vertices[i] = Prepare(mode, store[slots[i]]);
    }
    if (mode.perspective) {
        NormalisePerspective(vertices.data(), Count);
    }
    return std::all_of(vertices.begin(), vertices.end(), HasCoordinates);
}

void Replace(const SetupMode& mode, const std::array<Interpolant, Interpolants::kCount>& values,
             Interpolants& interpolants) {
    for (size_t i = 0; i < values.size(); ++i) {
        if (mode.enabled[i]) {
            interpolants.channels[i] = values[i];
        }
    }
}

} // namespace

bool SetupUnit::Takes(uint32_t tagNumber) {
    return (tagNumber >= kVertexStoreFirst && tagNumber < kVertexStoreEnd) ||
           tagNumber == tag::AStart;
}

void SetupUnit::Write(RegisterWrite write, RegisterFile& registers, FaultCounts& faults) {
    if (write.tag == tag::AStart) {
        store_.SetAlpha(write.data);
    } else if (!store_.Write(write, registers.Get(field::DeltaMode_ColorOrder) != 0)) {
        ++faults.unmodelled[TagName(write.tag)];
    }
    if (write.tag != tag::AStart && !VertexStore::HoldsAlpha(write.tag)) {
        return;
    }
    // Alpha comes by several words, one of them for all three vertices: the fixed ones read as it
    // is.
    for (uint32_t slot = 0; slot < 3; ++slot) {
        registers.Set(VertexStore::FixedAlphaTag(slot), store_.FixedAlpha(slot));
    }
}

std::optional<SetupTriangle> SetupUnit::Triangle(const RegisterFile& registers,
                                                 Interpolants& interpolants,
                                                 FaultCounts& faults) const {
    const SetupMode mode = DecodeSetupMode(registers, faults);
    std::array<SetupVertex, 3> vertices{};
    if (!PrepareAll<3>(mode, store_, {0, 1, 2}, vertices)) {
        return std::nullopt;
    }
    const SetupTriangle triangle = SetUpTriangle(mode, vertices);
    Replace(mode, triangle.values, interpolants);
    interpolants.dominantStep = triangle.dominant.step / kOneStep;
    return triangle;
}

std::optional<SetupLine> SetupUnit::Line(uint32_t from, uint32_t to, const RegisterFile& registers,
                                         Interpolants& interpolants, FaultCounts& faults) const {
    const SetupMode mode = DecodeSetupMode(registers, faults);
    std::array<SetupVertex, 2> vertices{};
    if (!PrepareAll<2>(mode, store_, {from, to}, vertices)) {
        return std::nullopt;
    }
    const SetupLine line = SetUpLine(vertices[0], vertices[1], LineBias(registers));
    Replace(mode, line.values, interpolants);
    interpolants.dominantStep = 0;
    return line;
}

} // namespace board
