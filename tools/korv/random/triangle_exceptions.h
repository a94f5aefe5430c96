#pragma once
// Triangles that are not compared with the reference rasteriser, and why.
#include "host/display/display.h"
#include "tools/korv/reference/reference.h"

#include <span>
#include <vector>

namespace korv::random {

struct TriangleCase {
    const host::DisplayConfig& display;
    const reference::ChipTraits& traits;
    const reference::DrawState& state;
    const std::vector<reference::Triangle3>& triangles;
    uint32_t bits; // of the target's pixels
    bool keyRange; // the texture's source key is more than one value
};

struct TriangleException {
    const char* reason;
    bool (*holds)(const TriangleCase& triangles);
};
std::span<const TriangleException> TriangleExceptions();

// All corners lie on rows, none between two.
bool AreOnRows(const std::vector<reference::Triangle3>& triangles);

// What the chip of a display leaves to itself.
reference::ChipTraits TraitsOf(const host::DisplayConfig& display);

} // namespace korv::random
