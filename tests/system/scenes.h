#pragma once
// Triangle lists for whole-machine tests, all seeded and deterministic.
#include "tools/korv/reference/reference.h"

#include <cstdint>
#include <vector>

namespace test {

using namespace korv::reference;

// Well-shaped triangles of about `size` pixels with gentle colour gradients.
std::vector<Triangle3> GentleTriangles(uint32_t count, float size, uint32_t seed,
                                       const DrawState& state);

// Six of them side by side, none touching another.
std::vector<Triangle3> SeparateTriangles(uint32_t seed, const DrawState& state);

// Well-shaped triangles with a turned texture on each, `reach` times across 2 * `size` pixels, that
// starts at (`from`, `from`). With state.perspective the corners lie at different distances. All
// lie on whole rows: without a setup unit the driver moves corners there, and the texture with
// them.
std::vector<Triangle3> TexturedTriangles(uint32_t count, float size, uint32_t seed,
                                         const DrawState& state, float from = 0, float reach = 1);

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
