#pragma once
// Triangle lists for whole-machine tests, all seeded and deterministic.
#include "tests/system/reference.h"

#include <cstdint>
#include <vector>

namespace test {

// Well-shaped triangles of about `size` pixels with gentle colour gradients.
std::vector<Triangle3> GentleTriangles(uint32_t count, float size, uint32_t seed,
                                       const DrawState& state);

// Six of them side by side, none touching another.
std::vector<Triangle3> SeparateTriangles(uint32_t seed, const DrawState& state);

// A ball of Gouraud-shaded triangles with depth, front faces clockwise.
std::vector<Triangle3> Ball(float centreX, float centreY, float radius, uint32_t rings,
                            uint32_t tint, const DrawState& state);

// Parallel quads at well separated depths, drawn in shuffled order.
std::vector<Triangle3> Layers(uint32_t count, uint32_t seed, const DrawState& state);

// A fan of thin triangles around the centre that covers a disc, each of colour `color`.
std::vector<Triangle3> Slivers(uint32_t count, float radius, uint32_t seed, uint32_t color,
                               const DrawState& state);

// Two triangles over the rectangle with one colour at each corner.
std::vector<Triangle3> Quad(float x0, float y0, float x1, float y1, float z,
                            const uint32_t (&colors)[4], uint32_t specular, const DrawState& state);

} // namespace test
