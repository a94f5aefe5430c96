#pragma once
// A stored vertex as the interpolators take it, and what DeltaMode makes of the stored values.
#include "board/raster/interpolants.h"
#include "board/setup/vertex_store.h"
#include "board/values/fault_counts.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace board {

// Screen coordinates in pixels; values in the units of the interpolators' words.
struct SetupVertex {
    double x, y;
    std::array<double, Interpolants::kCount> values;
};

// Which quantities the setup unit works out, and how.
struct SetupMode {
    std::array<bool, Interpolants::kCount> enabled; // the others keep what the host has written
    bool perspective;                               // S, T and Q are scaled to a largest Q of 1.0
    bool subPixel;                                  // a triangle's values start at row centres
    double texelScale;                              // S and T
    double depthScale;                              // Z of 1.0
};

// The mode in force. Settings that the unit cannot honour are counted in `faults`.
SetupMode DecodeSetupMode(const RegisterFile& registers, FaultCounts& faults);

SetupVertex Prepare(const SetupMode& mode, const StoredVertex& vertex);

// Brings Q of `count` vertices into range: the largest becomes 1.0. S / Q and T / Q stay.
void NormalisePerspective(SetupVertex* vertices, size_t count);

// False: a coordinate is no number.
bool HasCoordinates(const SetupVertex& vertex);

// To the nearest integer; what is out of range saturates.
int64_t Accumulator(double value);

} // namespace board
