#pragma once
// What surfaces and memories hold, to be compared and summed up.
#include "host/ddraw/surface.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace korv::random {

// A surface's pixels, row by row.
using Pixels = std::vector<uint32_t>;
Pixels PixelsOf(const host::Surface& surface);

// Where two lists of the same length differ first; none if they are equal.
std::optional<size_t> FirstDifference(const Pixels& a, const Pixels& b);

// A sum that goes on from `hash`.
uint64_t Hash(const void* data, size_t bytes, uint64_t hash = 0xCBF29CE484222325u);
// Of a memory, most of which is zero.
uint64_t HashMemory(std::span<const uint8_t> memory);

} // namespace korv::random
